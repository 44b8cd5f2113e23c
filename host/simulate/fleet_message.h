#pragma once

#include <span>

#include "gtfs-realtime.pb.h"
#include "model/time.h"
#include "model/vehicle_position.h"

namespace qiv {

/// The reports as a GTFS-realtime message, version 2.0, a full data set whose header states `now`.
/// Entities are named after their vehicles; the second of a vehicle has "/2" behind its name.
transit_realtime::FeedMessage fleet_message(std::span<const VehiclePosition> reports, Instant now);

}  // namespace qiv
