#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "geo/polyline.h"
#include "model/journey_pattern.h"
#include "model/lat_lon.h"

namespace qiv {

/// A path and the offsets of the stops on it, which never decrease.
struct MeasuredPath {
  std::vector<PathPoint> path;
  std::vector<double> stop_offsets_m;
};

/// The path straight from stop to stop.
MeasuredPath path_through(std::span<const LatLon> stops);

/// The path of a shape, led through the stops that are not on it (those without an offset): from
/// the place of the shape nearest to the first of them, through all that follow one another, and
/// back to the place nearest to the last. At an end of the trip the shape beyond is left off.
/// Precondition: at least one stop has an offset, and the offsets never decrease.
MeasuredPath path_along(std::span<const PathPoint> shape, const Polyline& line,
                        std::span<const LatLon> stops,
                        std::span<const std::optional<double>> stop_offsets_m);

}  // namespace qiv
