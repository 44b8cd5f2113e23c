#pragma once

#include <functional>
#include <map>
#include <vector>

#include "engine/engine.h"
#include "history/archive_records.h"
#include "history/grid.h"
#include "history/pattern_outline.h"
#include "history/pattern_past.h"
#include "history/trajectory.h"
#include "model/rejections.h"
#include "network/network.h"

namespace qiv {

/// Followed trips by pattern and day of service: the histories of any day are the trips of the days
/// before it. The same trips added in any order give the same answers.
class RecordedRuns {
 public:
  /// `network` must outlive it.
  explicit RecordedRuns(const Network& network, LendingOptions lending = {});

  /// Makes a pattern of an earlier timetable known, so that its trips can be lent.
  void know(const PatternOutline& pattern);

  /// Adds a trip that was followed to its end.
  void add(ArchivedRun run);
  void add(const TripRun& run) { add(ArchivedRun{run, {}}); }

  /// The trajectories on `grid` of the trips of days before `day`: the lent ones, then the
  /// pattern's own, each in the order of finishing day by day. Runs of its own that make none are
  /// counted in `rejections`, when it is given.
  std::vector<Trajectory> before(ServiceDate day, PatternIndex pattern, const Grid& grid,
                                 Rejections* rejections = nullptr) const;

  /// `before` as the engine asks for it. The runs must outlive the source.
  HistorySource source_before(ServiceDate day) const;

  /// What `before` chooses from, for any day from `first_day` on.
  PatternPast past(PatternIndex pattern, const Grid& grid, ServiceDate first_day,
                   Rejections* rejections = nullptr) const;
  std::vector<Trajectory> before(ServiceDate day, const PatternPast& past) const;

  /// The trips of one day, in the order of finishing.
  std::vector<const TripRun*> on(ServiceDate day, PatternIndex pattern) const;

  /// The days that have trips on patterns of the network, ascending.
  std::vector<ServiceDate> days() const;

 private:
  PastReader reader() const;
  const std::vector<ArchivedRun>& runs_of(const PatternRef& pattern) const;

  const Network& _network;
  LendingOptions _lending;
  PatternOutlines _outlines;
  std::map<PatternRef, std::vector<ArchivedRun>> _runs;  ///< in order of day and finishing
};

}  // namespace qiv
