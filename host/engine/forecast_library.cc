#include "engine/forecast_library.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

#include "Journey.h"

namespace qiv {
namespace {

/// A journey without a route: a vehicle that is sent here leaves the one that it was on.
const char* const parking = "";
constexpr long long parking_shape_id = 0;
constexpr unsigned long long shape_time = 1;

/// The host chooses the trips that a category holds; the library must never replace one.
constexpr unsigned unbounded = std::numeric_limits<unsigned>::max();

std::string first_line(const char* text) {
  const std::string all = text;
  return all.substr(0, all.find('\n'));
}

void check_increasing(const LibraryPattern& pattern, const std::vector<double>& list_m,
                      const char* what) {
  const std::string place = "pattern " + pattern.ref.text() + ": ";
  if (list_m.size() < 2) {
    throw std::invalid_argument(place + "fewer than two " + what);
  }
  for (std::size_t i = 0; i < list_m.size(); ++i) {
    const bool after_previous = i == 0 ? list_m[i] >= 0.0 : list_m[i] > list_m[i - 1];
    if (std::isfinite(list_m[i]) && after_previous) continue;
    throw std::invalid_argument(place + what + " must be finite and increase from 0, but number " +
                                std::to_string(i) + " is " + std::to_string(list_m[i]));
  }
}

const std::vector<double>& stop_places(const LibraryPattern& pattern, ForecastMode mode) {
  return mode == ForecastMode::arrival ? pattern.grid.places_m : pattern.stop_places_m;
}

void check(const LibraryPattern& pattern, ForecastMode mode) {
  if (!(pattern.bandwidth > 0.0) || !std::isfinite(pattern.bandwidth)) {
    throw std::invalid_argument("pattern " + pattern.ref.text() +
                                ": the bandwidth must be greater than 0, but is " +
                                std::to_string(pattern.bandwidth));
  }
  check_increasing(pattern, pattern.grid.milestones_m, "milestones");
  check_increasing(pattern, stop_places(pattern, mode), "stops");
  if (stop_places(pattern, mode).back() > pattern.grid.milestones_m.back()) {
    throw std::invalid_argument("pattern " + pattern.ref.text() +
                                ": the last stop lies beyond the last milestone");
  }
}

}  // namespace

LibraryVehicle::LibraryVehicle(std::string k, const std::string& trip, std::string n)
    : key(std::move(k)),
      name(std::move(n)),
      journey(std::make_shared<const VehicleJourneyRef>(trip, "")) {}

void copy_record(Forecast& record, std::optional<LibraryForecast>& answer) {
  if (!answer) answer.emplace();
  answer->first = record.get_first_index();
  answer->confidence = record.get_confidence();
  answer->rows.resize(record.size());
  unsigned int j = 0;
  for (LibraryRow& copy : answer->rows) {
    const Time& row = record[j++];
    copy = {row.get_time(), row.get_lower_confidence_bound(), row.get_upper_confidence_bound(),
            row.get_conditional_var(), row.get_conditional_mean()};
  }
}

struct ForecastLibrary::Registry {
  AllJourneys journeys;

  void configure(ForecastMode mode, double bandwidth) {
    journeys.initialize("KernelRegression", {}, {bandwidth},
                        mode == ForecastMode::arrival ? "arrival" : "travel", unbounded, "ring");
  }
};

ForecastLibrary::ForecastLibrary(ForecastMode mode)
    : _registry(std::make_unique<Registry>()), _mode(mode) {}

ForecastLibrary::~ForecastLibrary() = default;

OpenPattern ForecastLibrary::open(const LibraryPattern& pattern) {
  check(pattern, _mode);
  _registry->configure(_mode, pattern.bandwidth);
  const std::vector<double>& stops_m = stop_places(pattern, _mode);
  const std::string& ref = pattern.ref.text();
  AllJourneys& journeys = _registry->journeys;
  journeys.read_milestones(ref, shape_time, pattern.shape_version_id, pattern.grid.milestones_m);
  journeys.read_bus_stops(ref, shape_time, pattern.shape_version_id,
                          std::vector<std::string>(stops_m.size()), stops_m);
  return {ref, pattern.shape_version_id};
}

bool ForecastLibrary::add_trajectory(const OpenPattern& pattern, Category category,
                                     std::span<const int> times_s) {
  try {
    _registry->journeys.read_history(pattern.ref, shape_time, pattern.shape_version_id, category,
                                     {times_s.begin(), times_s.end()});
    return true;
  } catch (invalid_history& error) {
    _rejected_trajectories.add(first_line(error.what()), [&] { return pattern.ref; });
    return false;
  }
}

bool ForecastLibrary::report(const OpenPattern& pattern, const LibraryVehicle& vehicle,
                             Category category, const LibraryReport& report,
                             std::optional<LibraryForecast>& answer) {
  const auto quote = [&] {
    return vehicle.name + " at " + std::to_string(report.offset_m) + " m, " +
           std::to_string(report.time_s) + " s";
  };
  try {
    Forecast* const record = _registry->journeys.update(
        pattern.ref, vehicle.key, *vehicle.journey, shape_time, pattern.shape_version_id, category,
        report.offset_m, report.time_s, report.error_m);
    if (record == nullptr) {
      _rejected_reports.add("report not used by the library", quote);
      return false;
    }
    if (!(record->get_confidence() > 0.0)) return false;
    copy_record(*record, answer);
    return true;
  } catch (invalid_update& error) {
    _rejected_reports.add(first_line(error.what()), quote);
  } catch (std::invalid_argument& error) {
    _rejected_reports.add(first_line(error.what()), quote);
  }
  return false;
}

void ForecastLibrary::release(const LibraryVehicle& vehicle, long long time_s) {
  _registry->journeys.update(parking, vehicle.key, *vehicle.journey, shape_time, parking_shape_id,
                             0, 0.0, time_s, 0.0);
}

}  // namespace qiv
