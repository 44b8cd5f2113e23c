#pragma once

#include <cstddef>
#include <cstdint>

#include "model/time.h"

namespace qiv {

/// What a simulated fleet is like. Shares are from 0 to 1.
struct FleetOptions {
  std::uint64_t seed = 1;
  /// So many vehicles at most, on each day of service; 0: as many as the timetable needs.
  std::size_t vehicles = 0;
  /// A vehicle reports so often.
  Seconds every{10};

  /// How far slow traffic stretches the running times, both ways: 0.2 is from 20 % less to 20 %
  /// more, by the city's half hours and again by each pattern's.
  double traffic = 0.12;
  /// Standard deviation of a position, north and east.
  double noise_m = 6.0;
  /// Of the two-minute stretches of a vehicle so many pass without a report.
  double gap_share = 0.02;
  /// Of the reports so many come up to `latest` late, after newer ones.
  double late_share = 0.01;
  Seconds latest{60};
  /// Of the reports so many are in the message twice.
  double doubled_share = 0.005;
  /// Of the trips so many leave their path for two legs.
  double detour_share = 0.01;
  double detour_m = 250.0;
  /// Of the vehicles so many never name their trip.
  double without_trip_share = 0.02;
};

}  // namespace qiv
