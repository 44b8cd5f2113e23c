#pragma once

#include "model/journey_pattern.h"
#include "simulate/draw.h"

namespace qiv {

/// How slow traffic is: a factor on running times that varies slowly with time, for the whole city
/// and for each pattern on its own.
class Traffic {
 public:
  /// `strength` as in `FleetOptions::traffic`.
  Traffic(Draw draw, double strength) : _draw(draw), _strength(strength) {}

  /// Between 1 - 2 * strength and 1 + 2 * strength; 1 in the mean. `time_s`: seconds since 1970.
  double factor(PatternIndex pattern, double time_s) const;

 private:
  double between_half_hours(Chance chance, std::uint64_t key, double time_s) const;

  Draw _draw;
  double _strength;
};

}  // namespace qiv
