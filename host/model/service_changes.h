#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/identifier.h"
#include "model/rejections.h"
#include "model/service_alert.h"
#include "model/time.h"
#include "model/trip_run.h"

namespace qiv {

/// What the agency says of one trip of the timetable on its day.
struct TripChange {
  bool canceled = false;
  /// A vehicle was seen under way although the trip is called canceled: it counts as running.
  bool contradicted = false;
  std::set<std::size_t> skipped;  ///< calls that it does not make, by their place in the trip
  std::string said_by;            ///< the source's name; of several, the first
  std::string why;                ///< such as "trip update" or the alert's text, for people
};

/// A trip that the agency runs beside its timetable.
struct AddedTrip {
  TripId trip;
  RouteId route;  ///< may be empty
  std::optional<ServiceDate> start_date;
  std::optional<Seconds> start_time;
  VehicleId vehicle;  ///< may be empty
  std::size_t calls = 0;
  std::string said_by;  ///< the source's name
};

/// How the service of the day differs from the timetable, as the agency says.
struct ServiceChanges {
  std::map<TripKey, TripChange> trips;
  std::vector<AddedTrip> added;      ///< in order of their names, each once
  std::vector<ServiceAlert> alerts;  ///< that are active, whatever their effect
  std::uint64_t without_data = 0;    ///< calls for which the agency says that it predicts nothing
  Rejections not_used;               ///< statements that nothing follows from, by reason

  const TripChange* find(const TripKey& trip) const;
  bool is_added(const TripId& trip) const;
};

}  // namespace qiv
