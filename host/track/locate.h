#pragma once

#include <optional>
#include <vector>

#include "model/vehicle_position.h"
#include "network/network.h"
#include "track/events.h"
#include "track/options.h"

namespace qiv {

/// A place along a trip that a report may mean.
struct Sighting {
  double offset_m = 0.0;
  double error_m = 0.0;
  Evidence evidence = Evidence::fix;
  double cost = 0.0;         ///< how badly it fits; comparable within one report
  double deviation_s = 0.0;  ///< from the timetable, roughly, of a fix
};

/// What is known of the vehicle when its report is located.
struct Expectation {
  std::optional<Progress> last;  ///< of this trip
  Instant time{};                ///< of the report
};

/// The place that the feed itself states: stopped at a stop, or gone from the one before. A status
/// counts only where the vehicle's place, if it has one, agrees; on its way between two stops the
/// place says more than the status. Nothing otherwise.
std::optional<Sighting> stated_place(const Network& network, const ScheduledTrip& trip,
                                     const VehiclePosition& report, const Expectation& expected,
                                     const TrackOptions& options);

/// The places along the trip's path that the vehicle's position may mean, best first: by distance,
/// heading, what it has done so far, and the timetable. Empty off the route.
std::vector<Sighting> matched_places(const Network& network, const ScheduledTrip& trip,
                                     const VehiclePosition& report, const Expectation& expected,
                                     const TrackOptions& options);

}  // namespace qiv
