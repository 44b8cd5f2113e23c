#pragma once

#include <variant>

#include "engine/followed_trip.h"
#include "model/trip_forecast.h"
#include "network/network.h"
#include "worker/stream_key.h"
#include "worker/stream_message.h"

namespace qiv {

/// The forecast of the trip that a vehicle is on, whether it leads there or not.
struct VehicleForecast {
  AgencyId agency;
  TripForecast forecast;   ///< with a vehicle
  Instant assigned{};      ///< when the vehicle was found to be on the trip
  bool by_course = false;  ///< it was assigned by its course, and does not state the trip
  /// What the forecast was made from; nothing where its writer does not say it.
  std::optional<FollowedTrip> followed;
};

/// A vehicle is not on this trip any more.
struct LeftTrip {
  TripOfVehicle trip;
  Instant when{};         ///< by the clock of receipt
  bool finished = false;  ///< it has reached the last stop
};

/// A message of the forecasts' topic: the GTFS-realtime TripUpdate that the feed would hold at the
/// moment at which the forecast was made, and the forecast whole beside it. Precondition: its stops
/// or legs are those of a pattern of `network`.
StreamMessage encode_forecast(const VehicleForecast& forecast, const Network& network);

/// The message that takes the forecast of a vehicle's trip away; it has no value.
StreamMessage encode_left(const LeftTrip& left);

/// Reads both. Undecodable: another key, bytes that are no forecast, a later format, a pattern that
/// `network` does not have, a number of stops or legs that is not the pattern's, times beyond 2200.
/// What the forecast was made from is there with all that showing it anew needs, or not at all.
Decoded<std::variant<VehicleForecast, LeftTrip>> decode_forecast(const StreamMessage& message,
                                                                 const Network& network);

}  // namespace qiv
