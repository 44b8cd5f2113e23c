#include "learn/learn.h"

#include <algorithm>
#include <mutex>

#include "evaluate/evaluation.h"
#include "learn/calibration.h"
#include "learn/parallel.h"

namespace qiv {
namespace {

constexpr double share_of_validation = 0.6;

/// The last days up to `until`, on which the bounds are calibrated.
std::vector<ServiceDate> calibration_days(const RecordedRuns& runs, ServiceDate until,
                                          std::size_t most) {
  std::vector<ServiceDate> days = runs.days();
  std::erase_if(days, [&](ServiceDate day) { return day > until; });
  const std::size_t count = days.empty() ? 0 : std::clamp<std::size_t>(days.size() / 2, 1, most);
  days.erase(days.begin(), days.end() - static_cast<std::ptrdiff_t>(count));
  return days;
}

}  // namespace

LearnedSettings learn(const Network& network, const RecordedRuns& runs, ServiceDate until,
                      const DayOfPositions& positions, const LearnOptions& options) {
  std::mutex calling;
  const auto tell = [&](double share, const std::string& what) {
    if (options.on_progress) options.on_progress(share, what);
  };
  CrossValidationOptions validation = options.validation;
  validation.partial = options.partial;
  validation.on_progress = [&](double share) {
    tell(share_of_validation * share, "choosing settings");
  };
  const CrossValidationResult chosen = cross_validate(network, runs, until, validation);
  LearnedSettings settings;
  settings.fallback = chosen.fallback;
  settings.patterns = chosen.patterns;

  EvaluationOptions evaluation_options;
  evaluation_options.replay.track = options.track;
  evaluation_options.replay.engine = options.engine;
  const auto displayed_errors = [&](ServiceDate day) {
    DisplayedErrors errors;
    Evaluation evaluation(network, settings, evaluation_options);
    evaluation.on_displayed_error = [&](const DisplayedError& error) { errors.add(error); };
    std::vector<VehiclePosition> recorded;
    {
      const std::lock_guard lock(calling);
      recorded = positions(day);
    }
    evaluation.add_day(day, recorded, runs.source_before(day));
    return errors;
  };
  const std::vector<ServiceDate> days = calibration_days(runs, until, options.calibration_days);
  std::vector<DisplayedErrors> errors(days.size());
  std::size_t done = 0;
  in_parallel(days.size(), validation.threads, [&](std::size_t i) {
    errors[i] = resumed<DisplayedErrors>(
        options.partial, calling, "calibration " + days[i].to_iso_string(),
        DisplayedErrors::from_bytes, [](const DisplayedErrors& e) { return e.to_bytes(); },
        [&] { return displayed_errors(days[i]); });
    const std::lock_guard lock(calling);
    tell(share_of_validation + (1.0 - share_of_validation) * static_cast<double>(++done) /
                                   static_cast<double>(days.size()),
         "calibrating");
  });
  settings.calibration = calibrate(errors);
  return settings;
}

}  // namespace qiv
