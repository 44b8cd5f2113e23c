#pragma once

#include <vector>

#include "model/journey_pattern.h"

namespace qiv {

/// Names what the forecasting library is told of a pattern, never negative: a hash of its reference
/// (which stands for the stops' identifiers), its stop offsets and its milestones, both to the
/// millimetre. A change of any of them is a new shape version.
long long shape_version_id(const JourneyPattern& pattern, const std::vector<double>& milestones_m);

}  // namespace qiv
