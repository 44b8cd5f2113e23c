#pragma once

#include "host/support/straight_line.h"

namespace qiv::testing {

/// The straight line with one more trip, "slow": as "out", but its last two legs take 3 minutes
/// each.
inline Network network_with_slow_trip() {
  Timetable timetable = straight_timetable();
  Trip slow = timetable.trips.front();
  slow.id = TripId("slow");
  for (const auto& [stop, later] : {std::pair(3, Seconds(60)), std::pair(4, Seconds(120))}) {
    StopTime& call = slow.stop_times[static_cast<std::size_t>(stop)];
    call.arrival = call.departure = *call.arrival + later;
  }
  timetable.trips.push_back(slow);
  return build_network(timetable);
}

}  // namespace qiv::testing
