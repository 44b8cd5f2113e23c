#include "engine/trip_clock.h"

#include <algorithm>
#include <cmath>

namespace qiv {
namespace {

double interpolate(const std::vector<double>& at_m, const std::vector<double>& values,
                   double offset_m) {
  const auto upper = std::upper_bound(at_m.begin(), at_m.end(), offset_m);
  if (upper == at_m.begin()) return values.front();
  if (upper == at_m.end()) return values.back();
  const auto i = static_cast<std::size_t>(upper - at_m.begin());
  const double share = (offset_m - at_m[i - 1]) / (at_m[i] - at_m[i - 1]);
  return values[i - 1] + share * (values[i] - values[i - 1]);
}

}  // namespace

std::vector<double> scheduled_times_s(const TripPlan& trip) {
  std::vector<double> times_s;
  const Seconds zero = trip.departure();
  for (std::size_t j = 0; j < trip.size(); ++j) {
    const Call call = trip.call(j);
    if (j > 0) times_s.push_back(static_cast<double>((call.arrival - zero).count()));
    if (j + 1 < trip.size())
      times_s.push_back(static_cast<double>((call.departure - zero).count()));
  }
  return times_s;
}

std::vector<int> timetable_trajectory_s(const Grid& grid, const TripPlan& trip) {
  const std::vector<double> scheduled_s = scheduled_times_s(trip);
  std::vector<int> times_s;
  times_s.reserve(grid.milestones_m.size());
  for (const double milestone_m : grid.milestones_m) {
    times_s.push_back(
        static_cast<int>(std::lround(interpolate(grid.places_m, scheduled_s, milestone_m))));
  }
  return times_s;
}

TripClock::TripClock(const Grid& grid, const TripPlan& trip, const TripPlan& nominal)
    : _places_m(grid.places_m), _lags_s(scheduled_times_s(trip)) {
  const std::vector<double> nominal_s = scheduled_times_s(nominal);
  for (std::size_t i = 0; i < _lags_s.size(); ++i) _lags_s[i] -= nominal_s[i];
}

double TripClock::lag_s(double offset_m) const {
  return _lags_s.empty() ? 0.0 : interpolate(_places_m, _lags_s, offset_m);
}

void TripClock::subtract(const std::vector<double>& milestones_m, std::vector<int>& times_s) const {
  if (_lags_s.empty()) return;
  for (std::size_t i = 0; i < times_s.size(); ++i) {
    times_s[i] -= static_cast<int>(std::lround(lag_s(milestones_m[i])));
    if (i > 0) times_s[i] = std::max(times_s[i], times_s[i - 1]);
  }
}

}  // namespace qiv
