#pragma once

#include <vector>

#include "model/journey_pattern.h"

namespace qiv {

/// Stops that lie closer together than this share one offset, and so do a stop and an end of the
/// path: `build_network` sees to it.
inline constexpr double min_milestone_gap_m = 1.0;

/// The offsets at which histories record times: 0, every stop, the path's length, and between them
/// evenly so many more that no gap exceeds `spacing_m`. Strictly increasing.
///
/// Throws `std::invalid_argument` for a spacing below 1 m or not finite, for a path without length,
/// and for a stop off the path.
std::vector<double> milestones(const JourneyPattern& pattern, double spacing_m);

/// Names what the forecasting library is told of a pattern, never negative: a hash of its reference
/// (which stands for the stops' identifiers), its stop offsets and its milestones, both to the
/// millimetre. A change of any of them is a new shape version.
long long shape_version_id(const JourneyPattern& pattern, const std::vector<double>& milestones);

}  // namespace qiv
