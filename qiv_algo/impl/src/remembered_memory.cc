#include "remembered_memory.h"

#include <algorithm>
#include <map>
#include <string>

#include "BusRoute.h"
#include "Forecast.h"
#include "History.h"
#include "KernelRegression.h"
#include "Prefetch.h"
#include "TileReader.h"
#include "Vehicle.h"

namespace {

/// How many elements of a deque lie side by side, in the implementation at hand.
template <class Element>
std::size_t block_length() {
  return 512 / sizeof(Element);
}

}  // namespace

VehicleMemory::VehicleMemory()
    : _vehicles(nullptr),
      _entry(nullptr),
      _vehicle(nullptr),
      _oldest(nullptr),
      _newest(nullptr),
      _nb_reports(0) {}

void VehicleMemory::remember(const AllVehicles& vehicles, const void* entry,
                             const Vehicle& vehicle) {
  _vehicles = &vehicles;
  _entry = entry;
  _vehicle = &vehicle;
  _nb_reports = vehicle.size();
  if (_nb_reports == 0) return;
  _oldest = &vehicle._updates.front();
  _newest = &vehicle._updates.back();
}

void VehicleMemory::ask_for() const {
  Prefetch::read(_vehicle);
  Prefetch::read(_vehicles);
  Prefetch::read(_entry, sizeof(std::map<std::string, Vehicle*>::value_type));
  const std::size_t in_first_block = std::min(_nb_reports, block_length<Position>());
  Prefetch::read(_oldest, in_first_block * sizeof(Position));
  const std::size_t rest = std::min(_nb_reports - in_first_block, block_length<Position>());
  if (rest != 0) Prefetch::read(_newest + 1 - rest, rest * sizeof(Position));
}

JourneyMemory::JourneyMemory()
    : _milestones(nullptr),
      _nb_milestones(0),
      _category(nullptr),
      _history(nullptr),
      _trips(nullptr),
      _trips_size(0),
      _algorithm(nullptr),
      _stops(nullptr),
      _rows(nullptr),
      _nb_rows(0) {}

void JourneyMemory::remember(const BusRoute& route, const AllHistories& histories,
                             const History* history, const ForecastAlgorithm* algorithm,
                             const Forecast& forecast) {
  _nb_milestones = std::min<std::size_t>(route._interpolation.size(), block_length<double>());
  if (_nb_milestones != 0) _milestones = &route._interpolation.front();
  if (!histories._history.empty()) _category = &*histories._history.begin();
  _history = history;
  if (history != nullptr) TileReader::locate(*history, _trips, _trips_size);
  _algorithm = algorithm;
  _stops = route._offset.data();
  _rows = forecast._forecast.data();
  _nb_rows = forecast._forecast.size();
}

void JourneyMemory::ask_for() const {
  Prefetch::read(_milestones, _nb_milestones * sizeof(double));
  Prefetch::read(_algorithm, sizeof(KernelRegression));
  Prefetch::read(_category, 1);
  Prefetch::read(_history);
  Prefetch::read(_trips, _trips_size);
  Prefetch::read(_stops, _nb_rows * sizeof(double));
  Prefetch::write(_rows, _nb_rows);
}
