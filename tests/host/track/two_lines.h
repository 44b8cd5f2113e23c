#pragma once

#include <string>
#include <vector>

#include "host/support/straight_line.h"

namespace qiv::testing {

/// Two lines that share a street and part at C, 1,000 m from stop to stop, 2 minutes each:
///
///                 G
///                 |                 line 1  A B C D E   "one-0800", "one-0830", "one-0900"
///                 F                         E D C B A   "back-0820" (block of "one-0800")
///                 |                 line 2  A B C F G   "two-0803"
///     A --- B --- C --- D --- E
///
/// All run every day of 2025.
inline Timetable two_lines_timetable() {
  Timetable timetable = straight_timetable();
  timetable.trips.clear();
  timetable.routes = {{RouteId("1"), "1", "", 3, ""}, {RouteId("2"), "2", "", 3, ""}};
  timetable.stops.push_back({StopId("F"), "", place_at(2000, 1000)});
  timetable.stops.push_back({StopId("G"), "", place_at(2000, 2000)});
  const auto add = [&](const char* id, std::uint32_t route, int direction, const char* departure,
                       const char* block, const std::vector<std::uint32_t>& stops) {
    Trip trip;
    trip.id = TripId(id);
    trip.route = route;
    trip.service = ServiceId("daily");
    trip.direction = direction;
    trip.block = BlockId(block);
    Seconds time = *parse_time_of_day(departure);
    for (const std::uint32_t stop : stops) {
      StopTime call;
      call.stop = stop;
      call.sequence = static_cast<std::uint32_t>(trip.stop_times.size()) + 1;
      call.arrival = call.departure = time;
      trip.stop_times.push_back(call);
      time += Seconds(120);
    }
    timetable.trips.push_back(trip);
  };
  add("one-0800", 0, 0, "08:00:00", "b", {0, 1, 2, 3, 4});
  add("one-0830", 0, 0, "08:30:00", "c", {0, 1, 2, 3, 4});
  add("one-0900", 0, 0, "09:00:00", "b", {0, 1, 2, 3, 4});
  add("back-0820", 0, 1, "08:20:00", "b", {4, 3, 2, 1, 0});
  add("two-0803", 1, 0, "08:03:00", "", {0, 1, 2, 5, 6});
  return timetable;
}

inline Network two_lines() {
  return build_network(two_lines_timetable());
}

/// A fix of a vehicle that names no trip.
inline VehiclePosition seen(const std::string& vehicle, const std::string& time, double east_m,
                            double north_m = 0.0) {
  VehiclePosition report = fix(vehicle, "", time, east_m, north_m);
  report.start_date.reset();
  return report;
}

}  // namespace qiv::testing
