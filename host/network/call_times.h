#pragma once

#include <optional>
#include <span>
#include <vector>

#include "model/timetable.h"
#include "network/trip_plan.h"

namespace qiv {

/// What became of the times of one trip.
struct CallTimes {
  std::vector<Call> calls;        ///< one for each stop time; empty: the trip cannot be used
  std::size_t dropped_times = 0;  ///< stated times that went back
};

/// Arrival and departure at every stop. A stop with one of the two gets it for both; a stop with
/// neither gets one by distance between its neighbours (`stop_offsets_m`). Where stated times go
/// back, as few of them as possible are left out. No calls when the first or the last stop has no
/// usable time.
CallTimes complete_times(std::span<const StopTime> stop_times,
                         std::span<const double> stop_offsets_m);

}  // namespace qiv
