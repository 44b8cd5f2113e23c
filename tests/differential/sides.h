#ifndef QIV_TESTS_DIFFERENTIAL_SIDES_H
#define QIV_TESTS_DIFFERENTIAL_SIDES_H

#include <vector>

#include "Journey.h"
#include "KernelRegression.h"
#include "support/LogEntry.h"
#include "twin/Journey.h"

namespace differential {

/// The two implementations, so that a test can be written once for either.
struct Library {
  using AllHistories = ::AllHistories;
  using AllJourneys = ::AllJourneys;
  using AllVehicles = ::AllVehicles;
  using BusRoute = ::BusRoute;
  using Forecast = ::Forecast;
  using ForecastAlgorithm = ::ForecastAlgorithm;
  using History = ::History;
  using Journey = ::Journey;
  using Kernel = ::Kernel;
  using KernelRegression = ::KernelRegression;
  using Vehicle = ::Vehicle;
  using VehicleJourneyRef = ::VehicleJourneyRef;
  using invalid_bus_stops = ::invalid_bus_stops;
  using invalid_history = ::invalid_history;
  using invalid_milestones = ::invalid_milestones;
  using invalid_update = ::invalid_update;

  /// What was logged since the last call. Entries are recorded from the first call on.
  static std::vector<support::LogEntry> take_log();
};

struct Twin {
  using AllHistories = twin::AllHistories;
  using AllJourneys = twin::AllJourneys;
  using AllVehicles = twin::AllVehicles;
  using BusRoute = twin::BusRoute;
  using Forecast = twin::Forecast;
  using ForecastAlgorithm = twin::ForecastAlgorithm;
  using History = twin::History;
  using Journey = twin::Journey;
  using Kernel = twin::Kernel;
  using KernelRegression = twin::KernelRegression;
  using Vehicle = twin::Vehicle;
  using VehicleJourneyRef = twin::VehicleJourneyRef;
  using invalid_bus_stops = twin::invalid_bus_stops;
  using invalid_history = twin::invalid_history;
  using invalid_milestones = twin::invalid_milestones;
  using invalid_update = twin::invalid_update;

  static std::vector<support::LogEntry> take_log();
};

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_SIDES_H
