#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "model/vehicle_position.h"
#include "network/network.h"
#include "track/nearby_patterns.h"
#include "track/options.h"
#include "track/path_course.h"
#include "track/trip_candidates.h"

namespace qiv {

/// What the guesses of all vehicles share: the patterns by place, and the trips by pattern and
/// time.
class TripFinder {
 public:
  /// `network` and `options` must outlive it. Costs what `NearbyPatterns` and `TripCandidates` do.
  TripFinder(const Network& network, const TrackOptions& options);

  const Network& network() const { return _network; }
  const TrackOptions& options() const { return _options; }
  const NearbyPatterns& nearby() const { return _nearby; }
  TripCandidates& candidates() { return _candidates; }

 private:
  const Network& _network;
  const TrackOptions& _options;
  NearbyPatterns _nearby;
  TripCandidates _candidates;
};

/// The trip that one vehicle is on, found by its course: its reports name none.
///
/// Each trip that could be under way on a path near the vehicle is weighed against the others, and
/// against none of them: by the course along the path, the delay that it would have, and what the
/// vehicle did before. The weights become probabilities that sum to one; docs/tracking.md has the
/// rules and what they achieve. Deterministic, and of this vehicle's own reports alone.
class TripGuess {
 public:
  struct Assignment {
    ScheduledTrip trip;
    double confidence = 0.0;  ///< 0 to 1
  };

  /// Takes a report. The assignment afterwards: begun, confirmed, changed, or none any more.
  const std::optional<Assignment>& take(TripFinder& finder, const VehiclePosition& report);

  /// The vehicle has ended a trip, assigned or named. `finished`: at its last stop.
  void ended(const ScheduledTrip& trip, bool finished);

  const std::optional<Assignment>& assignment() const { return _assignment; }

  /// The last report took an assignment back, and another trip explains what was taken for it;
  /// otherwise the vehicle has left a trip that it was on.
  bool contradicted() const { return _contradicted; }

  /// The reports before the present one that belong to the assigned trip, oldest first: a selection
  /// of some dozens.
  std::vector<VehiclePosition> course() const;

 private:
  bool counts(const VehiclePosition& report) const;
  bool stands_at_start() const;
  void follow(TripFinder& finder, const VehiclePosition& report);
  void weigh(TripFinder& finder, const VehiclePosition& report);
  void find(TripFinder& finder, PatternIndex pattern, const CoursePlace& place,
            const VehiclePosition& report, std::vector<TripCandidate>& found) const;
  bool is_assigned(const TripCandidate& candidate) const;
  double continuity(const TripFinder& finder, const TripCandidate& candidate, bool stands) const;
  void decide(const TripFinder& finder, const std::vector<TripCandidate>& candidates, Instant now);
  void remember(const VehiclePosition& report);

  std::vector<PathCourse> _courses;         ///< ascending by pattern
  std::optional<VehiclePosition> _counted;  ///< the last report that was evidence
  std::vector<VehiclePosition> _trail;      ///< oldest first
  std::optional<Assignment> _assignment;
  Instant _since{};     ///< first report of the assigned trip
  Instant _assigned{};  ///< report with which it was assigned
  Instant _latest{};    ///< report
  bool _contradicted = false;
  std::optional<ScheduledTrip> _before;  ///< the trip that it ended last
  bool _before_finished = false;
};

}  // namespace qiv
