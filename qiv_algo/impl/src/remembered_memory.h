#ifndef QIV_REMEMBERED_MEMORY_H
#define QIV_REMEMBERED_MEMORY_H

#include <cstddef>

class AllHistories;
class AllVehicles;
class BusRoute;
class Forecast;
class ForecastAlgorithm;
class History;
class Time;
class Vehicle;
struct Position;

/// @file
/// Where the memory lies that an update goes through. Among thousands of journeys none of it is
/// near, and each piece is found by way of another: an update remembers the pieces, and the next
/// one asks for all of them at once before it goes. Nothing is read by what is remembered, so it
/// does not matter that a piece may be gone.

/// What an update touches of its vehicle.
class VehicleMemory {
 public:
  VehicleMemory();

  /// @param entry of the vehicle in `vehicles`
  void remember(const AllVehicles& vehicles, const void* entry, const Vehicle& vehicle);
  void ask_for() const;

 private:
  const AllVehicles* _vehicles;
  const void* _entry;
  const Vehicle* _vehicle;
  const Position* _oldest;
  const Position* _newest;
  std::size_t _nb_reports;
};

/// What an update touches of its journey, but for the journey itself.
class JourneyMemory {
 public:
  JourneyMemory();

  /// @param history the one of `histories` that the forecast is made from, or null
  void remember(const BusRoute& route, const AllHistories& histories, const History* history,
                const ForecastAlgorithm* algorithm, const Forecast& forecast);

  /// In the order in which it is needed.
  void ask_for() const;

 private:
  const double* _milestones;
  std::size_t _nb_milestones;
  const void* _category;  ///< the first in the map of histories
  const History* _history;
  const void* _trips;
  std::size_t _trips_size;
  const ForecastAlgorithm* _algorithm;
  const double* _stops;
  const Time* _rows;
  std::size_t _nb_rows;
};

#endif  // QIV_REMEMBERED_MEMORY_H
