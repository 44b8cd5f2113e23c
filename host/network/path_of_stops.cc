#include "network/path_of_stops.h"

#include <algorithm>

#include "geo/distance.h"

namespace qiv {
namespace {

/// Puts a path together from pieces of a shape and straight lines.
class PathBuilder {
 public:
  PathBuilder(std::span<const PathPoint> shape, const Polyline& line)
      : _shape(shape), _line(line) {}

  double length_m() const { return _path.empty() ? 0.0 : _path.back().offset_m; }

  void go_straight_to(const LatLon& place) {
    append(place, _path.empty() ? 0.0 : length_m() + distance_m(_path.back().place, place));
  }

  /// Follows the shape; the path must be at `from_m` of it, or empty.
  void follow_shape(double from_m, double to_m) {
    const double base_m = length_m() - from_m;
    append(_line.point_at(from_m), base_m + from_m);
    auto corner = std::upper_bound(
        _shape.begin(), _shape.end(), from_m,
        [](double offset, const PathPoint& point) { return offset < point.offset_m; });
    for (; corner != _shape.end() && corner->offset_m < to_m; ++corner) {
      append(corner->place, base_m + corner->offset_m);
    }
    append(_line.point_at(to_m), base_m + to_m);
  }

  std::vector<PathPoint> take() { return std::move(_path); }

 private:
  void append(const LatLon& place, double offset_m) {
    if (_path.empty() || _path.back().offset_m < offset_m) _path.push_back({place, offset_m});
  }

  std::span<const PathPoint> _shape;
  const Polyline& _line;
  std::vector<PathPoint> _path;
};

}  // namespace

MeasuredPath path_through(std::span<const LatLon> stops) {
  MeasuredPath result;
  for (const LatLon& place : stops) {
    const double offset_m = result.path.empty() ? 0.0
                                                : result.path.back().offset_m +
                                                      distance_m(result.path.back().place, place);
    if (result.path.empty() || offset_m > result.path.back().offset_m) {
      result.path.push_back({place, offset_m});
    }
    result.stop_offsets_m.push_back(offset_m);
  }
  return result;
}

MeasuredPath path_along(std::span<const PathPoint> shape, const Polyline& line,
                        std::span<const LatLon> stops,
                        std::span<const std::optional<double>> stop_offsets_m) {
  PathBuilder builder(shape, line);
  MeasuredPath result;
  double here_m = line.first_offset_m();  // how far the shape has been followed
  for (std::size_t i = 0; i < stops.size();) {
    if (stop_offsets_m[i]) {
      const double ahead_m = *stop_offsets_m[i] - here_m;
      if (ahead_m > 0.0 || i == 0) builder.follow_shape(here_m, *stop_offsets_m[i]);
      here_m = *stop_offsets_m[i];
      result.stop_offsets_m.push_back(builder.length_m());
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < stops.size() && !stop_offsets_m[end]) ++end;
    const double limit_m = end < stops.size() ? *stop_offsets_m[end] : line.last_offset_m();
    if (i > 0) {
      const double leave_m = line.project(stops[i], here_m, limit_m).offset_m;
      builder.follow_shape(here_m, leave_m);
      here_m = leave_m;
    }
    for (std::size_t k = i; k < end; ++k) {
      builder.go_straight_to(stops[k]);
      result.stop_offsets_m.push_back(builder.length_m());
    }
    if (end == stops.size()) {
      result.path = builder.take();
      return result;
    }
    here_m = line.project(stops[end - 1], here_m, limit_m).offset_m;
    builder.go_straight_to(line.point_at(here_m));
    i = end;
  }
  builder.follow_shape(here_m, line.last_offset_m());
  result.path = builder.take();
  return result;
}

}  // namespace qiv
