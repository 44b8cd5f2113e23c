#pragma once

#include "engine/forecast_library.h"
#include "engine/kept_display.h"
#include "engine/live_trip.h"
#include "engine/trip_clock.h"
#include "model/settings.h"
#include "model/trip_forecast.h"
#include "network/network.h"

namespace qiv {

/// What a displayed forecast is made from.
struct DisplayInput {
  const ScheduledTrip& schedule;
  const JourneyPattern& pattern;
  const Grid& grid;
  const TripClock& clock;
  const LibraryForecast& forecast;
  double origin_s = 0.0;  ///< added to the library's times
  TripState state = TripState::under_way;
  Instant last_seen{};  ///< until when the vehicle is known not to have reached its next place
  const Calibration& calibration;
  const LiveTrip* trip = nullptr;  ///< the trip with its vehicle, when it is under way
};

/// Fills state and stops of `result` as of `now`. A trip under way whose next place is forecast for
/// a time at which the vehicle was seen not to be there yet is overdue: all that remains moves by
/// the shortfall. Returns how long this holds.
DisplayHold fill_stops(TripForecast& result, const DisplayInput& input, Instant now);

}  // namespace qiv
