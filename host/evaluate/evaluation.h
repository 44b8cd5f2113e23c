#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "evaluate/contenders.h"
#include "evaluate/error_stats.h"
#include "evaluate/replay.h"
#include "evaluate/scorecard.h"
#include "evaluate/truth.h"

namespace qiv {

struct EvaluationOptions {
  ReplayOptions replay;
  TruthOptions truth;
};

/// An error of a displayed forecast, with what its bounds were made from.
struct DisplayedError {
  TripState state = TripState::under_way;
  Seconds lead{0};        ///< predicted
  double error_s = 0.0;   ///< actual minus predicted
  double spread_s = 0.0;  ///< weighted standard deviation of the earlier trips
};

/// Scores replayed days. Add days in order; each is replayed with the histories that its own
/// `HistorySource` gives, which must end before the day.
class Evaluation {
 public:
  /// `network` and `settings` must outlive the evaluation.
  Evaluation(const Network& network, const LearnedSettings& settings,
             EvaluationOptions options = {});
  ~Evaluation();

  /// Called for every event on display, when set: what calibration learns from.
  std::function<void(const DisplayedError&)> on_displayed_error;

  /// Replays and scores one day: its positions in order of receipt.
  void add_day(ServiceDate day, std::span<const VehiclePosition> positions, HistorySource history);

  /// The result so far. Names of city, versions and learning are the caller's to fill in.
  Scorecard scorecard() const;

 private:
  struct Day;
  struct Totals;

  const Network& _network;
  const LearnedSettings& _settings;
  EvaluationOptions _options;
  std::unique_ptr<Totals> _totals;
};

}  // namespace qiv
