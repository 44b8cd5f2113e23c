#include "host/app/small_city.h"

#include <fstream>

namespace qiv::testing {
namespace {

constexpr int stops = 5;
constexpr double metres_per_degree = 111'195.0;
constexpr double latitude = 53.35;
/// Of a kilometre at that latitude.
constexpr double degrees_between_stops = 1000.0 / (metres_per_degree * 0.596922);

std::string clock_text(Seconds time) {
  char text[32];
  const long long s = time.count();
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", s / 3600, s / 60 % 60, s % 60);
  return text;
}

std::string basic(ServiceDate day) {
  std::string text = day.to_iso_string();
  std::erase(text, '-');
  return text;
}

double longitude_at(double stop) {
  return -6.25 + stop * degrees_between_stops;
}

}  // namespace

void write_line_timetable(const std::filesystem::path& folder, const std::string& zone,
                          const std::vector<Departure>& departures, ServiceDate first,
                          ServiceDate last) {
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "agency.txt") << "agency_id,agency_name,agency_url,agency_timezone\n"
                                          "a,Line,https://line.example,"
                                       << zone << "\n";
  std::ofstream(folder / "routes.txt")
      << "route_id,agency_id,route_short_name,route_long_name,route_type\nr,a,1,Line,3\n";
  std::ofstream(folder / "calendar.txt")
      << "service_id,monday,tuesday,wednesday,thursday,friday,saturday,sunday,start_date,end_date\n"
         "d,1,1,1,1,1,1,1,"
      << basic(first) << "," << basic(last) << "\n";
  std::ofstream stops_file(folder / "stops.txt");
  stops_file << "stop_id,stop_name,stop_lat,stop_lon\n";
  stops_file.precision(9);
  for (int i = 0; i < stops; ++i) {
    const char name = static_cast<char>('A' + i);
    stops_file << name << ",Stop " << name << "," << latitude << "," << longitude_at(i) << "\n";
  }
  std::ofstream trips(folder / "trips.txt");
  std::ofstream times(folder / "stop_times.txt");
  trips << "route_id,service_id,trip_id,direction_id\n";
  times << "trip_id,arrival_time,departure_time,stop_id,stop_sequence\n";
  for (const Departure& departure : departures) {
    trips << "r,d," << departure.trip << ",0\n";
    for (int i = 0; i < stops; ++i) {
      const std::string time = clock_text(departure.time + Seconds(120 * i));
      times << departure.trip << "," << time << "," << time << "," << static_cast<char>('A' + i)
            << "," << i + 1 << "\n";
    }
  }
}

std::vector<VehiclePosition> line_reports(const std::string& vehicle, const std::string& trip,
                                          Instant start, int leg_s) {
  std::vector<VehiclePosition> reports;
  for (int quarter = 0; quarter <= 4 * (stops - 1); ++quarter) {
    VehiclePosition report;
    report.vehicle = VehicleId(vehicle);
    report.trip = TripId(trip);
    report.time = report.received = start + Seconds(leg_s * quarter / 4);
    report.place = LatLon{latitude, longitude_at(quarter / 4.0)};
    reports.push_back(report);
  }
  return reports;
}

SmallCity::SmallCity() {
  std::vector<Departure> departures;
  for (int hour = 5; hour <= 22; ++hour) {
    departures.push_back({"h" + std::to_string(hour), std::chrono::hours(hour)});
  }
  write_line_timetable(folder / "gtfs", "UTC", departures, *ServiceDate::parse("20250101"),
                       *ServiceDate::parse("20251231"));
  City::create(city, folder / "gtfs");
}

void SmallCity::record_day(ServiceDate day, int leg_s) const {
  Archive archive(city / "archive.sqlite");
  for (int hour = 5; hour <= 22; ++hour) {
    archive.record(line_reports("v", "h" + std::to_string(hour),
                                Instant(day.days()) + std::chrono::hours(hour), leg_s + hour % 3));
  }
}

}  // namespace qiv::testing
