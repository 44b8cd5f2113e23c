#pragma once

#include "track/tracker.h"
#include "worker/stream_message.h"

namespace qiv {

/// What a worker makes of a vehicle, on a trip or not.
struct VehicleState {
  AgencyId agency;
  Tracker::VehicleReport said;
  Instant when{};  ///< by the clock of receipt
};

/// A message of the forecasts' topic, by the key of the vehicle's positions.
StreamMessage encode_vehicle(const VehicleState& state);

/// Whether a message of the forecasts' topic is of a vehicle.
bool is_of_vehicle(const StreamMessage& message);

/// Reads it. Undecodable: another key, bytes that are none, a status that this program does not
/// know, times beyond 2200.
Decoded<VehicleState> decode_vehicle(const StreamMessage& message);

}  // namespace qiv
