#include "track/nearby_patterns.h"

#include <algorithm>
#include <cmath>

#include "geo/distance.h"

namespace qiv {
namespace {

/// Small beside a cell: what lies between two marks of a path is within half of it of one of them.
constexpr double mark_spacing_m = 100.0;
/// The accuracy of distances in degrees, and the bend of a long segment.
constexpr double slack_m = 25.0;
/// Poleward of this a degree of longitude is no measure of anything.
constexpr double highest_lat_deg = 85.0;

}  // namespace

NearbyPatterns::NearbyPatterns(const Network& network, double reach_m) {
  const double cell_m = reach_m + 0.5 * mark_spacing_m + slack_m;
  double highest_deg = 0.0;
  for (const JourneyPattern& pattern : network.patterns()) {
    for (const PathPoint& point : pattern.path) {
      highest_deg = std::max(highest_deg, std::abs(point.place.lat_deg));
    }
  }
  // A degree of longitude is shortest where the latitude is highest: cells are no smaller anywhere.
  _cell_north_deg = cell_m / metres_per_degree(0.0).north;
  _cell_east_deg = cell_m / metres_per_degree(std::min(highest_deg, highest_lat_deg)).east;
  if (!network.patterns().empty()) {
    _middle_lon_deg = network.patterns().front().path.front().place.lon_deg;
  }
  for (PatternIndex i = 0; i < network.patterns().size(); ++i) {
    const Polyline& line = network.polyline(i);
    const double length_m = line.last_offset_m() - line.first_offset_m();
    const auto steps = static_cast<std::size_t>(std::ceil(length_m / mark_spacing_m)) + 1;
    for (std::size_t step = 0; step <= steps; ++step) {
      const double share = static_cast<double>(step) / static_cast<double>(steps);
      add(i, line.point_at(line.first_offset_m() + share * length_m));
    }
    for (const PathPoint& point : network.pattern(i).path) add(i, point.place);
  }
}

void NearbyPatterns::add(PatternIndex pattern, const LatLon& place) {
  const Cell middle = cell_of(place);
  for (std::int32_t north = middle.north - 1; north <= middle.north + 1; ++north) {
    for (std::int32_t east = middle.east - 1; east <= middle.east + 1; ++east) {
      std::vector<PatternIndex>& listed = _cells[key({north, east})];
      if (listed.empty() || listed.back() != pattern) listed.push_back(pattern);
    }
  }
}

std::span<const PatternIndex> NearbyPatterns::near(const LatLon& place) const {
  if (!std::isfinite(place.lat_deg) || !std::isfinite(place.lon_deg)) return {};
  const auto entry = _cells.find(key(cell_of(place)));
  if (entry == _cells.end()) return {};
  return entry->second;
}

NearbyPatterns::Cell NearbyPatterns::cell_of(const LatLon& place) const {
  const double east_deg = wrap_180(place.lon_deg - _middle_lon_deg);
  return {static_cast<std::int32_t>(std::floor(place.lat_deg / _cell_north_deg)),
          static_cast<std::int32_t>(std::floor(east_deg / _cell_east_deg))};
}

std::uint64_t NearbyPatterns::key(const Cell& cell) {
  return (std::uint64_t{static_cast<std::uint32_t>(cell.north)} << 32U) |
         static_cast<std::uint32_t>(cell.east);
}

}  // namespace qiv
