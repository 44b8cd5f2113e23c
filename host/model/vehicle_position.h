#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "model/identifier.h"
#include "model/lat_lon.h"
#include "model/time.h"

namespace qiv {

/// What a feed states of the vehicle and the stop that it names.
enum class StopStatus { incoming_at, stopped_at, in_transit_to };

/// One report of a vehicle, as the feed has it. An empty identifier or optional was not stated.
struct VehiclePosition {
  Instant received{};             ///< time of the poll or of the feed's header
  Instant time{};                 ///< time of the vehicle's own report
  bool time_is_received = false;  ///< the report had no time of its own
  VehicleId vehicle;
  TripId trip;
  RouteId route;
  std::optional<int> direction;
  std::optional<ServiceDate> start_date;
  std::optional<Seconds> start_time;
  std::optional<LatLon> place;
  std::optional<double> bearing_deg;  ///< clockwise from north
  std::optional<double> speed_mps;
  StopId stop;
  std::optional<std::uint32_t> stop_sequence;
  std::optional<StopStatus> status;
};

}  // namespace qiv
