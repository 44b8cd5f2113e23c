#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "model/journey_pattern.h"
#include "model/lat_lon.h"

namespace qiv {

/// The points as a path: offsets are the sums of `distance_m` from point to point.
std::vector<PathPoint> measure_path(std::span<const LatLon> points);

/// A place on a line that is near some given place.
struct LineMatch {
  double offset_m = 0.0;
  double distance_m = 0.0;   ///< from the given place to the line
  double heading_deg = 0.0;  ///< of the line there, clockwise from north
};

/// A path that finds the nearest of its points. Between two points the line is straight in latitude
/// and longitude; it may repeat points, cross itself, run back on itself and pass the antimeridian.
///
/// Distances to the line are measured in the plane at the given place, so a match is exact to the
/// accuracy of `distance_m`. A tree of boxes over the segments keeps a search on 1,000 points at
/// about a microsecond. Immutable, and safe to share between threads.
class Polyline {
 public:
  /// Where the line, between two of its points, leads this much further away from a place than the
  /// farther of the two, they are separate candidates.
  static constexpr double min_rise_m = 5.0;

  /// Throws `std::invalid_argument` for fewer than two points, places that are not finite, and
  /// offsets that decrease or are not finite.
  explicit Polyline(std::span<const PathPoint> path);

  double first_offset_m() const { return _vertices.front().offset_m; }
  double last_offset_m() const { return _vertices.back().offset_m; }

  /// The point of the line that is nearest to `place`; among equals the one with the lowest offset.
  /// A place that is not finite gives offset and distance NaN.
  LineMatch project(const LatLon& place) const;

  /// The same for the part of the line between two offsets, which are clamped to the line's.
  /// Precondition: `from_m` <= `to_m`.
  LineMatch project(const LatLon& place, double from_m, double to_m) const;

  /// Every stretch of the line that comes within `radius_m` of `place` gives its nearest point, in
  /// order of offset. A stretch ends where the line leaves the radius, and where it turns away and
  /// comes back by `min_rise_m`: the two directions of an out-and-back street are two candidates,
  /// the small bends of one street are not. None for a place that is not finite.
  std::vector<LineMatch> candidates(const LatLon& place, double radius_m) const;

  /// The same without allocating: replaces the content of `found`.
  void candidates(const LatLon& place, double radius_m, std::vector<LineMatch>& found) const;

  /// The place at `offset_m`, which is clamped to the line's offsets.
  LatLon point_at(double offset_m) const;

  /// Direction of the line at `offset_m`, clamped likewise; at a corner that of the line ahead, at
  /// the end that of the last segment. 0 on a line without length.
  double heading_at(double offset_m) const;

 private:
  struct Vertex {
    double lat_deg;
    double lon_deg;  ///< may exceed 180°, so that neighbours never lie a turn apart
    double offset_m;
  };
  struct Box {
    double south, west, north, east;
  };
  struct Frame;
  struct Foot;
  class Collector;

  static constexpr std::size_t leaf_size = 8;  ///< segments

  std::size_t segment_count() const { return _vertices.size() - 1; }
  std::size_t segment_at(double offset_m) const;
  Frame frame_at(const LatLon& place) const;
  Foot foot_on(std::size_t segment, const Frame& frame, double from_m, double to_m) const;
  LineMatch match(std::size_t segment, double offset_m, double distance_m) const;
  double heading_of(std::size_t segment) const;
  void build_boxes();
  double box_distance2(std::size_t box, const Frame& frame) const;
  template <class Visit>
  void visit_near(const Frame& frame, const double& limit2, Visit&& visit) const;

  std::vector<Vertex> _vertices;  ///< at least two, no two neighbours equal unless all are
  std::vector<Box> _boxes;        ///< a complete binary tree, root at 1; leaves hold `leaf_size`
  std::size_t _leaf_count = 1;    ///< a power of two
  double _middle_lon_deg = 0.0;
};

}  // namespace qiv
