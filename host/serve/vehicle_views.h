#pragma once

#include <functional>
#include <vector>

#include "serve/snapshot.h"
#include "track/tracker.h"

namespace qiv {

/// The last report of a vehicle; null when it is not known.
using SeenReport = std::function<const VehiclePosition*(const VehicleId& vehicle)>;

/// What is shown of the vehicles: what the tracker made of each, with its last report, and with how
/// late it is by the forecast of its trip among `shown`. In the order of `said`.
std::vector<VehicleView> vehicle_views(const std::vector<Tracker::VehicleReport>& said,
                                       const SeenReport& seen,
                                       const std::vector<TripForecast>& shown,
                                       const Network& network);

/// True for the same report received again.
bool is_same_report(const VehiclePosition& before, const VehiclePosition& now);

}  // namespace qiv
