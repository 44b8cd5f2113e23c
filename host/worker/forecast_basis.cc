#include "worker/forecast_basis.h"

#include <algorithm>
#include <limits>

namespace qiv {
namespace {

constexpr const char* other_histories =
    "the earlier trips that have come here are not those that the forecast was made from";

bool gives_same_times(const LibraryForecast& a, const LibraryForecast& b) {
  return a.first == b.first &&
         std::equal(a.rows.begin(), a.rows.end(), b.rows.begin(), b.rows.end(),
                    [](const LibraryRow& x, const LibraryRow& y) {
                      return x.time_s == y.time_s && x.lower_s == y.lower_s &&
                             x.upper_s == y.upper_s;
                    });
}

/// The history from the trip `first` on; false when it does not have that trip.
bool begin_with(const TripKey& first, std::vector<Trajectory>& earlier) {
  const auto begin =
      std::find_if(earlier.begin(), earlier.end(),
                   [&](const Trajectory& trajectory) { return trajectory.trip == first; });
  if (begin == earlier.end()) return false;
  earlier.erase(earlier.begin(), begin);
  return true;
}

}  // namespace

ForecastBasisFound find_basis(const LiveTrip& trip, const std::optional<TripKey>& first_earlier,
                              const Network& network, const LearnedSettings& settings,
                              const HistorySource& history, ForecastMode mode) {
  const PatternIndex pattern = trip.schedule.pattern();
  PatternSettings all = settings.of(network.pattern(pattern).ref);
  all.window = std::numeric_limits<unsigned>::max();
  const Grid grid = make_grid(network.pattern(pattern), all.milestone_spacing_m);
  std::vector<Trajectory> earlier = history(pattern, grid);
  if (first_earlier && !begin_with(*first_earlier, earlier)) return {std::nullopt, other_histories};
  ForecastLibrary library(mode);
  PatternDesk desk(network, pattern, all, grid, library, earlier);
  LiveTrip repeated = trip;
  if (trip.choice.basis == ForecastBasis::timetable) {
    repeated.choice = desk.choose_timetable(*trip.schedule.plan);
  }
  auto explanation = repeat_forecast(repeated, desk);
  if (!explanation || !gives_same_times(explanation->forecast, *trip.latest)) {
    return {std::nullopt, other_histories};
  }
  return {std::move(explanation), ""};
}

}  // namespace qiv
