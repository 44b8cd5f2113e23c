#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "model/journey_pattern.h"
#include "model/lat_lon.h"
#include "network/network.h"

namespace qiv {

/// Finds the patterns whose paths come near a place: a grid of square cells, each of which lists
/// the patterns within reach of it. Built once, in time and memory proportional to the length of
/// all paths; a question costs one look into a hash table. Immutable.
class NearbyPatterns {
 public:
  /// Afterwards no path within `reach_m` of a place is missed. Precondition: `reach_m` > 0.
  NearbyPatterns(const Network& network, double reach_m);

  /// Every pattern whose path comes within the reach of `place`, and some that pass a little
  /// farther away; ascending. None for a place that is not finite.
  std::span<const PatternIndex> near(const LatLon& place) const;

 private:
  struct Cell {
    std::int32_t north = 0;
    std::int32_t east = 0;
  };
  static std::uint64_t key(const Cell& cell);
  Cell cell_of(const LatLon& place) const;
  void add(PatternIndex pattern, const LatLon& place);

  double _cell_north_deg = 1.0;
  double _cell_east_deg = 1.0;
  double _middle_lon_deg = 0.0;
  std::unordered_map<std::uint64_t, std::vector<PatternIndex>> _cells;
};

}  // namespace qiv
