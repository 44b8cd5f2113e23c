#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "history/category.h"
#include "history/grid.h"
#include "model/identifier.h"
#include "model/rejections.h"
#include "model/settings.h"

class Forecast;
class VehicleJourneyRef;

namespace qiv {

/// What is forecast: the arrival at every place, or the travel time of every leg between two stops.
enum class ForecastMode { arrival, travel };

/// A row of the library's answer, copied. Times are seconds on the clock of the reports.
struct LibraryRow {
  long long time_s = 0;
  long long lower_s = 0;
  long long upper_s = 0;
  double variance_s2 = 0.0;
  double mean_s = 0.0;
};

/// The library's answer to a report, copied. In arrival mode row i belongs to place i of the grid,
/// in travel mode to the leg from stop i to stop i + 1.
struct LibraryForecast {
  std::size_t first = 0;  ///< rows before it hold what was observed
  double confidence = 0.0;
  std::vector<LibraryRow> rows;
};

/// Copies the library's record, which its next report overwrites, into `answer`, whose memory is
/// used again.
void copy_record(Forecast& record, std::optional<LibraryForecast>& answer);

/// A report of a vehicle, as the library is told.
struct LibraryReport {
  double offset_m = 0.0;
  long long time_s = 0;
  double error_m = 0.0;
};

/// A journey pattern as the library is told of it.
struct LibraryPattern {
  PatternRef ref;
  long long shape_version_id = 0;
  Grid grid;
  std::vector<double> stop_places_m;  ///< travel mode: one place for each stop
  double bandwidth = 100.0;
};

/// A trip of a vehicle, which is a vehicle of its own to the library.
struct LibraryVehicle {
  LibraryVehicle() = default;
  /// No other trip has `key`; at most 15 characters of it cost the library no memory. `trip` and
  /// `name`, of trip and vehicle, are for people: the one in the library's log, the other in ours.
  LibraryVehicle(std::string key, const std::string& trip, std::string name);

  std::string key;
  std::string name;
  std::shared_ptr<const VehicleJourneyRef> journey;
};

/// What an open pattern is called when the library is told of it.
struct OpenPattern {
  std::string ref;
  long long shape_version_id = 0;
};

/// The forecasting library, handled with care: configuration is checked before the library sees it,
/// reference data go in as milestones, stops, trajectories, answers are copied at once, and what
/// the library rejects is counted with its text instead of ending the run.
///
/// Every trip of every vehicle is a vehicle of its own to the library, so that its start time is
/// estimated anew for each trip.
class ForecastLibrary {
 public:
  /// Throws `std::invalid_argument` for nothing; configuration comes with the patterns.
  explicit ForecastLibrary(ForecastMode mode);
  ~ForecastLibrary();

  /// Makes the pattern known. Throws `std::invalid_argument`, naming the pattern and the value, for
  /// a bandwidth that is not greater than 0 and for a grid that the library would reject.
  OpenPattern open(const LibraryPattern& pattern);

  /// Adds an earlier trip under `category`. Returns false, and counts why, if the library rejects
  /// it.
  bool add_trajectory(const OpenPattern& pattern, Category category, std::span<const int> times_s);

  /// Passes on a report. Returns false when the library gives no forecast; `answer` then stays as
  /// it was.
  bool report(const OpenPattern& pattern, const LibraryVehicle& vehicle, Category category,
              const LibraryReport& report, std::optional<LibraryForecast>& answer);

  /// Makes the vehicle leave: its next report is its first again.
  void release(const LibraryVehicle& vehicle, long long time_s);

  ForecastMode mode() const { return _mode; }

  /// Reports and trajectories that the library rejected, by the first line of its text.
  const Rejections& rejected_reports() const { return _rejected_reports; }
  const Rejections& rejected_trajectories() const { return _rejected_trajectories; }

 private:
  struct Registry;

  std::unique_ptr<Registry> _registry;
  ForecastMode _mode;
  Rejections _rejected_reports;
  Rejections _rejected_trajectories;
};

}  // namespace qiv
