#include "network/shape_version.h"

#include <cmath>
#include <cstdint>

#include "network/pattern_ref.h"

namespace qiv {
namespace {

std::int64_t millimetres(double metres) {
  return std::llround(metres * 1000.0);
}

}  // namespace

long long shape_version_id(const JourneyPattern& pattern, const std::vector<double>& milestones_m) {
  StableHash hash;
  hash.add(pattern.ref.text());
  hash.add(static_cast<std::int64_t>(pattern.stops.size()));
  for (const PatternStop& stop : pattern.stops) hash.add(millimetres(stop.offset_m));
  for (const double milestone_m : milestones_m) hash.add(millimetres(milestone_m));
  return static_cast<long long>(hash.value() >> 1);
}

}  // namespace qiv
