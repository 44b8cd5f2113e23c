#include "learn/score.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "engine/forecast_library.h"
#include "engine/pattern_desk.h"

namespace qiv {
namespace {

/// Forecasts one run report by report and adds the errors at its remaining stops.
void score_run(const TripRun& run, PatternDesk& desk, ForecastLibrary& library,
               const TripPlan& trip, ErrorSums& errors) {
  const std::vector<std::optional<double>> actual_s = passing_times_s(run, desk.grid().places_m);
  const HistoryChoice choice = desk.choose(trip, run.trip.day);
  const TripClock clock = desk.clock(trip);
  const std::string name = to_string(run.trip) + " " + run.vehicle.text();
  const LibraryVehicle vehicle(name, name, name);
  std::optional<LibraryForecast> forecast;
  for (const Progress& progress : run.progress) {
    const double offset_m = grid_offset_m(desk.grid(), desk.pattern(), progress);
    const long long time_s = unix_seconds(progress.time) - std::llround(clock.lag_s(offset_m));
    const LibraryReport report{offset_m, time_s, std::max(50.0, progress.error_m)};
    if (!library.report(desk.opened(), vehicle, choice.category, report, forecast)) continue;
    const auto now_s = static_cast<double>(unix_seconds(progress.received));
    for (std::size_t j = 1; j < trip.size(); ++j) {
      const std::size_t place = Grid::arrival_place(j);
      if (place < forecast->first || !actual_s[place]) continue;
      const double predicted_s = static_cast<double>(forecast->rows[place].time_s) +
                                 clock.lag_s(desk.grid().places_m[place]);
      errors.add(*actual_s[place] - now_s, *actual_s[place] - std::max(predicted_s, now_s));
    }
  }
  if (!run.progress.empty()) library.release(vehicle, unix_seconds(run.progress.back().time));
}

}  // namespace

DailyErrors score_settings(const Network& network, const RecordedRuns& runs, PatternIndex pattern,
                           const std::vector<ServiceDate>& days, const PatternSettings& settings,
                           const PatternPast& past) {
  DailyErrors errors;
  const Grid grid = make_grid(network.pattern(pattern), settings.milestone_spacing_m);
  for (const ServiceDate day : days) {
    const std::vector<const TripRun*> scored = runs.on(day, pattern);
    if (scored.empty()) continue;
    ForecastLibrary library(ForecastMode::arrival);
    PatternDesk desk(network, pattern, settings, grid, library, runs.before(day, past));
    for (const TripRun* run : scored) {
      const TripPlan* const trip = network.find_trip(run->trip.trip, run->trip.start);
      if (trip != nullptr && trip->pattern == pattern) {
        score_run(*run, desk, library, *trip, errors[day]);
      }
    }
  }
  return errors;
}

}  // namespace qiv
