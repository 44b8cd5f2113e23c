#include <string>

#include "feed/gtfs_realtime.h"
#include "feed/position_collector.h"
#include "feed/quotation.h"
#include "feed/realtime_message.h"

namespace qiv {
namespace {

std::optional<StopStatus> stated_status(const transit_realtime::VehiclePosition& vehicle) {
  if (!vehicle.has_current_status()) return std::nullopt;
  switch (vehicle.current_status()) {
    case transit_realtime::VehiclePosition::INCOMING_AT:
      return StopStatus::incoming_at;
    case transit_realtime::VehiclePosition::STOPPED_AT:
      return StopStatus::stopped_at;
    case transit_realtime::VehiclePosition::IN_TRANSIT_TO:
      return StopStatus::in_transit_to;
  }
  return std::nullopt;
}

StatedPosition state(const transit_realtime::FeedEntity& entity, std::optional<Instant> received) {
  const transit_realtime::VehiclePosition& vehicle = entity.vehicle();
  StatedPosition stated;
  stated.received = received;
  stated.entity = entity.id();
  stated.has_time = vehicle.timestamp() != 0;
  stated.time = plausible_instant(static_cast<long long>(vehicle.timestamp()));
  stated.position.vehicle = stated_vehicle(vehicle.vehicle());
  stated.position.trip = TripId(vehicle.trip().trip_id());
  stated.position.route = RouteId(vehicle.trip().route_id());
  stated.position.direction = stated_direction(vehicle.trip());
  stated.start_date = vehicle.trip().start_date();
  stated.start_time = vehicle.trip().start_time();
  stated.position.stop = StopId(vehicle.stop_id());
  if (vehicle.has_current_stop_sequence())
    stated.position.stop_sequence = vehicle.current_stop_sequence();
  stated.position.status = stated_status(vehicle);
  stated.has_place = vehicle.has_position();
  if (vehicle.has_position()) {
    const transit_realtime::Position& position = vehicle.position();
    if (position.has_latitude()) stated.lat_deg = position.latitude();
    if (position.has_longitude()) stated.lon_deg = position.longitude();
    if (position.has_bearing()) stated.bearing_deg = position.bearing();
    if (position.has_speed()) stated.speed_mps = position.speed();
  }
  return stated;
}

}  // namespace

PositionBatch read_vehicle_positions(std::string_view bytes, const PositionOptions& options) {
  PositionBatch batch;
  PositionCollector collector(batch);
  const auto name = [&] { return quotation(options.name, ""); };
  if (bytes.size() > options.max_snapshot_bytes) {
    collector.reject("snapshot too large", name);
    return batch;
  }
  RealtimeMessage message(bytes);
  if (!message.is_valid()) {
    collector.reject("not a GTFS-realtime message", name);
    return batch;
  }
  batch.time = message.time();
  if (message.states_time() && !batch.time) batch.remarks.add("implausible time of header", name);
  const std::optional<Instant> received = options.received ? options.received : batch.time;
  for (const std::string_view bytes_of_entity : message.entities()) {
    const transit_realtime::FeedEntity* const entity = message.decode(bytes_of_entity);
    const PositionCollector::Quote quote = [&] {
      return quotation(options.name,
                       entity == nullptr
                           ? "entity of " + std::to_string(bytes_of_entity.size()) + " bytes"
                           : "entity " + entity->id());
    };
    if (entity == nullptr) {
      collector.reject("entity cannot be decoded", quote);
    } else if (entity->is_deleted()) {
      collector.reject("deleted entity", quote);
    } else if (!entity->has_vehicle()) {
      collector.reject("entity without vehicle", quote);
    } else {
      collector.add(state(*entity, received), quote);
    }
  }
  return batch;
}

}  // namespace qiv
