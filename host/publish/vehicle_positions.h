#pragma once

#include <optional>
#include <span>

#include "gtfs-realtime.pb.h"
#include "model/identifier.h"
#include "model/lat_lon.h"
#include "model/time.h"
#include "model/trip_run.h"
#include "network/network.h"

namespace qiv {

/// What is published of one vehicle.
struct PublishedVehicle {
  VehicleId vehicle;
  Instant time{};  ///< of its last report
  LatLon place;
  std::optional<double> bearing_deg;
  std::optional<double> speed_mps;
  std::optional<TripKey> trip;     ///< that it is followed on
  TripId reported_trip;            ///< that its feed names, for a vehicle that is not followed
  RouteId route;                   ///< may be empty
  std::optional<double> offset_m;  ///< along the pattern of `trip`
};

/// GTFS-realtime VehiclePositions, version 2.0, as a full data set: one entity for each vehicle, in
/// their order; a second one of the same name is left out. `time` is that of the header, and no
/// vehicle's is later.
///
/// The trip is the one that the vehicle is followed on, with its start date; for a vehicle that is
/// not followed, the one that its feed names, with nothing beside it. The stop is the next one on
/// its way, IN_TRANSIT_TO, where it is known how far the vehicle has come.
transit_realtime::FeedMessage vehicle_positions(std::span<const PublishedVehicle> vehicles,
                                                const Network& network, Instant time);

}  // namespace qiv
