#pragma once

#include <optional>
#include <vector>

#include "engine/live_trip.h"
#include "engine/pattern_desk.h"

namespace qiv {

/// An earlier trip behind a forecast.
struct WeighedTrip {
  TripKey trip;
  double weight = 0.0;  ///< share of all weights, in [0, 1]
  bool lent = false;    ///< by a pattern that is a close relative
};

/// Why a forecast is as it is.
struct Explanation {
  Category category = 0;
  ForecastBasis basis = ForecastBasis::history;
  std::vector<WeighedTrip> trips;  ///< the heaviest first; ties in the order of the history
  LibraryForecast forecast;        ///< made anew; equal to the library's, bit for bit
};

/// Repeats the last forecast of a trip under way over a mirror of its history, and tells the
/// weights. Nothing before the first report. Throws `std::logic_error` if the repetition differs
/// from what the library said.
std::optional<Explanation> explain(const LiveTrip& trip, const PatternDesk& desk);

/// The same without the comparison, for whoever knows only part of what the library said.
std::optional<Explanation> repeat_forecast(const LiveTrip& trip, const PatternDesk& desk);

}  // namespace qiv
