#include "engine/bounds.h"

#include <algorithm>
#include <cmath>

namespace qiv {
namespace {

Instant to_instant(double time_s) {
  return from_unix_seconds(std::llround(time_s));
}

}  // namespace

BoundedTime bound(const RawTime& raw, TripState state, Instant now,
                  const Calibration& calibration) {
  Instant until = Instant::max();
  return bound(raw, state, now, calibration, until);
}

BoundedTime bound(const RawTime& raw, TripState state, Instant now, const Calibration& calibration,
                  Instant& until) {
  const Instant time = to_instant(raw.time_s);
  const Seconds lead = std::max(time - now, Seconds(0));
  const BoundQuantiles& quantiles = calibration.at(state, lead);
  const double spread_s = std::sqrt(raw.variance_s2 + quantiles.floor_s * quantiles.floor_s);
  Instant earliest = time;
  const auto at = [&](double quantile) {
    const Instant end = to_instant(raw.time_s + quantile * spread_s);
    earliest = std::min(earliest, end);
    return std::max(end, now);
  };
  BoundedTime bounded;
  bounded.time = std::max(time, now);
  bounded.lower_68 = std::min(at(quantiles.q16), bounded.time);
  bounded.upper_68 = std::max(at(quantiles.q84), bounded.time);
  bounded.lower_90 = std::min(at(quantiles.q05), bounded.lower_68);
  bounded.upper_90 = std::max(at(quantiles.q95), bounded.upper_68);
  until = std::min(until, std::max(now, earliest));
  const std::size_t bucket = Calibration::lead_bucket(lead);
  if (bucket > 0) {
    until = std::min(until, time - std::chrono::minutes(Calibration::lead_ends_min[bucket - 1]));
  }
  return bounded;
}

void make_monotone(std::vector<StopForecast>& stops) {
  const BoundedTime* previous = nullptr;
  for (StopForecast& stop : stops) {
    if (stop.observed) continue;
    if (previous != nullptr) {
      for (Instant BoundedTime::*field :
           {&BoundedTime::time, &BoundedTime::lower_68, &BoundedTime::upper_68,
            &BoundedTime::lower_90, &BoundedTime::upper_90}) {
        stop.arrival.*field = std::max(stop.arrival.*field, previous->*field);
      }
    }
    stop.departure = std::max(stop.departure, stop.arrival.time);
    previous = &stop.arrival;
  }
}

}  // namespace qiv
