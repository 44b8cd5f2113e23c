#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "geo/polyline.h"
#include "model/journey_pattern.h"
#include "model/rejections.h"
#include "model/timetable.h"

namespace qiv {

/// The journey patterns of a timetable.
struct PatternTable {
  std::vector<JourneyPattern> patterns;  ///< in order of `ref`, which no two share
  std::vector<std::shared_ptr<const Polyline>> polylines;    ///< one for each pattern
  std::vector<std::optional<PatternIndex>> pattern_of_trip;  ///< one for each of the timetable's
};

/// The stop times of a trip whose stops have a plausible place; `copy` serves as their storage when
/// some have not.
std::span<const StopTime> usable_stop_times(const Timetable& timetable, const Trip& trip,
                                            std::vector<StopTime>& copy);

/// Groups the trips by route, direction, ordered stops and rounded path, and lays the stops of each
/// group on its path. A stop farther than `max_stop_distance_m` from its shape is not on it.
PatternTable make_patterns(const Timetable& timetable, double max_stop_distance_m,
                           Rejections& rejections);

}  // namespace qiv
