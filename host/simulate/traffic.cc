#include "simulate/traffic.h"

#include <cmath>

namespace qiv {

double Traffic::factor(PatternIndex pattern, double time_s) const {
  return 1.0 + _strength * (between_half_hours(Chance::city_traffic, 0, time_s) +
                            between_half_hours(Chance::pattern_traffic, pattern, time_s));
}

double Traffic::between_half_hours(Chance chance, std::uint64_t key, double time_s) const {
  const double half_hours = time_s / 1800.0;
  const double whole = std::floor(half_hours);
  const auto slot = static_cast<std::uint64_t>(static_cast<std::int64_t>(whole));
  const double part = half_hours - whole;
  return (1.0 - part) * _draw.swing(chance, {key, slot}) +
         part * _draw.swing(chance, {key, slot + 1});
}

}  // namespace qiv
