#include "serve/archive_history.h"

#include <memory>
#include <utility>

namespace qiv {
namespace {

/// The runs on a pattern within the bounds; `lent`: those that may be lent.
ReadRuns runs_within(const Archive& archive, const HistoryBounds& bounds, bool lent) {
  return [&archive, &bounds, lent](const PatternRef& pattern,
                                   const std::function<void(const ArchivedRun&)>& take) {
    RunQuery query;
    query.pattern = pattern;
    archive.read_runs(query, [&](ArchivedRun&& archived) {
      if (archived.ended >= bounds.ended_before) return;
      if (lent && archived.run.trip.day >= bounds.lent_before) return;
      take(archived);
    });
  };
}

/// The network's patterns and those of earlier timetables that the archive remembers.
PatternOutlines known_outlines(const Archive& archive, const Network& network) {
  PatternOutlines outlines = outlines_of(network);
  for (PatternOutline& earlier : archive.patterns()) {
    PatternRef ref = earlier.ref;
    outlines.try_emplace(std::move(ref), std::move(earlier));
  }
  return outlines;
}

}  // namespace

HistorySource archive_history(const Archive& archive, const Network& network,
                              std::shared_ptr<const HistoryBounds> bounds, LendingOptions lending) {
  const auto outlines = std::make_shared<const PatternOutlines>(known_outlines(archive, network));
  return [=, &archive, &network](PatternIndex pattern, const Grid& grid) {
    PatternPast past;
    past.own =
        PastReader(network, *outlines, runs_within(archive, *bounds, false)).own(pattern, grid);
    if (past.own.size() < lending.enough_trips) {
      past.lent =
          PastReader(network, *outlines, runs_within(archive, *bounds, true)).lent(pattern, grid);
    }
    return chosen_past(past, lending, [](const auto& trips) { return trips.size(); });
  };
}

}  // namespace qiv
