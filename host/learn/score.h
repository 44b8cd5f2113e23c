#pragma once

#include <vector>

#include "learn/error_sums.h"
#include "learn/recorded_days.h"
#include "model/settings.h"
#include "network/network.h"

namespace qiv {

/// The errors of one pattern under some settings: on each of `days`, its trips are forecast after
/// each of their reports from the trips of the days before. `past` is the pattern's past on the
/// grid of these settings, from the first of `days` on.
DailyErrors score_settings(const Network& network, const RecordedRuns& runs, PatternIndex pattern,
                           const std::vector<ServiceDate>& days, const PatternSettings& settings,
                           const PatternPast& past);

}  // namespace qiv
