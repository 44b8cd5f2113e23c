#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "model/vehicle_position.h"
#include "network/network.h"
#include "track/options.h"

namespace qiv {

/// How a vehicle came from the report that counted last to the present one.
struct CourseStep {
  bool first = true;
  double distance_m = 0.0;  ///< as the crow flies
  Seconds elapsed{0};
};

/// Where and when a vehicle was on its course along one path: a few moments, spread over it.
class CourseMarks {
 public:
  struct Mark {
    Instant time{};
    double offset_m = 0.0;
    bool at_start = false;  ///< in the zone of the first stop, where `time` is the last moment
  };

  void add(const Mark& mark);
  /// Replaces the latest mark. Precondition: there is one.
  void prolong(Instant time) { _marks[_count - 1].time = time; }

  const Mark* begin() const { return _marks.data(); }
  const Mark* end() const { return _marks.data() + _count; }
  std::size_t size() const { return _count; }
  const Mark& latest() const { return _marks[_count - 1]; }

 private:
  std::array<Mark, 8> _marks{};
  std::size_t _count = 0;
};

/// One place along the path that the vehicle may be at, with the course that led there.
struct CoursePlace {
  double fit = 0.0;  ///< log of how much better a vehicle on this path explains the reports than
                     ///< one that is on none; what lies far behind counts less and less
  CourseMarks marks;

  double offset_m() const { return marks.latest().offset_m; }
  Instant since() const { return marks.begin()->time; }
};

/// The course of one vehicle along the path of one pattern: the places that its reports may mean,
/// each reached by going forward. Nearness to the path, direction of travel, speed and the stops
/// that the feed states are the evidence. Reports from one place count once.
class PathCourse {
 public:
  PathCourse(const Network& network, PatternIndex pattern, const TrackOptions& options)
      : _network(&network), _pattern(pattern), _options(&options) {}

  PatternIndex pattern() const { return _pattern; }

  /// Takes a report that counts. Precondition: it has a place.
  void take(const VehiclePosition& report, const CourseStep& step);

  /// The vehicle has not moved since.
  void stay(Instant time);

  /// Empty: the vehicle is not on this path.
  const std::vector<CoursePlace>& places() const { return _places; }

 private:
  CoursePlace begin(const LineMatch& match, Instant time) const;
  const CoursePlace* best_before(const LineMatch& match, const CourseStep& step, double& fit) const;
  double nearness(const VehiclePosition& report, const LineMatch& match, double weight) const;
  double stated(const VehiclePosition& report, double offset_m) const;
  double widest_m() const;
  void miss(const CourseStep& step);
  bool at_start(double offset_m) const;

  const Network* _network;
  PatternIndex _pattern;
  const TrackOptions* _options;
  std::vector<CoursePlace> _places;
};

}  // namespace qiv
