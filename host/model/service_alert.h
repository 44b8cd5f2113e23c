#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/identifier.h"
#include "model/time.h"

namespace qiv {

/// What an alert means for those who want to travel.
enum class AlertEffect : std::uint8_t {
  no_service,
  reduced_service,
  significant_delays,
  detour,
  additional_service,
  modified_service,
  other,
  unknown,
  stop_moved,
  no_effect,
  accessibility_issue,
};

/// Such as "no_service".
const char* to_string(AlertEffect effect);

/// What an alert is about: all that fits everything that is stated. An empty identifier or optional
/// was not stated.
struct InformedEntity {
  AgencyId agency;
  RouteId route;
  std::optional<int> route_type;
  std::optional<int> direction;
  StopId stop;
  TripId trip;
  std::optional<ServiceDate> start_date;
  std::optional<Seconds> start_time;
};

/// A stretch of time from `from` until before `until`.
struct ActivePeriod {
  Instant from = Instant::min();
  Instant until = Instant::max();

  bool contains(Instant instant) const { return from <= instant && instant < until; }
};

/// An agency's notice to travellers.
struct ServiceAlert {
  std::string id;  ///< of the entity
  AlertEffect effect = AlertEffect::unknown;
  std::vector<ActivePeriod> periods;  ///< none: as long as the feed has it
  std::vector<InformedEntity> informed;
  std::string header;  ///< a short text for people; may be empty

  bool is_active(Instant instant) const;
};

}  // namespace qiv
