#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/forecast_library.h"
#include "engine/kept_display.h"
#include "engine/pattern_desk.h"
#include "engine/trip_clock.h"
#include "model/trip_run.h"
#include "network/trip_plan.h"

namespace qiv {

/// What the library was told of the vehicle.
struct LibraryReport {
  double offset_m = 0.0;
  long long time_s = 0;
  double error_m = 0.0;
};

/// A trip with its vehicle, as the engine follows it.
struct LiveTrip {
  ScheduledTrip schedule;
  VehicleId vehicle;
  std::string library_key;
  HistoryChoice choice;
  TripClock clock;
  Instant last_seen{};                 ///< by the vehicle's own clock
  std::vector<Progress> progress;      ///< what the library was told; empty while waiting
  std::vector<LibraryReport> reports;  ///< the same as `progress`, on the library's clock
  std::optional<LibraryForecast> latest;
  KeptDisplay shown;
  std::size_t trips_at_start = 0;  ///< earlier trips in the category at the first report ...
  std::size_t trips_at_last = 0;   ///< ... and at the last
};

}  // namespace qiv
