#pragma once

#include <optional>
#include <span>
#include <vector>

#include "geo/polyline.h"
#include "model/lat_lon.h"

namespace qiv {

/// A stop that is to be found on a path.
struct StopOnPath {
  LatLon place;
  /// Where the feed's shape_dist_traveled puts the stop, as an offset of the path.
  std::optional<double> stated_offset_m;
  /// Where the timetable's times put the stop if the vehicle kept one speed.
  std::optional<double> timed_offset_m;
};

/// Puts the stops of a trip on its path, in order: offsets that never decrease and minimise the sum
/// of the squared distances, found by dynamic programming over `Polyline::candidates`. Loops and
/// streets that are used in both directions come out right because all stops are placed at once.
///
/// Hints only weigh, they never decide against the geometry: a place 300 m or more from the stated
/// offset costs as much as 30 m of distance, and the timed offset at most 5 m, which settles what
/// is otherwise a draw. A stated offset is ignored where the path there is not near the stop.
///
/// Stops out of order by some metres share an offset. A stop that is farther than `max_distance_m`
/// from any place of the path that the order allows has no offset.
std::vector<std::optional<double>> match_stops(const Polyline& path,
                                               std::span<const StopOnPath> stops,
                                               double max_distance_m);

}  // namespace qiv
