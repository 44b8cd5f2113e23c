#pragma once

#include <cstdint>
#include <optional>
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
  standing,        ///< under way, and has not moved for longer than is usual
  off_route,       ///< too far from the path of its trip
  detoured,        ///< off the path of its trip, and going on beside it
  no_trip,         ///< the report names none, and none was assigned
  unknown_trip,    ///< the timetable has no such trip
  not_in_service,  ///< the trip does not run on any day that fits
  stale,           ///< silent for too long
  doubled,         ///< another vehicle leads on this trip; told by those who see both
};

const char* to_string(VehicleStatus status);

/// A vehicle was assigned to a trip. Always comes before any other event of this vehicle and trip.
struct TripAssigned {
  VehicleId vehicle;
  TripKey trip;
  PatternIndex pattern = 0;
  Instant received{};
  /// How sure the assignment by the vehicle's course was, 0 to 1; nothing where its reports name
  /// the trip.
  std::optional<double> confidence = std::nullopt;
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
/// went for good off the route. An assignment by its course that proved wrong is withdrawn: its run
/// is empty, since nothing of it is believed.
struct TripEnded {
  enum class Reason : std::uint8_t { finished, next_trip, silent, off_route, withdrawn };
  TripRun run;
  Reason reason = Reason::finished;
  Instant received{};
};

/// `Progress`: the vehicle has moved on. Within one trip neither `time` nor `offset_m` decreases,
/// and `received` never does.
using TrackEvent = std::variant<TripAssigned, Waiting, Progress, StillThere, Corrected, TripEnded>;

const VehicleId& vehicle_of(const TrackEvent& event);

}  // namespace qiv
