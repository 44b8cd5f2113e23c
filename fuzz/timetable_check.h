#pragma once

#include "check.h"
#include "feed/gtfs.h"

namespace fuzz {

inline void check_trip(const qiv::Timetable& timetable, const qiv::Trip& trip) {
  check(trip.route < timetable.routes.size(), "the route exists");
  check(timetable.services.contains(trip.service), "the service exists");
  check(trip.shape.empty() || timetable.shapes.contains(trip.shape), "the shape exists");
  check(trip.stop_times.size() >= 2, "a trip has two stops");
  qiv::Seconds latest{0};
  for (std::size_t i = 0; i < trip.stop_times.size(); ++i) {
    const qiv::StopTime& call = trip.stop_times[i];
    check(call.stop < timetable.stops.size(), "the stop exists");
    check(i == 0 || call.sequence > trip.stop_times[i - 1].sequence, "sequences rise");
    check(call.arrival.has_value() == call.departure.has_value(), "both times or none");
    if (!call.arrival) continue;
    check(*call.arrival >= latest && *call.departure >= *call.arrival, "times do not fall");
    latest = *call.departure;
  }
}

/// What must hold for a feed of so many bytes.
inline void check_timetable(const qiv::GtfsResult& result, std::size_t bytes) {
  const qiv::Timetable& timetable = result.timetable;
  std::size_t stop_times = 0;
  for (const qiv::Trip& trip : timetable.trips) {
    check_trip(timetable, trip);
    stop_times += trip.stop_times.size();
  }
  std::size_t points = 0;
  for (const auto& [id, shape] : timetable.shapes) {
    check(shape.size() >= 2, "a shape has two points");
    points += shape.size();
    for (const qiv::ShapePoint& point : shape) check(is_plausible(point.place), "place of a shape");
  }
  std::size_t dates = 0;
  for (const auto& [id, service] : timetable.services)
    dates += service.added.size() + service.removed.size();
  for (const qiv::Stop& stop : timetable.stops) check(is_plausible(stop.place), "place of a stop");
  for (const qiv::Frequency& frequency : timetable.frequencies) {
    check(frequency.trip < timetable.trips.size(), "the trip of a frequency exists");
    check(frequency.first < frequency.end && frequency.headway > qiv::Seconds(0),
          "a frequency ends");
  }

  std::uint64_t rows = 0;
  std::uint64_t used = 0;
  for (const auto& [file, count] : result.tables) {
    rows += count.rows;
    used += count.used;
  }
  check(rows == used + result.rejections.total(), "a row is used or rejected");
  check(rows <= bytes, "there are no more rows than bytes");
  const auto used_of = [&](const char* file) {
    const auto found = result.tables.find(file);
    return found == result.tables.end() ? 0 : found->second.used;
  };
  check(used_of("stops.txt") == timetable.stops.size(), "used stops");
  check(used_of("routes.txt") == timetable.routes.size(), "used routes");
  check(used_of("trips.txt") == timetable.trips.size(), "used trips");
  check(used_of("stop_times.txt") == stop_times, "used stop times");
  check(used_of("shapes.txt") == points, "used shape points");
  check(used_of("calendar_dates.txt") == dates, "used dates");
  check(used_of("frequencies.txt") == timetable.frequencies.size(), "used frequencies");
}

}  // namespace fuzz
