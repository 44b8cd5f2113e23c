#include "serve/archive_history.h"

#include <utility>
#include <variant>

#include "history/trajectory.h"

namespace qiv {

HistorySource archive_history(const Archive& archive, const Network& network,
                              Instant begun_before) {
  return [&archive, &network, begun_before](PatternIndex pattern, const Grid& grid) {
    std::vector<Trajectory> trajectories;
    RunQuery query;
    query.pattern = network.pattern(pattern).ref;
    archive.read_runs(query, [&](ArchivedRun&& archived) {
      const std::vector<Progress>& progress = archived.run.progress;
      if (progress.empty() || progress.front().received >= begun_before) return;
      auto made = make_trajectory(archived.run, network.pattern(pattern), grid.milestones_m);
      if (auto* const trajectory = std::get_if<Trajectory>(&made)) {
        trajectories.push_back(std::move(*trajectory));
      }
    });
    return trajectories;
  };
}

}  // namespace qiv
