#pragma once

#include <cstddef>
#include <vector>

#include "model/journey_pattern.h"
#include "model/trip_run.h"

namespace qiv {

/// The places of a pattern at which times are recorded and forecast. Every stop but the first and
/// the last is two places, where a vehicle arrives and where it departs, `dwell_length_m` apart.
/// Places are told apart even where the timetable puts two stops on one spot.
struct Grid {
  std::vector<double> places_m;      ///< strictly increasing; 2 * (stops - 1) of them
  std::vector<double> milestones_m;  ///< strictly increasing from 0 to the end, the places included

  /// Index of the place where a vehicle arrives at stop `stop`; for the first stop, where it
  /// departs.
  static std::size_t arrival_place(std::size_t stop) { return stop == 0 ? 0 : 2 * stop - 1; }

  /// Index of the place where a vehicle departs from `stop`; not for the last stop.
  static std::size_t departure_place(std::size_t stop) { return 2 * stop; }
};

/// The grid of `pattern`, with further milestones so that no two are more than `spacing_m` apart.
/// Precondition: `spacing_m` > 0.
Grid make_grid(const JourneyPattern& pattern, double spacing_m);

/// Where on the grid a progress lies: evidence of arrival or departure on the place of its stop, a
/// fix where it is, within [0, end].
double grid_offset_m(const Grid& grid, const JourneyPattern& pattern, const Progress& progress);

}  // namespace qiv
