#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "app/city.h"
#include "host/history/temporary_folder.h"
#include "model/time.h"
#include "model/vehicle_position.h"

namespace qiv::testing {

/// One departure of the small city's line.
struct Departure {
  std::string trip;
  Seconds time;  ///< of the service day; may be beyond 24:00
};

/// Writes the files of a timetable into `folder`: a line of five stops A to E, one kilometre apart
/// on a straight street, two minutes from stop to stop, on every day from `first` to `last`.
void write_line_timetable(const std::filesystem::path& folder, const std::string& zone,
                          const std::vector<Departure>& departures, ServiceDate first,
                          ServiceDate last);

/// The reports of a vehicle that runs the whole line, `leg_s` from stop to stop, from `start` on:
/// one each 250 m.
std::vector<VehiclePosition> line_reports(const std::string& vehicle, const std::string& trip,
                                          Instant start, int leg_s);

/// A city on disk with that line, in the clock of UTC, on every day of 2025: trips "h5" to "h22" at
/// each full hour.
class SmallCity {
 public:
  SmallCity();

  /// Puts the reports of a day into the archive; the line takes `leg_s` from stop to stop.
  void record_day(ServiceDate day, int leg_s) const;

  samples::TemporaryFolder folder;
  std::filesystem::path city = folder / "city";
};

}  // namespace qiv::testing
