#pragma once

#include <cstddef>
#include <vector>

#include "history/grid.h"
#include "network/trip_plan.h"

namespace qiv {

/// The delay clock: how far the timetable of one trip lags behind a nominal timetable of its
/// pattern, by offset. Times minus this lag are comparable between trips whose timetables differ,
/// so that the library compares and averages delays. A default-made clock is the elapsed time
/// itself: no lag.
class TripClock {
 public:
  TripClock() = default;
  TripClock(const Grid& grid, const TripPlan& trip, const TripPlan& nominal);

  /// Seconds, since the departure of each; linear between the places.
  double lag_s(double offset_m) const;

  /// The same at a place of the grid. Precondition: it has so many.
  double lag_at_place_s(std::size_t place) const { return _lags_s.empty() ? 0.0 : _lags_s[place]; }

  /// Takes the lag at each milestone from the times of a trajectory, which stay ascending.
  void subtract(const std::vector<double>& milestones_m, std::vector<int>& times_s) const;

 private:
  std::vector<double> _places_m;
  std::vector<double> _lags_s;
};

/// The scheduled time at each place of the grid, in seconds after the first departure.
std::vector<double> scheduled_times_s(const TripPlan& trip);

/// A trajectory that keeps the timetable: its time at each milestone, in whole seconds.
std::vector<int> timetable_trajectory_s(const Grid& grid, const TripPlan& trip);

}  // namespace qiv
