#pragma once

#include <vector>

#include "model/settings.h"
#include "model/trip_forecast.h"

namespace qiv {

/// A forecast time before its bounds: the mean and the variance of what earlier trips did.
struct RawTime {
  double time_s = 0.0;  ///< Unix seconds
  double variance_s2 = 0.0;
};

/// The published interval around `raw`, by the quantiles that were calibrated for the state and the
/// predicted lead: time + q * sqrt(variance + floor^2). Never before `now`.
BoundedTime bound(const RawTime& raw, TripState state, Instant now, const Calibration& calibration);

/// The same, which lowers `until` to the last `now` that gives the same interval.
BoundedTime bound(const RawTime& raw, TripState state, Instant now, const Calibration& calibration,
                  Instant& until);

/// Makes every field of `arrival` never decrease along the forecast stops of a trip, and no
/// departure come before its arrival. Observed stops stay as they are.
void make_monotone(std::vector<StopForecast>& stops);

}  // namespace qiv
