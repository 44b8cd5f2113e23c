#pragma once

#include "engine/display.h"

namespace qiv {

/// Fills state and legs of `result`. The library gives the leg under way the time of the whole leg,
/// like all others, whatever the vehicle has spent on it. When it was seen to spend more, the trip
/// is overdue, and the leg takes at least as long as it has taken already. Precondition: `forecast`
/// of `input` is in travel mode.
void fill_legs(TripForecast& result, const DisplayInput& input);

}  // namespace qiv
