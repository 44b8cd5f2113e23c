#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "model/rejections.h"
#include "model/trip_forecast.h"
#include "network/network.h"

namespace qiv {

/// Describes the category of a forecast, such as "departures 08:30 to 09:00".
using CategoryText = std::function<std::string(const TripForecast&)>;

/// Lines and what did not get into them.
struct JsonLines {
  std::string text;  ///< each line ends with a line feed
  Rejections withheld;
};

/// One JSON object for each forecast, one a line, in the order of `forecasts`: everything that is
/// known, for programs that want more than GTFS-realtime can say: the stops with their times, or
/// the legs with their travel times. Members, units and their meaning: docs/outputs.md. Times are
/// the same as in `trip_updates`.
///
/// Text that is not UTF-8 is repaired with replacement characters. What cannot be published (see
/// `published_trip`) is counted. `network` must be the one behind the forecasts.
JsonLines json_lines(std::span<const TripForecast> forecasts, const Network& network,
                     const CategoryText& category);

}  // namespace qiv
