#include "learn/learn.h"

#include <algorithm>

#include "evaluate/evaluation.h"
#include "learn/calibration.h"

namespace qiv {

LearnedSettings learn(const Network& network, const RecordedRuns& runs, ServiceDate until,
                      const DayOfPositions& positions, const LearnOptions& options) {
  const auto tell = [&](double share, const std::string& what) {
    if (options.on_progress) options.on_progress(share, what);
  };
  CrossValidationOptions validation = options.validation;
  validation.on_progress = [&](double share) { tell(0.6 * share, "choosing settings"); };
  const CrossValidationResult chosen = cross_validate(network, runs, until, validation);
  LearnedSettings settings;
  settings.fallback = chosen.fallback;
  settings.patterns = chosen.patterns;

  std::vector<ServiceDate> days = runs.days();
  std::erase_if(days, [&](ServiceDate day) { return day > until; });
  const std::size_t count =
      days.empty() ? 0 : std::clamp<std::size_t>(days.size() / 2, 1, options.calibration_days);
  days.erase(days.begin(), days.end() - static_cast<std::ptrdiff_t>(count));
  EvaluationOptions evaluation_options;
  evaluation_options.replay.track = options.track;
  evaluation_options.replay.engine = options.engine;
  Evaluation evaluation(network, settings, evaluation_options);
  Calibrator calibrator;
  evaluation.on_displayed_error = [&](const DisplayedError& error) { calibrator.add(error); };
  for (std::size_t i = 0; i < days.size(); ++i) {
    tell(0.6 + 0.4 * static_cast<double>(i) / static_cast<double>(days.size()),
         "calibrating on " + days[i].to_iso_string());
    evaluation.add_day(days[i], positions(days[i]), [&](PatternIndex pattern, const Grid& grid) {
      return runs.before(days[i], pattern, grid);
    });
  }
  settings.calibration = calibrator.calibration();
  return settings;
}

}  // namespace qiv
