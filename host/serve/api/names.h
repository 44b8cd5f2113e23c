#pragma once

#include <array>

#include "model/trip_forecast.h"
#include "serve/snapshot.h"
#include "track/events.h"

namespace qiv {

// Every value that outputs list by name.

inline constexpr std::array vehicle_statuses = {
    VehicleStatus::under_way, VehicleStatus::waiting,      VehicleStatus::at_terminus,
    VehicleStatus::standing,  VehicleStatus::off_route,    VehicleStatus::detoured,
    VehicleStatus::no_trip,   VehicleStatus::unknown_trip, VehicleStatus::not_in_service,
    VehicleStatus::stale,     VehicleStatus::doubled};

inline constexpr std::array trip_states = {TripState::not_begun, TripState::waiting,
                                           TripState::under_way, TripState::overdue,
                                           TripState::finished,  TripState::canceled};

inline constexpr std::array source_healths = {SourceHealth::starting, SourceHealth::good,
                                              SourceHealth::stale, SourceHealth::failing,
                                              SourceHealth::finished};

/// The names by which outputs and requests know them, for programs: "under_way".
const char* api_name(VehicleStatus status);
inline const char* api_name(TripState state) {
  return to_string(state);
}

}  // namespace qiv
