#pragma once

#include <optional>
#include <span>
#include <vector>

#include "model/identifier.h"
#include "model/journey_pattern.h"
#include "model/timetable.h"
#include "model/trip_run.h"

namespace qiv {

/// What must be known of a pattern to make sense of its runs after the timetable that it came from
/// is gone: stops by name, where they lie, and how long the path is.
struct PatternOutline {
  struct CallingPoint {
    StopId stop;
    double offset_m = 0.0;
    friend bool operator==(const CallingPoint&, const CallingPoint&) = default;
  };

  PatternRef ref;
  RouteId route;
  std::optional<int> direction;
  std::vector<CallingPoint> stops;
  double length_m = 0.0;

  friend bool operator==(const PatternOutline&, const PatternOutline&) = default;
};

/// `stops` are the timetable's, which `pattern` points into.
PatternOutline outline(const JourneyPattern& pattern, std::span<const Stop> stops);

/// How alike two patterns are: the stops that they share, in order, as a share of the longer list.
/// 0 for different routes or directions.
double kinship(const PatternOutline& a, const PatternOutline& b);

/// The share of the stops of `to` that `from` calls at too, in order. 0 for different routes or
/// directions.
double coverage(const PatternOutline& from, const PatternOutline& to);

/// The least `coverage` by a close relative.
inline constexpr double close_coverage = 0.6;

/// `run`, which ran on `from`, as if it had run on `to`. The stops that both have, in order, are
/// held fast, with the two places of each; between them offsets are carried over linearly. What the
/// run reports before the first or behind the last of these stops has no counterpart and is left
/// out, except for the ends of the paths. Evidence at stops that `to` does not have becomes a fix.
/// `Progress::pattern` is left 0.
///
/// Nothing if `from` is no close relative of `to`, or if fewer than two reports remain.
std::optional<TripRun> reproject(const TripRun& run, const PatternOutline& from,
                                 const PatternOutline& to);

}  // namespace qiv
