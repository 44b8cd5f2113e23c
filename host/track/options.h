#pragma once

#include "model/time.h"

namespace qiv {

/// What the tracker believes, holds back and gives up. docs/tracking.md has the measurements behind
/// the values.
struct TrackOptions {
  /// Farther from the path than this is off the route: where the timetable has a shape, ...
  double widest_distance_m = 100.0;
  /// ... and where the path goes straight from stop to stop.
  double widest_distance_without_shape_m = 200.0;
  /// A vehicle first seen on its way is believed at once when it is so near to its timetable ...
  double first_deviation_s = 900.0;
  /// ... and otherwise when it has moved on by this much: one that crosses the route, or runs it
  /// the other way, has not.
  double first_progress_m = 30.0;
  /// First seen on its way so far from its timetable, it is not on its trip.
  double farthest_deviation_s = 7200.0;
  /// A fix that moved on less than this says nothing new.
  double least_progress_m = 5.0;
  /// Within this distance of the first stop a vehicle has not departed.
  double start_zone_m = 50.0;
  /// Within this distance of the last stop the trip is finished.
  double end_zone_m = 50.0;
  /// A fix so far behind the last one is noise, not a contradiction.
  double backward_noise_m = 50.0;
  /// A fix that would need more than this waits for a second one that agrees.
  double highest_speed_mps = 35.0;
  /// So many fixes in a row that disagree with what was passed on prove it wrong.
  unsigned contradictions = 3;
  /// A station-level feed repeats the place of a stop, to within this distance, after leaving it.
  double station_zone_m = 30.0;
  /// A vehicle without a report for this long has left its trip.
  Seconds silence{1200};
  /// A vehicle without a report for this long is forgotten.
  Seconds memory{6 * 3600};
  /// A vehicle so long off its route has left its trip ...
  Seconds off_route_patience{600};
  /// ... unless it goes on beside its path, no farther from it than this: it is detoured, ...
  double detour_distance_m = 1000.0;
  /// ... once it has come on by this much beside it, ...
  double detour_progress_m = 150.0;
  /// ... and has left its trip after so long off the path.
  Seconds detour_patience{1800};
  /// A vehicle under way that has not moved for so long stands too long.
  Seconds standing{600};
  /// Vehicles whose reports name no trip are assigned one by their course.
  bool assign_trips = false;
  /// So sure must an assignment be, 0 to 1; ...
  double assign_confidence = 0.8;
  /// ... less sure than this, it is withdrawn.
  double withdraw_confidence = 0.3;
};

}  // namespace qiv
