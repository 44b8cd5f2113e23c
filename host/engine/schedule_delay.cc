#include "engine/schedule_delay.h"

#include <algorithm>

namespace qiv {

double schedule_delay_s(const LiveTrip& trip, const Grid& grid) {
  const double offset_m = trip.reports.back().offset_m;
  const std::vector<double> scheduled_s = scheduled_times_s(*trip.schedule.plan);
  const std::vector<double>& places_m = grid.places_m;
  const auto upper = std::upper_bound(places_m.begin() + 1, places_m.end() - 1, offset_m);
  const auto i = static_cast<std::size_t>(upper - places_m.begin());
  const double share =
      std::clamp((offset_m - places_m[i - 1]) / (places_m[i] - places_m[i - 1]), 0.0, 1.0);
  const double planned_s = scheduled_s[i - 1] + share * (scheduled_s[i] - scheduled_s[i - 1]);
  const Seconds since_departure = trip.places.back().time - trip.schedule.first_departure();
  return static_cast<double>(since_departure.count()) - planned_s;
}

}  // namespace qiv
