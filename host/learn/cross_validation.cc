#include "learn/cross_validation.h"

#include <algorithm>
#include <mutex>
#include <string>

#include "history/settings_json.h"
#include "learn/parallel.h"
#include "learn/score.h"

namespace qiv {
namespace {

using Step = std::vector<std::function<void(PatternSettings&)>>;

template <class Value>
Step step(Value PatternSettings::*member, std::initializer_list<Value> values) {
  Step changes;
  for (const Value value : values) {
    changes.push_back([member, value](PatternSettings& settings) { settings.*member = value; });
  }
  return changes;
}

/// What is tried, one kind of setting after the other; the best of each is kept for the next.
std::vector<Step> steps() {
  return {step(&PatternSettings::category_depth, {0, 1, 2}),
          step(&PatternSettings::delay_clock, {false, true}),
          step(&PatternSettings::bandwidth, {30.0, 100.0, 300.0, 1000.0, 1e5}),
          step(&PatternSettings::window, {30U, 100U, 300U}),
          step(&PatternSettings::milestone_spacing_m, {100.0, 250.0, 1000.0})};
}

class Search {
 public:
  Search(const Network& network, const RecordedRuns& runs, std::vector<ServiceDate> days,
         const CrossValidationOptions& options)
      : _network(network),
        _runs(runs),
        _days(std::move(days)),
        _options(options),
        _best(network.patterns().size()),
        _known(network.patterns().size()) {}

  CrossValidationResult run() {
    CrossValidationResult result;
    const std::vector<Step> all = steps();
    for (std::size_t i = 0; i < all.size(); ++i) {
      choose(all[i], result.fallback, [&](double share) {
        if (!_options.on_progress) return;
        _options.on_progress((static_cast<double>(i) + share) / static_cast<double>(all.size()));
      });
    }
    for (std::size_t p = 0; p < _best.size(); ++p) {
      const PatternRef& ref = _network.pattern(static_cast<PatternIndex>(p)).ref;
      result.patterns[ref] = _best[p];
      result.tried[ref] = std::move(_known[p]);
    }
    return result;
  }

 private:
  /// Sets `fallback` and the best of each pattern to what this step finds.
  void choose(const Step& step, PatternSettings& fallback,
              const std::function<void(double)>& tell) {
    const std::size_t choices = step.size();
    std::vector<TriedSettings> tried(_best.size() * choices);
    std::size_t done = 0;
    in_parallel(tried.size(), _options.threads, [&](std::size_t i) {
      tried[i].settings = _best[i / choices];
      step[i % choices](tried[i].settings);
      tried[i].errors = errors_of(i / choices, tried[i].settings);
      const std::lock_guard lock(_calling);
      tell(static_cast<double>(++done) / static_cast<double>(tried.size()));
    });
    const std::size_t overall = best_overall(tried, step, fallback);
    step[overall](fallback);
    for (std::size_t p = 0; p < _best.size(); ++p) {
      const auto row = tried.begin() + static_cast<std::ptrdiff_t>(p * choices);
      _best[p] = pick({row, row + static_cast<std::ptrdiff_t>(choices)}, overall);
      for (std::size_t c = 0; c < choices; ++c) remember(p, tried[p * choices + c]);
    }
  }

  /// Of a pattern; reads `_known`, which does not change while a step is tried.
  DailyErrors errors_of(std::size_t pattern, const PatternSettings& settings) {
    for (const TriedSettings& known : _known[pattern]) {
      if (known.settings == settings) return known.errors;
    }
    const auto index = static_cast<PatternIndex>(pattern);
    const std::string part =
        "score " + _network.pattern(index).ref.text() + " " + to_json(settings);
    return resumed<DailyErrors>(_options.partial, _calling, part, daily_errors_from, to_bytes, [&] {
      if (_days.empty()) return DailyErrors();
      const Grid grid = make_grid(_network.pattern(index), settings.milestone_spacing_m);
      return score_settings(_network, _runs, index, _days, settings,
                            _runs.past(index, grid, _days.front()));
    });
  }

  void remember(std::size_t pattern, const TriedSettings& tried) {
    const auto same = [&](const TriedSettings& t) { return t.settings == tried.settings; };
    std::vector<TriedSettings>& known = _known[pattern];
    if (std::none_of(known.begin(), known.end(), same)) known.push_back(tried);
  }

  /// The choice that is best over all patterns together; that which stands unless another is
  /// clearly better.
  std::size_t best_overall(const std::vector<TriedSettings>& tried, const Step& step,
                           const PatternSettings& standing) const {
    std::vector<TriedSettings> sums(step.size());
    std::size_t stands = 0;
    for (std::size_t c = 0; c < step.size(); ++c) {
      sums[c].settings = standing;
      step[c](sums[c].settings);
      if (sums[c].settings == standing) stands = c;
      for (std::size_t i = c; i < tried.size(); i += step.size()) {
        for (const auto& [day, errors] : tried[i].errors) sums[c].errors[day].add(errors);
      }
    }
    return best(sums, stands);
  }

  PatternSettings pick(const std::vector<TriedSettings>& row, std::size_t overall) const {
    const bool tells = total(row[overall].errors).predictions() >= _options.least_predictions;
    return row[tells ? best(row, overall) : overall].settings;
  }

  /// Of those that are clearly better than `stands` the one with the smallest error.
  std::size_t best(const std::vector<TriedSettings>& row, std::size_t stands) const {
    std::size_t best = stands;
    for (std::size_t c = 0; c < row.size(); ++c) {
      if (c != stands && clearly_better(row[c].errors, row[stands].errors, _options.rule) &&
          total(row[c].errors).mean_mae_s() < total(row[best].errors).mean_mae_s()) {
        best = c;
      }
    }
    return best;
  }

  const Network& _network;
  const RecordedRuns& _runs;
  std::vector<ServiceDate> _days;
  const CrossValidationOptions& _options;
  std::vector<PatternSettings> _best;              ///< of each pattern
  std::vector<std::vector<TriedSettings>> _known;  ///< of each pattern, in order of trying
  std::mutex _calling;  ///< held while a function of the options is called
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
