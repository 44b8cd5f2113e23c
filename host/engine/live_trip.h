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

/// Where the vehicle was: a `Progress` without the names, which are those of its trip.
struct PassedPlace {
  Instant time{};
  Instant received{};
  double offset_m = 0.0;
  double error_m = 0.0;
  Evidence evidence = Evidence::fix;
};

/// A trip with its vehicle, as the engine follows it.
struct LiveTrip {
  ScheduledTrip schedule;
  VehicleId vehicle;
  bool left = false;  ///< the vehicle is on this trip no more
  LibraryVehicle in_library;
  PatternDesk* desk = nullptr;  ///< the pattern at work; outlives the trip
  HistoryChoice choice;
  TripClock clock;
  Instant last_seen{};                 ///< by the vehicle's own clock
  std::vector<PassedPlace> places;     ///< what the library was told; empty while waiting
  std::vector<LibraryReport> reports;  ///< the same, on the library's clock
  std::optional<LibraryForecast> latest;
  KeptDisplay shown;
  std::size_t trips_at_start = 0;  ///< earlier trips in the category at the first report ...
  std::size_t trips_at_last = 0;   ///< ... and at the last
};

}  // namespace qiv
