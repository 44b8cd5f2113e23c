#pragma once

#include <optional>

#include "engine/followed_trip.h"
#include "model/trip_forecast.h"

namespace qiv::stream {
class Followed;
}  // namespace qiv::stream

namespace qiv {

/// Writes what `forecast` was made from. What the forecast says itself is not written again.
void write_followed(const FollowedTrip& followed, const TripForecast& forecast,
                    stream::Followed& wire);

/// Reads it. Nothing where it cannot be what `forecast` was made from: a number of rows that is not
/// that of its stops or legs, an answer of the library without places, times beyond 2200, numbers
/// that are none.
std::optional<FollowedTrip> read_followed(const stream::Followed& wire,
                                          const TripForecast& forecast);

}  // namespace qiv
