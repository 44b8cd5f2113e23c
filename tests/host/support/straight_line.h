#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/vehicle_position.h"
#include "network/build_network.h"
#include "track/events.h"

namespace qiv::testing {

/// A straight line of five stops, 1,000 m apart, along the equator at Greenwich, time zone UTC:
///
///     A ----- B ----- C ----- D ----- E      trip "out" departs 08:00, 2 minutes from stop to
///     stop,
///                                            "later" the same at 09:00; both run every day of 2025
///
/// Trips "loop1" and "loop2" run a lollipop without a shape: A B C B A.
inline constexpr double metres_per_degree_east = 111319.4908;
inline constexpr double stop_distance_m = 1000.0;

inline LatLon place_at(double east_m, double north_m = 0.0) {
  return {51.0e-9 + north_m / 110574.2727, 0.001 + east_m / metres_per_degree_east};
}

inline Timetable straight_timetable() {
  Timetable timetable;
  timetable.agencies.push_back({AgencyId("a"), "Agency", "UTC"});
  timetable.routes.push_back({RouteId("r"), "R", "", 3, ""});
  for (int i = 0; i < 5; ++i) {
    timetable.stops.push_back(
        {StopId(std::string(1, static_cast<char>('A' + i))), "", place_at(stop_distance_m * i)});
  }
  Service daily;
  daily.weekdays.fill(true);
  daily.first = ServiceDate::parse("20250101");
  daily.last = ServiceDate::parse("20251231");
  timetable.services[ServiceId("daily")] = daily;
  const auto add = [&](const char* id, int hour, const std::vector<std::uint32_t>& stops) {
    Trip trip;
    trip.id = TripId(id);
    trip.service = ServiceId("daily");
    trip.direction = 0;
    Seconds time = std::chrono::hours(hour);
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
  add("out", 8, {0, 1, 2, 3, 4});
  add("later", 9, {0, 1, 2, 3, 4});
  add("loop1", 10, {0, 1, 2, 1, 0});
  return timetable;
}

inline Network straight_network() {
  return build_network(straight_timetable());
}

inline const ServiceDate monday = *ServiceDate::parse("20250303");

/// "08:05:30" of `day`.
inline Instant at(const std::string& time, ServiceDate day = monday) {
  return Instant(day.days()) + *parse_time_of_day(time);
}

/// A fix of a vehicle on a trip, received when it was made.
inline VehiclePosition fix(const std::string& vehicle, const std::string& trip,
                           const std::string& time, double east_m, double north_m = 0.0,
                           ServiceDate day = monday) {
  VehiclePosition position;
  position.vehicle = VehicleId(vehicle);
  position.trip = TripId(trip);
  position.start_date = day;
  position.time = position.received = at(time, day);
  position.place = place_at(east_m, north_m);
  return position;
}

/// What a station-level feed says: stopped at, or in transit to, a stop of the line.
inline VehiclePosition stated(const std::string& vehicle, const std::string& trip,
                              const std::string& time, StopStatus status, std::uint32_t sequence,
                              double place_m, ServiceDate day = monday) {
  VehiclePosition position = fix(vehicle, trip, time, place_m, 0.0, day);
  position.status = status;
  position.stop_sequence = sequence;
  return position;
}

}  // namespace qiv::testing
