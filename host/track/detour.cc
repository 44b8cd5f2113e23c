#include "track/detour.h"

#include <algorithm>

namespace qiv {
namespace {

/// A nearest point that moved less has not moved.
constexpr double noise_m = 20.0;
/// A jump is at least so long, whatever the clock says.
constexpr double least_jump_m = 300.0;

}  // namespace

void Detour::take(const VehiclePosition& report, const Progress& last, const Polyline& path,
                  const TrackOptions& options) {
  _beside = false;
  if (!report.place) return;
  const auto elapsed_s = static_cast<double>(std::max(Seconds(0), report.time - last.time).count());
  const double reach_m = least_jump_m + options.highest_speed_mps * elapsed_s;
  const LineMatch nearest = path.project(*report.place, last.offset_m, last.offset_m + reach_m);
  if (!(nearest.distance_m <= options.detour_distance_m)) return;
  if (!_left_m || nearest.offset_m > _furthest_m + noise_m) {
    if (!_left_m) _left_m = nearest.offset_m;
    _furthest_m = nearest.offset_m;
    _moved = report.time;
  }
  _beside = _furthest_m - *_left_m >= options.detour_progress_m &&
            report.time - _moved <= options.off_route_patience;
}

}  // namespace qiv
