#pragma once

#include <functional>
#include <map>
#include <span>
#include <vector>

#include "history/grid.h"
#include "history/trajectory.h"
#include "model/rejections.h"
#include "model/vehicle_position.h"
#include "network/network.h"

namespace qiv {

/// Followed trips by pattern and day of service: the histories of any day are the trips of the days
/// before it.
class RecordedRuns {
 public:
  explicit RecordedRuns(const Network& network) : _network(network) {}

  /// Adds a trip that was followed to its end, at `finished` by the clock of receipt.
  void add(const TripRun& run);

  /// The trajectories on `grid` of the trips of days before `day`, in the order of finishing. Runs
  /// that make none are counted in `rejections`, when it is given.
  std::vector<Trajectory> before(ServiceDate day, PatternIndex pattern, const Grid& grid,
                                 Rejections* rejections = nullptr) const;

  /// The trips of one day, in the order of finishing.
  std::vector<const TripRun*> on(ServiceDate day, PatternIndex pattern) const;

  /// The days that have trips, ascending.
  std::vector<ServiceDate> days() const;

 private:
  const Network& _network;
  std::map<PatternIndex, std::map<ServiceDate, std::vector<TripRun>>> _runs;
};

}  // namespace qiv
