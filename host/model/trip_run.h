#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/identifier.h"
#include "model/journey_pattern.h"
#include "model/time.h"

namespace qiv {

/// A trip on one day of service. `start` tells the repetitions of a frequency-based trip apart; it
/// is 0 for all others.
struct TripKey {
  TripId trip;
  ServiceDate day;
  Seconds start{0};

  friend bool operator==(const TripKey&, const TripKey&) = default;
  friend auto operator<=>(const TripKey&, const TripKey&) = default;
};

/// "trip@YYYYMMDD", with "#HH:MM:SS" for a repetition.
std::string to_string(const TripKey& key);

/// What kind of evidence a place along the pattern is.
enum class Evidence : std::uint8_t {
  fix,        ///< a position, matched to the path
  arrival,    ///< the feed says: stopped at this stop
  departure,  ///< the feed says: has left this stop
};

/// Where a vehicle was on its trip: the only thing that forecasts are made from.
struct Progress {
  VehicleId vehicle;
  TripKey trip;
  PatternIndex pattern = 0;
  Instant time{};      ///< when the vehicle was there
  Instant received{};  ///< when we were told
  double offset_m = 0.0;
  double error_m = 0.0;  ///< how far off `offset_m` may be
  Evidence evidence = Evidence::fix;
};

/// A followed trip: one vehicle on one trip, from first to last progress, in order of time and
/// never going back.
struct TripRun {
  VehicleId vehicle;
  TripKey trip;
  PatternRef pattern;
  std::vector<Progress> progress;
};

}  // namespace qiv
