#include "learn/cross_validation.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <thread>

#include "engine/forecast_library.h"
#include "engine/pattern_desk.h"
#include "evaluate/scorecard.h"

namespace qiv {
namespace {

/// Sums of absolute errors by time to the arrival.
struct ErrorSums {
  std::array<double, bucket_count> sum_s{};
  std::array<double, bucket_count> n{};

  void add(double ahead_s, double error_s) {
    if (const auto bucket = bucket_of(Seconds(std::llround(ahead_s)))) {
      sum_s[*bucket] += std::abs(error_s);
      n[*bucket] += 1.0;
    }
  }

  void add(const ErrorSums& other) {
    for (std::size_t i = 0; i < bucket_count; ++i) {
      sum_s[i] += other.sum_s[i];
      n[i] += other.n[i];
    }
  }

  double mean_mae_s() const {
    double total = 0.0;
    double filled = 0.0;
    for (std::size_t i = 0; i < bucket_count; ++i) {
      if (n[i] == 0.0) continue;
      total += sum_s[i] / n[i];
      filled += 1.0;
    }
    return filled == 0.0 ? 0.0 : total / filled;
  }

  std::size_t predictions() const {
    double total = 0.0;
    for (const double count : n) total += count;
    return static_cast<std::size_t>(total);
  }
};

/// Forecasts one run report by report and adds the errors at its remaining stops.
void score_run(const TripRun& run, PatternDesk& desk, ForecastLibrary& library,
               const TripPlan& trip, ErrorSums& errors) {
  const std::vector<std::optional<double>> actual_s = passing_times_s(run, desk.grid().places_m);
  const HistoryChoice choice = desk.choose(trip, run.trip.day);
  const TripClock clock = desk.clock(trip);
  const std::string key = to_string(run.trip) + " " + run.vehicle.text();
  for (const Progress& progress : run.progress) {
    const double offset_m = grid_offset_m(desk.grid(), desk.pattern(), progress);
    const long long time_s = unix_seconds(progress.time) - std::llround(clock.lag_s(offset_m));
    const auto forecast = library.report(desk.pattern().ref, key, choice.category, offset_m, time_s,
                                         std::max(50.0, progress.error_m));
    if (!forecast) continue;
    const auto now_s = static_cast<double>(unix_seconds(progress.received));
    for (std::size_t j = 1; j < trip.size(); ++j) {
      const std::size_t place = Grid::arrival_place(j);
      if (place < forecast->first || !actual_s[place]) continue;
      const double predicted_s = static_cast<double>(forecast->rows[place].time_s) +
                                 clock.lag_s(desk.grid().places_m[place]);
      errors.add(*actual_s[place] - now_s, *actual_s[place] - std::max(predicted_s, now_s));
    }
  }
  if (!run.progress.empty()) library.release(key, unix_seconds(run.progress.back().time));
}

/// The errors of one pattern under some settings, over all validation days.
ErrorSums score_settings(const Network& network, const RecordedRuns& runs, PatternIndex pattern,
                         const std::vector<ServiceDate>& days, const PatternSettings& settings) {
  ErrorSums errors;
  const Grid grid = make_grid(network.pattern(pattern), settings.milestone_spacing_m);
  for (const ServiceDate day : days) {
    const std::vector<const TripRun*> scored = runs.on(day, pattern);
    if (scored.empty()) continue;
    const std::vector<Trajectory> earlier = runs.before(day, pattern, grid);
    ForecastLibrary library(ForecastMode::arrival);
    PatternDesk desk(network, pattern, settings, grid, library, earlier);
    for (const TripRun* run : scored) {
      const TripPlan* const trip = network.find_trip(run->trip.trip, run->trip.start);
      if (trip != nullptr) score_run(*run, desk, library, *trip, errors);
    }
  }
  return errors;
}

using Step = std::vector<std::function<void(PatternSettings&)>>;

/// What is tried, one kind of setting after the other; the best of each is kept for the next.
std::vector<Step> steps() {
  Step depth;
  for (const int value : {0, 1, 2}) {
    depth.push_back([value](PatternSettings& s) { s.category_depth = value; });
  }
  Step clock;
  for (const bool value : {false, true}) {
    clock.push_back([value](PatternSettings& s) { s.delay_clock = value; });
  }
  Step bandwidth;
  for (const double value : {30.0, 100.0, 300.0, 1000.0, 1e5}) {
    bandwidth.push_back([value](PatternSettings& s) { s.bandwidth = value; });
  }
  return {depth, clock, bandwidth};
}

/// Runs `work(i)` for all i below `count` on several threads.
void in_parallel(std::size_t count, unsigned threads,
                 const std::function<void(std::size_t)>& work) {
  std::atomic<std::size_t> next{0};
  std::vector<std::jthread> workers;
  for (unsigned t = 0; t < std::max(1U, threads); ++t) {
    workers.emplace_back([&] {
      for (std::size_t i = next++; i < count; i = next++) work(i);
    });
  }
}

class Search {
 public:
  Search(const Network& network, const RecordedRuns& runs, std::vector<ServiceDate> days,
         const CrossValidationOptions& options)
      : _network(network), _runs(runs), _days(std::move(days)), _options(options) {}

  CrossValidationResult run() {
    const std::size_t patterns = _network.patterns().size();
    std::vector<PatternSettings> best(patterns);
    CrossValidationResult result;
    const std::vector<Step> all = steps();
    std::size_t done = 0;
    for (const Step& step : all) {
      choose(step, best, result);
      if (_options.on_progress) {
        _options.on_progress(static_cast<double>(++done) / static_cast<double>(all.size()));
      }
    }
    for (std::size_t p = 0; p < patterns; ++p) {
      result.patterns[_network.pattern(static_cast<PatternIndex>(p)).ref] = best[p];
    }
    return result;
  }

 private:
  struct Tried {
    PatternSettings settings;
    ErrorSums errors;
  };

  void choose(const Step& step, std::vector<PatternSettings>& best, CrossValidationResult& result) {
    const std::size_t patterns = best.size();
    std::vector<std::vector<Tried>> tried(patterns, std::vector<Tried>(step.size()));
    in_parallel(patterns * step.size(), _options.threads, [&](std::size_t i) {
      Tried& cell = tried[i / step.size()][i % step.size()];
      cell.settings = best[i / step.size()];
      step[i % step.size()](cell.settings);
      cell.errors = score_settings(_network, _runs, static_cast<PatternIndex>(i / step.size()),
                                   _days, cell.settings);
    });
    const std::size_t overall = best_overall(tried, step, result.fallback);
    step[overall](result.fallback);
    for (std::size_t p = 0; p < patterns; ++p) {
      best[p] = pick(tried[p], overall);
      std::vector<TriedSettings>& list =
          result.tried[_network.pattern(static_cast<PatternIndex>(p)).ref];
      for (const Tried& cell : tried[p]) {
        list.push_back({cell.settings, cell.errors.mean_mae_s(), cell.errors.predictions()});
      }
    }
  }

  /// The choice with the smallest error over all patterns together; the present one unless another
  /// is clearly better.
  std::size_t best_overall(const std::vector<std::vector<Tried>>& tried, const Step& step,
                           const PatternSettings& present) const {
    std::vector<ErrorSums> sums(step.size());
    for (const std::vector<Tried>& row : tried) {
      for (std::size_t c = 0; c < row.size(); ++c) sums[c].add(row[c].errors);
    }
    std::size_t best = 0;
    for (std::size_t c = 0; c < step.size(); ++c) {
      PatternSettings changed = present;
      step[c](changed);
      if (same(changed, present)) best = c;
    }
    const double limit_s = sums[best].mean_mae_s() * (1.0 - _options.least_gain);
    double least_s = limit_s;
    for (std::size_t c = 0; c < step.size(); ++c) {
      if (sums[c].predictions() > 0 && sums[c].mean_mae_s() < least_s) {
        least_s = sums[c].mean_mae_s();
        best = c;
      }
    }
    return best;
  }

  PatternSettings pick(const std::vector<Tried>& row, std::size_t overall) const {
    std::size_t best = overall;
    if (row[overall].errors.predictions() >= _options.least_predictions) {
      double least_s = row[overall].errors.mean_mae_s() * (1.0 - _options.least_gain);
      for (std::size_t c = 0; c < row.size(); ++c) {
        if (row[c].errors.mean_mae_s() >= least_s) continue;
        least_s = row[c].errors.mean_mae_s();
        best = c;
      }
    }
    return row[best].settings;
  }

  static bool same(const PatternSettings& a, const PatternSettings& b) {
    return a.bandwidth == b.bandwidth && a.category_depth == b.category_depth &&
           a.delay_clock == b.delay_clock && a.window == b.window;
  }

  const Network& _network;
  const RecordedRuns& _runs;
  std::vector<ServiceDate> _days;
  const CrossValidationOptions& _options;
};

}  // namespace

CrossValidationResult cross_validate(const Network& network, const RecordedRuns& runs,
                                     ServiceDate learned_until,
                                     const CrossValidationOptions& options) {
  std::vector<ServiceDate> days = runs.days();
  std::erase_if(days, [&](ServiceDate day) { return day > learned_until; });
  const std::size_t validation =
      days.empty() ? 0 : std::clamp<std::size_t>(days.size() / 2, 1, options.validation_days);
  days.erase(days.begin(), days.end() - static_cast<std::ptrdiff_t>(validation));
  return Search(network, runs, days, options).run();
}

}  // namespace qiv
