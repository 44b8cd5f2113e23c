#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "model/trip_run.h"

namespace qiv {

/// What the tracker makes of a vehicle, in a word for people.
enum class VehicleStatus : std::uint8_t {
  under_way,       ///< on its trip
  waiting,         ///< at the first stop, not yet departed
  at_terminus,     ///< at the last stop
  off_route,       ///< too far from the path of its trip
  no_trip,         ///< the report names none
  unknown_trip,    ///< the timetable has no such trip
  not_in_service,  ///< the trip does not run on any day that fits
  stale,           ///< silent for too long
  doubled,         ///< another vehicle leads on this trip
};

const char* to_string(VehicleStatus status);

/// A vehicle was assigned to a trip. Always comes before any other event of this vehicle and trip.
struct TripAssigned {
  VehicleId vehicle;
  TripKey trip;
  PatternIndex pattern = 0;
  Instant received{};
};

/// The vehicle stands at the first stop of its trip: it has not started.
struct Waiting {
  VehicleId vehicle;
  TripKey trip;
  Instant time{};
  Instant received{};
};

/// The vehicle has been seen, but says nothing new of its place: it stands, or its fix was held
/// back.
struct StillThere {
  VehicleId vehicle;
  TripKey trip;
  Instant time{};
  Instant received{};
};

/// What was passed on for this trip is taken back: `cleaned` holds all of it that is still
/// believed, oldest first, the newest included.
struct Corrected {
  VehicleId vehicle;
  TripKey trip;
  std::vector<Progress> cleaned;
};

/// The vehicle has left the trip: it reached the last stop, began another trip, fell silent, or
/// went for good off the route.
struct TripEnded {
  enum class Reason : std::uint8_t { finished, next_trip, silent, off_route };
  TripRun run;
  Reason reason = Reason::finished;
  Instant received{};
};

/// `Progress`: the vehicle has moved on. Within one trip neither `time` nor `offset_m` decreases,
/// and `received` never does.
using TrackEvent = std::variant<TripAssigned, Waiting, Progress, StillThere, Corrected, TripEnded>;

}  // namespace qiv
