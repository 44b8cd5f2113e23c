#pragma once

#include <functional>
#include <map>
#include <vector>

#include "engine/engine.h"
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

/// The trajectories of a pattern on one grid, made once to be asked for many days.
struct PatternPast {
  std::vector<Trajectory> own;  ///< in order of day and finishing
  /// Of the relatives, the closest first, each in order of day and finishing.
  std::vector<std::vector<Trajectory>> lent;
};

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
  std::vector<Trajectory> own(PatternIndex pattern, const Grid& grid, Rejections* rejections) const;
  std::vector<std::vector<Trajectory>> lent(PatternIndex pattern, const Grid& grid) const;
  const std::vector<ArchivedRun>& runs_of(const PatternRef& pattern) const;

  const Network& _network;
  LendingOptions _lending;
  std::map<PatternRef, PatternOutline> _outlines;
  std::map<PatternRef, std::vector<ArchivedRun>> _runs;  ///< in order of day and finishing
};

}  // namespace qiv
