#pragma once

#include <map>
#include <optional>
#include <span>
#include <vector>

#include "model/trip_run.h"
#include "model/vehicle_position.h"
#include "network/network.h"

namespace qiv {

/// When a vehicle arrived at a stop, as far as the recording tells.
struct ObservedArrival {
  Instant time{};
  Seconds gap{0};       ///< length of the interval in which the arrival is known to lie
  bool stated = false;  ///< the feed says so; otherwise interpolated between the reports around it
};

/// What happened on one trip.
struct TripTruth {
  VehicleId vehicle;
  Instant first_report{};
  Instant last_report{};  ///< on the trip, until it reached the last stop
  std::vector<std::optional<ObservedArrival>> arrivals;  ///< for each stop of the pattern
};

/// What happened on all trips that the positions name.
using Truth = std::map<TripKey, TripTruth>;

struct TruthOptions {
  /// A fix farther from the path than this says nothing.
  double widest_distance_m = 200.0;
  /// A vehicle has arrived at the last stop when it is so near to the end of its path.
  double end_zone_m = 60.0;
  /// An arrival in a longer interval than this is not known.
  Seconds longest_gap{420};
};

/// The trip and day that a position is of, by the names that it states and its time; nothing when
/// it names none or the timetable has no such trip.
std::optional<TripKey> stated_trip(const Network& network, const VehiclePosition& position);

/// Reads the truth out of a day's positions, with both sides of every stop at hand: independent of
/// what the tracker made of them and when. Arrivals that the feed states win; the others are
/// interpolated between the reports before and behind the stop. Each vehicle's fixes are matched to
/// the path together (Viterbi 1967), so that noise and loops are settled by what comes later too.
/// The first stop has no arrival. When several vehicles report on a trip, the one with most
/// arrivals counts.
Truth observe(const Network& network, std::span<const VehiclePosition> positions,
              const TruthOptions& options = {});

}  // namespace qiv
