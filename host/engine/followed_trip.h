#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "engine/pattern_desk.h"
#include "model/trip_run.h"

namespace qiv {

/// What a shard knows of a vehicle's trip: enough for another program, with the same timetable and
/// settings, to show the trip at any moment as that shard would.
struct FollowedTrip {
  HistoryChoice choice;  ///< the category of a timetable is the shard's own, and says nothing
  Instant last_seen{};   ///< by the vehicle's own clock
  /// The places that the library was told of, from number `from` on; those before are known. Where
  /// there are any, the last one is here.
  std::size_t from = 0;
  std::vector<Progress> progress;
  /// What the library answered last. A reader needs no mean, and no variance of departures.
  std::optional<LibraryForecast> latest;
  std::size_t trips_at_start = 0;  ///< earlier trips in the category at the first report ...
  std::size_t trips_at_last = 0;   ///< ... and at the last
  /// The first of these earlier trips; nothing when there are none but the timetable.
  std::optional<TripKey> first_earlier;
};

}  // namespace qiv
