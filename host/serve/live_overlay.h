#pragma once

#include <mutex>
#include <vector>

#include "serve/agency/agency_statements.h"
#include "serve/live_scores.h"
#include "serve/snapshot.h"

namespace qiv {

/// What a snapshot shows beside the forecasts, whoever makes these: what the agency says of its
/// service, and how the forecasts fare against what then happens. One thread, but for `tell`.
class LiveOverlay {
 public:
  explicit LiveOverlay(LiveScoreOptions options = {}) : _scores(options) {}

  /// Takes what one of the agency's own feeds says, for the next snapshot. May be called by any
  /// thread.
  void tell(AgencyReport report);

  /// Takes a position for the scores, in order of receipt. Not one that is received again.
  void take(const VehiclePosition& position, const Network& network) {
    _scores.take(position, network);
  }

  /// Completes a snapshot whose `now`, network, trips and vehicles are there.
  void apply(Snapshot& snapshot, const LiveScores::DelayOf& delay_of);

  /// Scores every trip that is left, as at the end of a recording.
  void finish(const Network& network) { _scores.finish(network); }

  const LiveScores& scores() const { return _scores; }

 private:
  std::mutex _mutex;
  std::vector<AgencyReport> _told;
  LiveScores _scores;
  AgencyStatements _statements;
};

}  // namespace qiv
