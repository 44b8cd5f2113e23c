#include "network/milestones.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "network/pattern_ref.h"

namespace qiv {
namespace {

constexpr double min_spacing_m = 1.0;

std::int64_t millimetres(double metres) {
  return std::llround(metres * 1000.0);
}

std::vector<double> fixed_milestones(const JourneyPattern& pattern) {
  const double length_m = pattern.length_m();
  if (!(length_m > 0.0) || !std::isfinite(length_m)) {
    throw std::invalid_argument("pattern " + pattern.ref.text() + " has a path without length");
  }
  std::vector<double> offsets{0.0, length_m};
  for (const PatternStop& stop : pattern.stops) {
    if (!(stop.offset_m >= 0.0 && stop.offset_m <= length_m)) {
      throw std::invalid_argument("pattern " + pattern.ref.text() + " has a stop at " +
                                  std::to_string(stop.offset_m) + " m, off its path of " +
                                  std::to_string(length_m) + " m");
    }
    offsets.push_back(stop.offset_m);
  }
  std::sort(offsets.begin(), offsets.end());
  offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
  return offsets;
}

}  // namespace

std::vector<double> milestones(const JourneyPattern& pattern, double spacing_m) {
  if (!(spacing_m >= min_spacing_m) || !std::isfinite(spacing_m)) {
    throw std::invalid_argument("a milestone spacing of " + std::to_string(spacing_m) +
                                " m is not usable: give 1 m or more");
  }
  std::vector<double> grid;
  for (const double offset : fixed_milestones(pattern)) {
    if (!grid.empty()) {
      const double from = grid.back();
      const double gap = offset - from;
      const auto parts = static_cast<long long>(std::ceil(gap / spacing_m));
      for (long long part = 1; part < parts; ++part) {
        grid.push_back(from + gap * static_cast<double>(part) / static_cast<double>(parts));
      }
    }
    grid.push_back(offset);
  }
  return grid;
}

long long shape_version_id(const JourneyPattern& pattern, const std::vector<double>& milestones) {
  StableHash hash;
  hash.add(pattern.ref.text());
  hash.add(static_cast<std::int64_t>(pattern.stops.size()));
  for (const PatternStop& stop : pattern.stops) hash.add(millimetres(stop.offset_m));
  for (const double offset : milestones) hash.add(millimetres(offset));
  return static_cast<long long>(hash.value() >> 1);
}

}  // namespace qiv
