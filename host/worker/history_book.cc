#include "worker/history_book.h"

#include <variant>

#include "history/trajectory.h"

namespace qiv {

bool HistoryBook::take(const FinishedTrip& trip) {
  if (trip.finished > _until) return false;
  if (!_known.insert(key_of(trip)).second) return false;
  _trips[trip.run.pattern].push_back(trip);
  return true;
}

HistorySource HistoryBook::source(const Network& network) const {
  return [this, &network](PatternIndex pattern, const Grid& grid) {
    std::vector<Trajectory> trajectories;
    const auto trips = _trips.find(network.pattern(pattern).ref);
    if (trips == _trips.end()) return trajectories;
    for (const FinishedTrip& trip : trips->second) {
      auto made = make_trajectory(trip.run, network.pattern(pattern), grid.milestones_m);
      auto* const trajectory = std::get_if<Trajectory>(&made);
      if (trajectory == nullptr) continue;
      trajectory->finished = trip.finished;
      trajectories.push_back(std::move(*trajectory));
    }
    return trajectories;
  };
}

}  // namespace qiv
