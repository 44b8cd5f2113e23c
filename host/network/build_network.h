#pragma once

#include <cstddef>
#include <string>

#include "model/timetable.h"
#include "network/network.h"

namespace qiv {

struct NetworkOptions {
  /// A stop farther than this from its trip's shape is not on it: the path then leaves the shape,
  /// passes through the stop and comes back.
  double max_stop_distance_m = 200.0;

  /// IANA name; empty: the zone of the timetable's first agency.
  std::string time_zone;

  /// Repetitions of frequency-based trips in the whole network; further ones are not used.
  std::size_t max_repetitions = 200'000;
};

/// Makes the network of a timetable.
///
/// One pattern for each (route, direction, ordered stops, path) that a trip uses. Stops lie where
/// `match_stops` puts them on the shape; a trip without a shape gets a path straight through its
/// stops. Times that the feed leaves out are interpolated by distance; times that go back are left
/// out, as few as possible. What is not used is counted in `Network::rejections`.
///
/// Throws `std::runtime_error` with the remedy when the time zone is missing or not known.
Network build_network(const Timetable& timetable, const NetworkOptions& options = {});

}  // namespace qiv
