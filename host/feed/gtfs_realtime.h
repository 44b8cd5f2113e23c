#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "feed/position_batch.h"
#include "model/rejections.h"
#include "model/service_alert.h"
#include "model/trip_update.h"

namespace qiv {

/// Reads the vehicle positions of a GTFS-realtime message; nothing is thrown for what the bytes
/// hold. A message that cannot be decoded, is too large or has no header is one rejection;
/// otherwise each entity is a position or a rejection. Deleted entities and those without vehicle
/// (trip updates, alerts) are rejections too. A differential message is read like any other: each
/// of its entities is a report.
///
/// A vehicle is known by its id, or else by its label; without both see `PositionCollector`. A
/// position without place that names a stop is kept: station-level feeds send these.
PositionBatch read_vehicle_positions(std::string_view bytes, const PositionOptions& options = {});

/// What one message of trip updates says.
struct TripUpdateBatch {
  std::optional<Instant> time;  ///< of the feed's header
  std::vector<TripUpdate> updates;
  std::uint64_t read = 0;  ///< entities: `updates` plus what `rejections` counts
  Rejections rejections;
  Rejections remarks;
};

/// Reads the trip updates of a GTFS-realtime message, with the same rules. An update needs a trip
/// id; a call needs a stop's id or sequence number, and calls without are left out with a remark,
/// as are implausible times, and delays beyond a day.
///
/// An update of a DUPLICATED trip is about the new trip: its name and start are those of the trip
/// properties.
TripUpdateBatch read_trip_updates(std::string_view bytes, const PositionOptions& options = {});

/// What one message of alerts says.
struct AlertBatch {
  std::optional<Instant> time;  ///< of the feed's header
  std::vector<ServiceAlert> alerts;
  std::uint64_t read = 0;  ///< entities: `alerts` plus what `rejections` counts
  Rejections rejections;
  Rejections remarks;
};

/// Reads the alerts of a GTFS-realtime message, with the same rules. An informed entity that states
/// nothing is left out with a remark, as are periods that end before they begin and implausible
/// times; an alert about nothing is kept, and one whose periods are all left out is a rejection.
/// The short text is in English if there is one, or else in the first language that there is.
AlertBatch read_service_alerts(std::string_view bytes, const PositionOptions& options = {});

}  // namespace qiv
