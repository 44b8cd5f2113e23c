#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "model/journey_pattern.h"
#include "model/trip_run.h"

namespace qiv {

/// An earlier trip as history takes it: when it passed each milestone.
struct Trajectory {
  TripKey trip;
  VehicleId vehicle;
  Instant departed{};        ///< when it left the first stop
  Instant finished{};        ///< when it was known to be complete, by the time of receipt
  std::vector<int> times_s;  ///< for each milestone, seconds after `departed`; never decreasing
  /// When its own timetable let it leave, seconds of the service day. Not stated: ask the present
  /// timetable.
  std::optional<Seconds> scheduled_departure = std::nullopt;
  /// For each milestone, when its own timetable had it there, seconds after `scheduled_departure`.
  /// Empty: ask the present timetable.
  std::vector<int> scheduled_s = {};
  /// It ran on another pattern that is a close relative.
  bool lent = false;
};

struct TrajectoryRules {
  /// A report within this distance of the first stop, or within half the way to the second if that
  /// is less, is one at the first stop.
  double start_radius_m = 50.0;
  /// A run must begin within this distance of the first stop and end within it of the last ...
  double end_tolerance_m = 150.0;
  /// ... or, where its fixes come far apart, within their usual distance (the median from report to
  /// report), but no more than this share of the path.
  double widest_end_share = 0.2;
  /// No two reports may be further apart than this in time while the vehicle moves on ...
  Seconds longest_gap{1200};
  /// ... nor leave more than this share of the path unobserved between them, unless they lie at
  /// neighbouring stops.
  double widest_gap_share = 0.5;
  /// Faster than this between two reports, `end_tolerance_m` granted for their errors, is not a
  /// trip.
  double highest_speed_mps = 60.0;
  /// Beyond the first and the last report the speed of the nearest leg is kept, but no less than
  /// this.
  double slowest_mps = 2.0;
  /// Where the last word from the first stop is an arrival, the next report must follow this soon.
  Seconds longest_unseen_departure{180};
  /// Longer than this is not a trip.
  Seconds longest_trip{24 * 3600};
};

/// The trajectory of a run, or the reason that there is none: "too few reports", "goes back",
/// "begins late", "departure unseen", "ends early", "gap too long", "gap too wide", "too fast",
/// "lasts too long".
///
/// The trip starts when it leaves: with evidence of departure from the first stop, else with the
/// last report at it, else extrapolated back to it by at most `end_tolerance_m`. A milestone is
/// passed when the vehicle first reaches it; between reports the time is linear in the distance,
/// and behind the last report the last leg's speed is kept. `finished` is when the report that
/// reaches the last milestone was received, or else the last one. Precondition: `milestones_m`
/// never decreases.
std::variant<Trajectory, std::string_view> make_trajectory(const TripRun& run,
                                                           const JourneyPattern& pattern,
                                                           std::span<const double> milestones_m,
                                                           const TrajectoryRules& rules = {});

/// When the run first reached each of `offsets_m`, in Unix seconds, by linear interpolation between
/// the reports that bracket it; nothing for offsets before the first report and behind the last.
/// Precondition: neither the offsets nor the run's reports go back.
std::vector<std::optional<double>> passing_times_s(const TripRun& run,
                                                   std::span<const double> offsets_m);

}  // namespace qiv
