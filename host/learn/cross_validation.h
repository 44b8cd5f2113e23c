#pragma once

#include <functional>
#include <map>
#include <vector>

#include "learn/error_sums.h"
#include "learn/partial_results.h"
#include "learn/recorded_days.h"
#include "model/settings.h"

namespace qiv {

struct CrossValidationOptions {
  /// The last days before the end of learning serve to choose, those before them as history.
  std::size_t validation_days = 5;
  /// When a setting replaces that which stands: the default, then what is best over all patterns.
  ChoiceRule rule;
  /// A pattern with fewer predictions takes what is best over all patterns.
  std::size_t least_predictions = 2000;
  /// Threads to use; the result does not depend on it.
  unsigned threads = 2;
  /// Told the share of the work that is done.
  std::function<void(double share)> on_progress;
  /// Where the errors of settings that were tried are kept.
  PartialResults partial;
};

/// The settings of a pattern that were tried, and their errors.
struct TriedSettings {
  PatternSettings settings;
  DailyErrors errors;
};

struct CrossValidationResult {
  PatternSettings fallback;
  std::map<PatternRef, PatternSettings> patterns;
  std::map<PatternRef, std::vector<TriedSettings>> tried;
};

/// Chooses category depth, clock, bandwidth, window and milestone spacing for each pattern, one
/// after the other around the best of those before, each by forecasting the trips of the validation
/// days, after each of their reports, from the trips of the days before. docs/learning.md says how.
CrossValidationResult cross_validate(const Network& network, const RecordedRuns& runs,
                                     ServiceDate learned_until,
                                     const CrossValidationOptions& options = {});

}  // namespace qiv
