#pragma once

#include <vector>

#include "model/journey_pattern.h"
#include "network/trip_plan.h"
#include "simulate/draw.h"
#include "simulate/traffic.h"

namespace qiv {

/// When a simulated vehicle arrives at and departs from each stop of its trip, seconds since 1970.
struct DrivenTimes {
  std::vector<double> arrival_s;
  std::vector<double> departure_s;

  /// Where the vehicle is, in metres along the path; it speeds up and slows down between stops.
  /// Before its departure it is at the first stop, after its arrival at the last.
  double offset_m(const JourneyPattern& pattern, double time_s) const;
};

/// Drives trips through traffic. No leg is faster than 28 m/s; no vehicle departs more than a
/// minute before its timetable.
class Driver {
 public:
  Driver(Draw draw, Traffic traffic) : _draw(draw), _traffic(traffic) {}

  /// Replaces `times` with those of `trip` on the day that begins at `zero`, leaving the first stop
  /// at `departs_s`.
  void drive(const TripPlan& trip, const JourneyPattern& pattern, Instant zero, double departs_s,
             DrivenTimes& times) const;

 private:
  Draw _draw;
  Traffic _traffic;
};

}  // namespace qiv
