#pragma once

#include <optional>

#include "geo/polyline.h"
#include "model/trip_run.h"
#include "model/vehicle_position.h"
#include "track/options.h"

namespace qiv {

/// Tells a vehicle that has left its path and goes on beside it from one that has gone elsewhere:
/// its reports lie within `detour_distance_m` of the path, and the nearest points of the path move
/// on, by `detour_progress_m` since it left, and again within every `off_route_patience`.
class Detour {
 public:
  /// Takes a report from off the path. `last`: the vehicle's last place on it.
  void take(const VehiclePosition& report, const Progress& last, const Polyline& path,
            const TrackOptions& options);

  /// The vehicle goes on beside its path, as of its last report.
  bool beside() const { return _beside; }

 private:
  std::optional<double> _left_m;  ///< beside this offset it was first seen
  double _furthest_m = 0.0;
  Instant _moved{};  ///< when it came to be beside `_furthest_m`
  bool _beside = false;
};

}  // namespace qiv
