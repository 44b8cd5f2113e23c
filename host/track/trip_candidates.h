#pragma once

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "model/vehicle_position.h"
#include "network/network.h"
#include "track/path_course.h"

namespace qiv {

/// A trip that a vehicle may be on, and how well it fits.
struct TripCandidate {
  const TripPlan* plan = nullptr;
  ServiceDate day;
  double fit = 0.0;  ///< log of how much better the trip explains the reports than none does
  Instant since{};   ///< first report that belongs to it

  TripKey key() const { return {plan->id, day, plan->start}; }
};

/// Finds the trips of a pattern that a course may belong to, by their timetables: a few look-ups
/// for each trip that could be under way, never a walk through all.
class TripCandidates {
 public:
  /// `network` must outlive it. Takes time in proportion to the number of trips.
  explicit TripCandidates(const Network& network);

  /// Appends the trips of `pattern` that run at `now`, and whose times a vehicle with this course
  /// could keep, with what path and timetable say of each. `report` narrows them to the direction,
  /// day and start time that it states.
  void find(PatternIndex pattern, const CoursePlace& place, const VehiclePosition& report,
            std::vector<TripCandidate>& found);

 private:
  /// The days of service that may be under way during one day of the calendar.
  struct Days {
    Instant begin{};
    Instant end{};
    std::array<std::pair<ServiceDate, Instant>, 3> zeros{};  ///< day and its zero
  };
  const Days& days_at(Instant now);

  const Network* _network;
  std::vector<Seconds> _longest;  ///< trip of each pattern, from departure to arrival
  Days _days;
};

/// How well a vehicle that is `late` fits a trip, as log density over that of one to which the
/// trip means nothing. Early is rare, late is common; at the first stop both are rarer.
double delay_fit(Seconds late, bool at_start);

/// The same for a vehicle that has been at the first stop, and is still there `ahead` of its
/// departure.
double waiting_fit(Seconds ahead);

}  // namespace qiv
