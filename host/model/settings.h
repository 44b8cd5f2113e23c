#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <vector>

#include "model/journey_pattern.h"
#include "model/time.h"
#include "model/trip_forecast.h"

namespace qiv {

/// How the trips of one pattern are forecast. Learned for each pattern by cross-validation.
struct PatternSettings {
  /// Kernel bandwidth: the larger, the more alike the earlier trips count. Below 30 a vehicle's
  /// many reports leave one or two trips with all the weight.
  double bandwidth = 100.0;

  /// The latest trips kept for each category.
  unsigned int window = 100;

  /// How fine categories are: 0 all trips of the pattern, 1 by half hour of scheduled departure,
  /// 2 by half hour and class of day.
  int category_depth = 1;

  /// A category with fewer trips is passed over for its parent.
  unsigned int least_trips = 5;

  /// Largest distance between two milestones.
  double milestone_spacing_m = 250.0;

  /// Compare and average delays against each trip's own timetable instead of elapsed times.
  bool delay_clock = false;

  friend bool operator==(const PatternSettings&, const PatternSettings&) = default;
};

/// Where a bound lies: forecast + quantile * sqrt(sd^2 + floor^2), for one state and one bucket of
/// predicted lead. The larger the floor, the less the spread of the earlier trips counts.
struct BoundQuantiles {
  double floor_s = 20.0;
  double q05 = -1.64;
  double q16 = -1.0;
  double q84 = 1.0;
  double q95 = 1.64;
  std::size_t samples = 0;  ///< errors that it was learned from
};

/// Calibrated bounds by state and predicted lead.
struct Calibration {
  /// Upper ends of the buckets of predicted lead, in minutes; the last is open.
  static constexpr std::array<int, 7> lead_ends_min = {3, 6, 10, 15, 30, 60, 1 << 20};
  static constexpr std::size_t leads = lead_ends_min.size();
  static constexpr std::size_t states = 4;  ///< not_begun, waiting, under_way, overdue

  static std::size_t lead_bucket(Seconds lead) {
    std::size_t bucket = 0;
    while (lead >= std::chrono::minutes(lead_ends_min[bucket]) && bucket + 1 < leads) ++bucket;
    return bucket;
  }

  std::array<std::array<BoundQuantiles, leads>, states> quantiles{};

  const BoundQuantiles& at(TripState state, Seconds lead) const {
    const auto row = static_cast<std::size_t>(state);
    return quantiles[row < states ? row : states - 1][lead_bucket(lead)];
  }
};

/// All that `learn` decides.
struct LearnedSettings {
  PatternSettings fallback;  ///< for patterns that learning has not seen
  std::map<PatternRef, PatternSettings> patterns;
  Calibration calibration;
  Seconds turnaround{180};  ///< from the arrival of a vehicle's trip to the departure of its next

  const PatternSettings& of(const PatternRef& pattern) const {
    const auto entry = patterns.find(pattern);
    return entry == patterns.end() ? fallback : entry->second;
  }
};

/// A stop is two places: a vehicle arrives at its offset and departs this far behind it, so that
/// the time spent there has a milestone on each side.
inline constexpr double dwell_length_m = 2.0;

}  // namespace qiv
