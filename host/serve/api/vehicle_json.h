#pragma once

#include <vector>

#include "publish/vehicle_positions.h"
#include "serve/api/json_writer.h"
#include "serve/api/outputs.h"

namespace qiv {

// The JSON of vehicles. openapi.json describes the members.

/// One object: Vehicle.
void write_vehicle(JsonWriter& json, const Outputs& outputs, const VehicleView& vehicle);

/// The members `vehicle` and `forecast` of VehicleDetail.
void write_vehicle_detail(JsonWriter& json, const Outputs& outputs, const VehicleView& vehicle);

/// One object: VehicleMove, which says in short names what moves.
void write_vehicle_move(JsonWriter& json, const VehicleView& vehicle);

/// True where two `write_vehicle_move` would differ.
bool has_moved(const VehicleView& before, const VehicleView& now);

/// Those that have a place, as GTFS-realtime publishes them.
std::vector<PublishedVehicle> published_vehicles(const Snapshot& snapshot);

}  // namespace qiv
