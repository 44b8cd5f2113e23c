#pragma once

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "evaluate/other_producer.h"
#include "evaluate/plot_trip.h"
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

  /// Scores another producer on the same events on display. Call before the first day.
  void add_producer(OtherProducer producer);

  /// Replays and scores one day: its positions in order of receipt.
  void add_day(ServiceDate day, std::span<const VehiclePosition> positions, HistorySource history);

  /// The result so far. Names of city, versions and learning are the caller's to fill in.
  Scorecard scorecard() const;

  /// The worst trips so far, the worst first, to be drawn.
  std::vector<TripPlot> worst_trips() const;

 private:
  class Day;

  const Network& _network;
  const LearnedSettings& _settings;
  EvaluationOptions _options;
  std::vector<OtherProducer> _others;
  std::unique_ptr<struct Tally> _tally;
};

}  // namespace qiv
