#include "serve/live_overlay.h"

#include <utility>

namespace qiv {

void LiveOverlay::tell(AgencyReport report) {
  const std::lock_guard lock(_mutex);
  _told.push_back(std::move(report));
}

void LiveOverlay::apply(Snapshot& snapshot, const LiveScores::DelayOf& delay_of) {
  std::vector<AgencyReport> told;
  {
    const std::lock_guard lock(_mutex);
    told.swap(_told);
  }
  for (AgencyReport& report : told) {
    _scores.take(report, *snapshot.network);
    _statements.take(std::move(report));
  }
  _statements.apply(snapshot);
  if (_scores.is_due(snapshot.now)) {
    _scores.sample(snapshot.now, snapshot.trips, delay_of, *snapshot.network);
  }
  snapshot.scores = _scores.scores();
}

}  // namespace qiv
