#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <vector>

#include "history/archive_records.h"
#include "history/grid.h"
#include "history/pattern_outline.h"
#include "history/trajectory.h"
#include "model/rejections.h"
#include "network/network.h"

namespace qiv {

/// When the trips of close relatives stand in for those that a pattern does not have.
struct LendingOptions {
  /// A pattern with fewer trips of its own is lent so many that it has as many as this; 0: never.
  /// Each trip of its own that comes takes the place of a lent one. docs/learning.md has the
  /// measurements behind it.
  std::size_t enough_trips = 5;
};

/// The trajectories of a pattern on one grid, made once to be chosen from.
struct PatternPast {
  std::vector<Trajectory> own;  ///< in the order in which they are to be learned
  /// Of the relatives, the closest first, each in the same order.
  std::vector<std::vector<Trajectory>> lent;
};

/// Hands over the runs on a pattern, in the order in which they are to be learned.
using ReadRuns = std::function<void(const PatternRef& pattern,
                                    const std::function<void(const ArchivedRun& run)>& take)>;

/// The patterns that there are or were, by reference.
using PatternOutlines = std::map<PatternRef, PatternOutline>;

/// The patterns of a network.
PatternOutlines outlines_of(const Network& network);

/// Makes trajectories of the runs on a network's patterns, and on their relatives.
class PastReader {
 public:
  /// All must outlive the reader. `outlines` has those of the network, and may have earlier ones.
  PastReader(const Network& network, const PatternOutlines& outlines, ReadRuns runs);

  /// The pattern's own. Runs that make none are counted in `rejections`, when it is given.
  std::vector<Trajectory> own(PatternIndex pattern, const Grid& grid,
                              Rejections* rejections = nullptr) const;

  /// What close relatives can lend, the closest first.
  std::vector<std::vector<Trajectory>> lent(PatternIndex pattern, const Grid& grid) const;

 private:
  const Network& _network;
  const PatternOutlines& _outlines;
  ReadRuns _runs;
};

/// How many trajectories at the front of a list may be used.
using CountUsable = std::function<std::size_t(const std::vector<Trajectory>& trips)>;

/// The past with which a pattern begins: of the lent trips the latest, of the closest relatives
/// first, as many as are missing, in the order of day and finishing; then all of its own.
std::vector<Trajectory> chosen_past(const PatternPast& past, const LendingOptions& lending,
                                    const CountUsable& usable);

}  // namespace qiv
