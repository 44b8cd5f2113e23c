#include "network/shape_table.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <utility>

#include "network/pattern_ref.h"
#include "network/rejection_reasons.h"

namespace qiv {
namespace {

constexpr double beyond_end = 0.01;  ///< of a shape's own length, still taken for its end

std::vector<ShapePoint> plausible_points(const ShapeId& id, const std::vector<ShapePoint>& shape,
                                         Rejections& rejections) {
  std::vector<ShapePoint> points;
  for (const ShapePoint& point : shape) {
    if (is_plausible(point.place)) {
      points.push_back(point);
    } else {
      rejections.add(rejected::shape_point, [&] { return "shape_id '" + id.text() + "'"; });
    }
  }
  return points;
}

}  // namespace

StatedDistances::StatedDistances(const std::vector<ShapePoint>& points,
                                 const std::vector<PathPoint>& path) {
  for (std::size_t i = 0; i < points.size(); ++i) {
    const std::optional<double>& dist = points[i].dist;
    if (!dist || !std::isfinite(*dist) || (i > 0 && *dist < _dist.back())) {
      _dist.clear();
      return;
    }
    _dist.push_back(*dist);
    _offset_m.push_back(path[i].offset_m);
  }
  if (!_dist.empty() && _dist.back() == _dist.front()) _dist.clear();
}

std::optional<double> StatedDistances::offset_m(double dist) const {
  if (_dist.empty()) return std::nullopt;
  const double tolerance = beyond_end * (_dist.back() - _dist.front());
  if (!(dist >= _dist.front() - tolerance && dist <= _dist.back() + tolerance)) {
    return std::nullopt;
  }
  const auto ahead = std::upper_bound(_dist.begin(), _dist.end(), dist);
  if (ahead == _dist.begin()) return _offset_m.front();
  if (ahead == _dist.end()) return _offset_m.back();
  const auto i = static_cast<std::size_t>(ahead - _dist.begin());
  const double share = (dist - _dist[i - 1]) / (_dist[i] - _dist[i - 1]);
  return std::lerp(_offset_m[i - 1], _offset_m[i], share);
}

ShapeTable::ShapeTable(const Timetable& timetable, Rejections& rejections) {
  std::set<ShapeId> used;
  for (const Trip& trip : timetable.trips) {
    if (!trip.shape.empty()) used.insert(trip.shape);
  }
  for (const ShapeId& id : used) {
    const auto shape = timetable.shapes.find(id);
    if (shape == timetable.shapes.end()) continue;
    const std::vector<ShapePoint> points = plausible_points(id, shape->second, rejections);
    std::vector<LatLon> places;
    places.reserve(points.size());
    for (const ShapePoint& point : points) places.push_back(point.place);
    std::vector<PathPoint> path = measure_path(places);
    if (path.empty() || path.back().offset_m < least_gap_m) continue;
    const auto [entry, added] =
        _by_key.emplace(rounded(places), static_cast<std::uint32_t>(_shapes.size()));
    _entries.emplace(id, Entry{entry->second, StatedDistances(points, path)});
    if (!added) continue;
    auto line = std::make_shared<const Polyline>(path);
    _shapes.push_back({entry->first, std::move(path), std::move(line)});
  }
}

std::optional<std::uint32_t> ShapeTable::find(const ShapeId& id) const {
  const auto entry = _entries.find(id);
  if (entry == _entries.end()) return std::nullopt;
  return entry->second.index;
}

std::optional<std::uint32_t> ShapeTable::find_path(const std::vector<LatLon>& places) const {
  if (_by_key.empty()) return std::nullopt;
  const auto entry = _by_key.find(rounded(places));
  if (entry == _by_key.end()) return std::nullopt;
  return entry->second;
}

}  // namespace qiv
