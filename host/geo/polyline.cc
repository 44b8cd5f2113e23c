#include "geo/polyline.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "geo/distance.h"

namespace qiv {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

bool is_finite(const LatLon& place) {
  return std::isfinite(place.lat_deg) && std::isfinite(place.lon_deg);
}

void check_path(std::span<const PathPoint> path) {
  if (path.size() < 2) {
    throw std::invalid_argument("a path needs two points; this one has " +
                                std::to_string(path.size()));
  }
  for (std::size_t i = 0; i < path.size(); ++i) {
    const bool in_order = i == 0 || path[i - 1].offset_m <= path[i].offset_m;
    if (!is_finite(path[i].place) || !std::isfinite(path[i].offset_m) || !in_order) {
      throw std::invalid_argument("point " + std::to_string(i) +
                                  " of a path is not finite, or its offset decreases");
    }
  }
}

}  // namespace

std::vector<PathPoint> measure_path(std::span<const LatLon> points) {
  std::vector<PathPoint> path;
  path.reserve(points.size());
  for (const LatLon& place : points) {
    const double offset =
        path.empty() ? 0.0 : path.back().offset_m + distance_m(path.back().place, place);
    path.push_back({place, offset});
  }
  return path;
}

struct Polyline::Frame {
  double lat_deg;
  double lon_deg;
  MetresPerDegree scale;

  double north_m(const Vertex& v) const { return (v.lat_deg - lat_deg) * scale.north; }
  double east_m(const Vertex& v) const { return (v.lon_deg - lon_deg) * scale.east; }
  double distance_m(const Vertex& v) const {
    return std::sqrt(north_m(v) * north_m(v) + east_m(v) * east_m(v));
  }
};

/// The point of one segment that is nearest to the frame's place.
struct Polyline::Foot {
  double offset_m;
  double distance2;
};

Polyline::Polyline(std::span<const PathPoint> path) {
  check_path(path);
  _vertices.reserve(path.size());
  double west = infinity;
  double east = -infinity;
  for (const PathPoint& point : path) {
    const double before = _vertices.empty() ? point.place.lon_deg : _vertices.back().lon_deg;
    const Vertex vertex{point.place.lat_deg, before + wrap_180(point.place.lon_deg - before),
                        point.offset_m};
    const bool repeats = !_vertices.empty() && _vertices.back().lat_deg == vertex.lat_deg &&
                         _vertices.back().lon_deg == vertex.lon_deg &&
                         _vertices.back().offset_m == vertex.offset_m;
    if (repeats) continue;
    _vertices.push_back(vertex);
    west = std::min(west, vertex.lon_deg);
    east = std::max(east, vertex.lon_deg);
  }
  if (_vertices.size() == 1) _vertices.push_back(_vertices.front());
  _middle_lon_deg = 0.5 * (west + east);
  build_boxes();
}

void Polyline::build_boxes() {
  while (_leaf_count * leaf_size < segment_count()) _leaf_count *= 2;
  _boxes.assign(2 * _leaf_count, Box{infinity, infinity, -infinity, -infinity});
  for (std::size_t segment = 0; segment < segment_count(); ++segment) {
    Box& box = _boxes[_leaf_count + segment / leaf_size];
    for (const Vertex& v : {_vertices[segment], _vertices[segment + 1]}) {
      box.south = std::min(box.south, v.lat_deg);
      box.west = std::min(box.west, v.lon_deg);
      box.north = std::max(box.north, v.lat_deg);
      box.east = std::max(box.east, v.lon_deg);
    }
  }
  for (std::size_t i = _leaf_count - 1; i > 0; --i) {
    const Box& a = _boxes[2 * i];
    const Box& b = _boxes[2 * i + 1];
    _boxes[i] = {std::min(a.south, b.south), std::min(a.west, b.west), std::max(a.north, b.north),
                 std::max(a.east, b.east)};
  }
}

Polyline::Frame Polyline::frame_at(const LatLon& place) const {
  return {place.lat_deg, _middle_lon_deg + wrap_180(place.lon_deg - _middle_lon_deg),
          metres_per_degree(place.lat_deg)};
}

double Polyline::box_distance2(std::size_t box, const Frame& frame) const {
  const Box& b = _boxes[box];
  const double north =
      std::max({0.0, b.south - frame.lat_deg, frame.lat_deg - b.north}) * frame.scale.north;
  const double east =
      std::max({0.0, b.west - frame.lon_deg, frame.lon_deg - b.east}) * frame.scale.east;
  return north * north + east * east;
}

Polyline::Foot Polyline::foot_on(std::size_t segment, const Frame& frame, double from_m,
                                 double to_m) const {
  const Vertex& a = _vertices[segment];
  const Vertex& b = _vertices[segment + 1];
  if (b.offset_m < from_m || a.offset_m > to_m) return {a.offset_m, infinity};
  const double a_north = frame.north_m(a);
  const double a_east = frame.east_m(a);
  const double north = frame.north_m(b) - a_north;
  const double east = frame.east_m(b) - a_east;
  const double length2 = north * north + east * east;
  const double run_m = b.offset_m - a.offset_m;
  double share = length2 > 0.0 ? -(a_north * north + a_east * east) / length2 : 0.0;
  if (run_m > 0.0) {
    const double low = std::max(0.0, (from_m - a.offset_m) / run_m);
    const double high = std::min(1.0, (to_m - a.offset_m) / run_m);
    share = std::max(low, std::min(share, high));
  } else {
    share = std::clamp(share, 0.0, 1.0);
  }
  const double foot_north = a_north + share * north;
  const double foot_east = a_east + share * east;
  return {std::clamp(a.offset_m + share * run_m, a.offset_m, b.offset_m),
          foot_north * foot_north + foot_east * foot_east};
}

/// Calls `visit` with every segment whose box lies within the square root of `limit2`, in order of
/// offset; `visit` may lower the limit on the way.
template <class Visit>
void Polyline::visit_near(const Frame& frame, const double& limit2, Visit&& visit) const {
  constexpr double rounding = 1e-9;
  const auto descend = [&](const auto& self, std::size_t box) -> void {
    if (!(box_distance2(box, frame) <= limit2 * (1.0 + rounding) + rounding)) return;
    if (box < _leaf_count) {
      self(self, 2 * box);
      self(self, 2 * box + 1);
      return;
    }
    const std::size_t first = (box - _leaf_count) * leaf_size;
    const std::size_t last = std::min(first + leaf_size, segment_count());
    for (std::size_t segment = first; segment < last; ++segment) visit(segment);
  };
  descend(descend, 1);
}

LineMatch Polyline::project(const LatLon& place) const {
  return project(place, first_offset_m(), last_offset_m());
}

LineMatch Polyline::project(const LatLon& place, double from_m, double to_m) const {
  if (!is_finite(place)) return {not_a_number, not_a_number, 0.0};
  const Frame frame = frame_at(place);
  from_m = std::clamp(from_m, first_offset_m(), last_offset_m());
  to_m = std::clamp(to_m, first_offset_m(), last_offset_m());

  std::size_t box = 1;
  while (box < _leaf_count) {
    box *= 2;
    if (box_distance2(box + 1, frame) < box_distance2(box, frame)) ++box;
  }
  double limit2 = infinity;
  const std::size_t first = (box - _leaf_count) * leaf_size;
  for (std::size_t s = first; s < std::min(first + leaf_size, segment_count()); ++s) {
    limit2 = std::min(limit2, foot_on(s, frame, from_m, to_m).distance2);
  }

  std::size_t nearest = 0;
  Foot best{0.0, infinity};
  visit_near(frame, limit2, [&](std::size_t segment) {
    const Foot foot = foot_on(segment, frame, from_m, to_m);
    if (foot.distance2 >= best.distance2) return;
    best = foot;
    nearest = segment;
    limit2 = std::min(limit2, best.distance2);
  });
  return match(nearest, best.offset_m, std::sqrt(best.distance2));
}

/// Finds the valleys of the distance along the line that are at least `min_rise_m` deep.
class Polyline::Collector {
 public:
  Collector(const Polyline& line, std::vector<LineMatch>& found) : _line(line), _found(found) {}

  void pass(std::size_t segment, double offset_m, double distance) {
    if (_open && distance <= _peak - min_rise_m && _lowest <= _peak - min_rise_m) end_stretch();
    if (!_open || distance < _lowest) {
      _open = true;
      _segment = segment;
      _offset_m = offset_m;
      _lowest = distance;
      _peak = distance;
    }
    _peak = std::max(_peak, distance);
  }

  void end_stretch() {
    if (_open) _found.push_back(_line.match(_segment, _offset_m, _lowest));
    _open = false;
  }

 private:
  const Polyline& _line;
  std::vector<LineMatch>& _found;
  bool _open = false;
  std::size_t _segment = 0;
  double _offset_m = 0.0;
  double _lowest = 0.0;
  double _peak = 0.0;  ///< farthest since the lowest
};

void Polyline::candidates(const LatLon& place, double radius_m,
                          std::vector<LineMatch>& found) const {
  found.clear();
  if (!is_finite(place) || !(radius_m >= 0.0)) return;
  const Frame frame = frame_at(place);
  const double limit2 = radius_m * radius_m;
  Collector collector(*this, found);
  std::size_t expected = 0;
  visit_near(frame, limit2, [&](std::size_t segment) {
    const Foot foot = foot_on(segment, frame, first_offset_m(), last_offset_m());
    if (foot.distance2 > limit2) return;
    const Vertex& a = _vertices[segment];
    const Vertex& b = _vertices[segment + 1];
    const double begin = frame.distance_m(a);
    if (segment != expected || begin > radius_m) collector.end_stretch();
    if (begin <= radius_m) collector.pass(segment, a.offset_m, begin);
    collector.pass(segment, foot.offset_m, std::sqrt(foot.distance2));
    const double end = frame.distance_m(b);
    if (end <= radius_m) collector.pass(segment, b.offset_m, end);
    expected = end <= radius_m ? segment + 1 : segment_count();
  });
  collector.end_stretch();
}

std::vector<LineMatch> Polyline::candidates(const LatLon& place, double radius_m) const {
  std::vector<LineMatch> found;
  candidates(place, radius_m, found);
  return found;
}

std::size_t Polyline::segment_at(double offset_m) const {
  const auto ahead = std::upper_bound(
      _vertices.begin(), _vertices.end(), offset_m,
      [](double offset, const Vertex& vertex) { return offset < vertex.offset_m; });
  const auto vertex = static_cast<std::size_t>(ahead - _vertices.begin());
  return std::clamp<std::size_t>(vertex, 1, segment_count()) - 1;
}

LatLon Polyline::point_at(double offset_m) const {
  const std::size_t segment = segment_at(offset_m);
  const Vertex& a = _vertices[segment];
  const Vertex& b = _vertices[segment + 1];
  const double run_m = b.offset_m - a.offset_m;
  const double share = run_m > 0.0 ? std::clamp((offset_m - a.offset_m) / run_m, 0.0, 1.0) : 0.0;
  const double lon_deg = a.lon_deg + share * (b.lon_deg - a.lon_deg);
  return {a.lat_deg + share * (b.lat_deg - a.lat_deg), wrap_180(lon_deg)};
}

double Polyline::heading_at(double offset_m) const {
  return heading_of(segment_at(offset_m));
}

double Polyline::heading_of(std::size_t segment) const {
  const Vertex& a = _vertices[segment];
  const Vertex& b = _vertices[segment + 1];
  return bearing_deg({a.lat_deg, a.lon_deg}, {b.lat_deg, b.lon_deg});
}

LineMatch Polyline::match(std::size_t segment, double offset_m, double distance_m) const {
  return {offset_m, distance_m, heading_of(segment)};
}

}  // namespace qiv
