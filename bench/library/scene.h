#ifndef QIV_BENCH_LIBRARY_SCENE_H
#define QIV_BENCH_LIBRARY_SCENE_H

#include <string>
#include <vector>

#include "Journey.h"
#include "KernelRegression.h"
#include "twin/Journey.h"

namespace bench {

/// The classes of the library, and those of the twin.
struct Library {
  using AllJourneys = ::AllJourneys;
  using BusRoute = ::BusRoute;
  using Forecast = ::Forecast;
  using History = ::History;
  using Journey = ::Journey;
  using Kernel = ::Kernel;
  using KernelRegression = ::KernelRegression;
  using Vehicle = ::Vehicle;
  using VehicleJourneyRef = ::VehicleJourneyRef;
};

struct Twin {
  using AllJourneys = twin::AllJourneys;
  using BusRoute = twin::BusRoute;
  using Forecast = twin::Forecast;
  using History = twin::History;
  using Journey = twin::Journey;
  using Kernel = twin::Kernel;
  using KernelRegression = twin::KernelRegression;
  using Vehicle = twin::Vehicle;
  using VehicleJourneyRef = twin::VehicleJourneyRef;
};

/// How much a forecast is made from.
struct Size {
  std::string name;
  unsigned int trips;    ///< K, earlier trips in the store
  unsigned int updates;  ///< U, reports of the vehicle
  unsigned int stops;
  unsigned int milestones;
};

const Size small_size = {"small", 20, 10, 20, 30};
const Size city_size = {"city", 50, 40, 40, 60};
const Size large_size = {"large", 200, 150, 60, 100};
const Size huge_size = {"huge", 1000, 300, 100, 100};

const double bandwidth = 20.0;
const double milestone_distance_m = 50.0;
const long long departure = 1000;

/// The category of the earlier trips, and one that has none.
const short category = 7;
const short no_category = 1;

/// The same numbers for the same size, on every machine.
std::vector<double> milestones(const Size& size);
std::vector<double> stop_offsets(const Size& size);
std::vector<std::string> stop_names(const Size& size);
std::vector<std::vector<int>> trajectories(const Size& size, unsigned int seed);

/// Report `index` of a vehicle whose report `size.updates` comes half way; `vehicle` tells vehicles
/// apart by a metre.
struct Report {
  double offset_m;
  long long time_s;
};
Report report(const Size& size, unsigned int vehicle, unsigned int index);

/// A journey of the size, with its earlier trips.
template <class AllJourneys>
void load(AllJourneys& journeys, const std::string& reference, const Size& size,
          unsigned int seed) {
  journeys.read_milestones(reference, 1, 1, milestones(size));
  journeys.read_bus_stops(reference, 1, 1, stop_names(size), stop_offsets(size));
  for (const std::vector<int>& trajectory : trajectories(size, seed)) {
    journeys.read_history(reference, 1, 1, category, trajectory);
  }
}

template <class AllJourneys>
void initialize(AllJourneys& journeys, const Size& size) {
  journeys.initialize("KernelRegression", {}, {bandwidth}, "arrival", size.trips, "ring");
}

/// Lets no log entry reach the standard error stream.
void silence_log();

/// What the calling thread has computed so far, in seconds: other processes do not count.
double thread_time_s();

}  // namespace bench

#endif  // QIV_BENCH_LIBRARY_SCENE_H
