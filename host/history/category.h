#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/time.h"

namespace qiv {

/// A class of trips that are alike: the whole pattern, a half hour of scheduled departure, or a
/// half hour on one class of day. The values form a tree; a trip belongs to one leaf and to all
/// nodes above it. Fits the forecasting library's category type.
using Category = std::int16_t;

/// 0 weekday, 1 Saturday, 2 Sunday. (A public holiday counts as the day that its service resembles;
/// the timetable does not say which.)
int day_class(ServiceDate day);

/// The categories of a trip, finest first, the whole pattern (0) last; `depth` + 1 of them. Depth 0
/// is the whole pattern, 1 the half hour of `departure` (seconds of the service day, clamped to [0,
/// 36 h)), 2 the half hour on the class of `day`. Other depths are clamped.
std::vector<Category> categories(ServiceDate day, Seconds departure, int depth);

inline constexpr int deepest_category = 2;

/// "all trips", "departures 08:30 to 09:00", "weekday departures 08:30 to 09:00".
std::string describe(Category category);

}  // namespace qiv
