#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "model/identifier.h"
#include "model/lat_lon.h"

namespace qiv {

/// A stop of a pattern and where it lies.
struct PatternStop {
  std::uint32_t stop = 0;  ///< index into the timetable's stops
  double offset_m = 0.0;   ///< along the path
};

/// A corner of the path.
struct PathPoint {
  LatLon place;
  double offset_m = 0.0;  ///< along the path, from its first point
};

/// One (route, direction, ordered stops, path): what all trips of it share. Offsets are metres
/// along the path, never decreasing from stop to stop.
struct JourneyPattern {
  PatternRef ref;
  RouteId route;
  std::optional<int> direction;
  std::vector<PatternStop> stops;  ///< at least two
  std::vector<PathPoint> path;     ///< at least two
  bool has_shape = false;          ///< false: the path is straight from stop to stop

  double length_m() const { return path.back().offset_m; }
};

/// Index of a pattern in its network.
using PatternIndex = std::uint32_t;

}  // namespace qiv
