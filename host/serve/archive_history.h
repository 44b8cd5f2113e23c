#pragma once

#include <functional>
#include <memory>

#include "engine/engine.h"
#include "history/archive.h"
#include "history/pattern_past.h"

namespace qiv {

/// Which trips are the past of a pattern that is met now. Moves on with the city's time.
struct HistoryBounds {
  /// Its own trips that ended before this moment.
  Instant ended_before = Instant::max();
  /// Its relatives' trips of earlier days of service than this one: what is lent does not depend on
  /// the moment of the day at which the pattern is met.
  ServiceDate lent_before = ServiceDate(std::chrono::sys_days::max());
};

/// Gives the histories of a network's patterns, asked pattern by pattern; each time within the
/// bounds as they are then.
using HistoryFactory = std::function<HistorySource(const Network& network,
                                                   std::shared_ptr<const HistoryBounds> bounds)>;

/// The earlier trips of a pattern as the archive has them, read when the pattern is first met, in
/// the order in which they ended. A pattern with few of its own is lent those of its relatives, as
/// the evaluation lends them, of the patterns of earlier timetables too. `archive` and `network`
/// must outlive the source.
HistorySource archive_history(const Archive& archive, const Network& network,
                              std::shared_ptr<const HistoryBounds> bounds,
                              LendingOptions lending = {});

}  // namespace qiv
