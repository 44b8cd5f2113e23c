#pragma once

#include <functional>
#include <map>
#include <vector>

#include "learn/recorded_days.h"
#include "model/settings.h"

namespace qiv {

struct CrossValidationOptions {
  /// The last days before the end of learning serve to choose, those before them as history.
  std::size_t validation_days = 5;
  /// A setting replaces the default only when its error is smaller by this share ...
  double least_gain = 0.005;
  /// ... over at least so many predictions of the pattern; patterns with fewer take what is best
  /// over all patterns.
  std::size_t least_predictions = 2000;
  /// Threads to use; the result does not depend on it.
  unsigned threads = 2;
  /// Told the share of the work that is done.
  std::function<void(double share)> on_progress;
};

/// The settings of a pattern that were tried, and their errors.
struct TriedSettings {
  PatternSettings settings;
  double mean_mae_s = 0.0;  ///< plain mean of the errors in the buckets of time to the arrival
  std::size_t predictions = 0;
};

struct CrossValidationResult {
  PatternSettings fallback;
  std::map<PatternRef, PatternSettings> patterns;
  std::map<PatternRef, std::vector<TriedSettings>> tried;
};

/// Chooses category depth, bandwidth, clock and window for each pattern, one after the other, each
/// by forecasting the trips of the validation days, after each of their reports, from the trips of
/// the days before.
CrossValidationResult cross_validate(const Network& network, const RecordedRuns& runs,
                                     ServiceDate learned_until,
                                     const CrossValidationOptions& options = {});

}  // namespace qiv
