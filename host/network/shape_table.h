#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "geo/polyline.h"
#include "model/identifier.h"
#include "model/lat_lon.h"
#include "model/rejections.h"
#include "model/timetable.h"

namespace qiv {

/// Stops that lie closer together than this share one offset, and so do a stop and an end of its
/// path; a path must be at least so long.
inline constexpr double least_gap_m = 1.0;

/// Turns distances in a shape's own unit into offsets of its path.
class StatedDistances {
 public:
  /// `path` holds the same points, measured.
  StatedDistances(const std::vector<ShapePoint>& points, const std::vector<PathPoint>& path);

  /// Nothing where a point of the shape has no distance, where its distances fall, and beyond its
  /// ends by more than a hundredth of its length.
  std::optional<double> offset_m(double dist) const;

 private:
  std::vector<double> _dist;
  std::vector<double> _offset_m;
};

/// A path that trips use, drawn by one or several shapes that round to the same points.
struct UsedShape {
  std::vector<std::int64_t> key;  ///< the rounded points
  std::vector<PathPoint> path;
  std::shared_ptr<const Polyline> line;
};

/// The shapes of a timetable that trips use.
class ShapeTable {
 public:
  ShapeTable(const Timetable& timetable, Rejections& rejections);

  /// Index of the path of a shape; nothing for one that is missing or shorter than a metre.
  std::optional<std::uint32_t> find(const ShapeId& id) const;

  /// Index of the path that leads straight through just these places, if a shape draws it.
  std::optional<std::uint32_t> find_path(const std::vector<LatLon>& places) const;

  const UsedShape& shape(std::uint32_t index) const { return _shapes[index]; }

  /// Precondition: `find(id)` has a value.
  const StatedDistances& distances(const ShapeId& id) const { return _entries.at(id).distances; }

 private:
  struct Entry {
    std::uint32_t index;
    StatedDistances distances;
  };

  std::map<ShapeId, Entry> _entries;
  std::map<std::vector<std::int64_t>, std::uint32_t> _by_key;
  std::vector<UsedShape> _shapes;
};

}  // namespace qiv
