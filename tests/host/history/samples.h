#pragma once

#include <sstream>
#include <stdexcept>
#include <string>

#include "model/journey_pattern.h"
#include "model/settings.h"
#include "model/trip_run.h"

namespace qiv::samples {

/// Midnight before the sample day, 7 October 2025, UTC.
inline constexpr Instant midnight{std::chrono::sys_days(std::chrono::year(2025) / 10 / 7)};
inline const ServiceDate sample_day{std::chrono::year(2025) / 10 / 7};

inline Instant at(const std::string& time_of_day) {
  return midnight + parse_time_of_day(time_of_day).value();
}

/// A pattern with a straight path and stops 0, 1, 2, ... at the offsets.
inline JourneyPattern pattern_with_stops(const std::string& ref,
                                         const std::vector<double>& offsets_m) {
  JourneyPattern pattern;
  pattern.ref = PatternRef(ref);
  pattern.route = RouteId("R");
  pattern.direction = 0;
  for (const double offset_m : offsets_m) {
    pattern.stops.push_back({static_cast<std::uint32_t>(pattern.stops.size()), offset_m});
  }
  pattern.path = {{{53.0, -6.0}, 0.0}, {{53.1, -6.0}, offsets_m.back()}};
  return pattern;
}

/// Reads a line "TIME WHAT OFFSET": "08:00:00 departs 0", "08:03:10 arrives 1000" or
/// "08:01:00 at 512.5". A vehicle departs `dwell_length_m` behind the offset. What is told is
/// received five seconds later.
inline Progress progress_of(const std::string& line) {
  std::istringstream words(line);
  std::string time;
  std::string what;
  Progress p;
  if (!(words >> time >> what >> p.offset_m)) throw std::invalid_argument(line);
  p.time = at(time);
  p.received = p.time + Seconds(5);
  p.error_m = 10.0;
  if (what == "arrives") p.evidence = Evidence::arrival;
  if (what == "departs") {
    p.evidence = Evidence::departure;
    p.offset_m += dwell_length_m;
  }
  return p;
}

/// A run of trip `trip` on the sample day, a progress in each line of `text`.
inline TripRun run_of(const std::string& vehicle, const std::string& trip,
                      const std::string& pattern, const std::string& text) {
  TripRun run{VehicleId(vehicle), {TripId(trip), sample_day, Seconds(0)}, PatternRef(pattern), {}};
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.find_first_not_of(' ') == std::string::npos) continue;
    Progress p = progress_of(line);
    p.vehicle = run.vehicle;
    p.trip = run.trip;
    run.progress.push_back(std::move(p));
  }
  return run;
}

}  // namespace qiv::samples

namespace qiv {

inline bool operator==(const Progress& a, const Progress& b) {
  return a.vehicle == b.vehicle && a.trip == b.trip && a.pattern == b.pattern && a.time == b.time &&
         a.received == b.received && a.offset_m == b.offset_m && a.error_m == b.error_m &&
         a.evidence == b.evidence;
}

inline bool operator==(const TripRun& a, const TripRun& b) {
  return a.vehicle == b.vehicle && a.trip == b.trip && a.pattern == b.pattern &&
         a.progress == b.progress;
}

inline std::ostream& operator<<(std::ostream& out, const Progress& p) {
  constexpr const char* names[] = {"at", "arrives", "departs"};
  return out << format_utc(p.time) << " " << names[static_cast<int>(p.evidence)] << " "
             << p.offset_m << " (received " << format_utc(p.received) << ")";
}

inline std::ostream& operator<<(std::ostream& out, const TripRun& run) {
  out << run.vehicle << " " << to_string(run.trip) << " " << run.pattern;
  for (const Progress& p : run.progress) out << "\n  " << p;
  return out;
}

}  // namespace qiv
