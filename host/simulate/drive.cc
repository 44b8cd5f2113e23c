#include "simulate/drive.h"

#include <algorithm>

namespace qiv {
namespace {

constexpr double highest_speed_mps = 28.0;
constexpr double usual_dwell_s = 15.0;
constexpr double earliest_s = 60.0;

double seconds(Seconds time) {
  return static_cast<double>(time.count());
}

/// Share of a leg that is behind after `part` of its time: slower near the stops, never more than
/// 1.2 times the mean speed.
double eased(double part) {
  return 0.6 * part + 0.4 * part * part * (3.0 - 2.0 * part);
}

}  // namespace

double DrivenTimes::offset_m(const JourneyPattern& pattern, double time_s) const {
  const auto next = std::upper_bound(arrival_s.begin(), arrival_s.end(), time_s);
  if (next == arrival_s.begin()) return pattern.stops.front().offset_m;
  const auto i = static_cast<std::size_t>(next - arrival_s.begin()) - 1;
  const double from_m = pattern.stops[i].offset_m;
  if (next == arrival_s.end() || time_s <= departure_s[i]) return from_m;
  const double part = (time_s - departure_s[i]) / (*next - departure_s[i]);
  return from_m + eased(part) * (pattern.stops[i + 1].offset_m - from_m);
}

void Driver::drive(const TripPlan& trip, const JourneyPattern& pattern, Instant zero,
                   double departs_s, DrivenTimes& times) const {
  const std::size_t size = trip.size();
  times.arrival_s.assign(size, departs_s);
  times.departure_s.assign(size, departs_s);
  const double zero_s = static_cast<double>(unix_seconds(zero));
  const auto day = static_cast<std::uint64_t>(unix_seconds(zero));
  const double driver = 0.05 * _draw.normal(Chance::driver, {trip.index, day});
  for (std::size_t i = 0; i + 1 < size; ++i) {
    const Call from = trip.call(i);
    const Call to = trip.call(i + 1);
    const double leg_s = seconds(to.arrival - from.departure);
    // Where the timetable leaves no time at the stops, it is part of the running time.
    const double planned_s = seconds(to.departure - to.arrival);
    const double dwell_s = planned_s > 0.0 ? planned_s : std::min(usual_dwell_s, 0.2 * leg_s);
    const double running_s = planned_s > 0.0 ? leg_s : leg_s - dwell_s;
    const double factor = _traffic.factor(trip.pattern, times.departure_s[i]) + driver +
                          0.08 * _draw.normal(Chance::leg, {trip.index, day, i});
    const double length_m = pattern.stops[i + 1].offset_m - pattern.stops[i].offset_m;
    const double fastest_s = std::max(1.0, length_m / highest_speed_mps);
    times.arrival_s[i + 1] =
        times.departure_s[i] + std::max(fastest_s, running_s * std::max(0.6, factor));
    if (i + 2 == size) break;
    const double stay = 0.5 + _draw.share(Chance::dwell, {trip.index, day, i});
    times.departure_s[i + 1] = std::max(times.arrival_s[i + 1] + dwell_s * stay,
                                        zero_s + seconds(to.departure) - earliest_s);
  }
  times.departure_s.back() = times.arrival_s.back();
}

}  // namespace qiv
