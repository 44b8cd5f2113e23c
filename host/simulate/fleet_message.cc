#include "simulate/fleet_message.h"

#include <cstdint>
#include <string>
#include <unordered_map>

namespace qiv {
namespace {

std::uint64_t to_timestamp(Instant instant) {
  return static_cast<std::uint64_t>(unix_seconds(instant));
}

void write_trip(const VehiclePosition& report, transit_realtime::TripDescriptor& trip) {
  trip.set_trip_id(report.trip.text());
  if (!report.route.empty()) trip.set_route_id(report.route.text());
  if (report.direction) trip.set_direction_id(static_cast<std::uint32_t>(*report.direction));
  if (report.start_date) trip.set_start_date(report.start_date->to_string());
  if (report.start_time) trip.set_start_time(format_time_of_day(*report.start_time));
}

void write_report(const VehiclePosition& report, transit_realtime::VehiclePosition& vehicle) {
  if (!report.trip.empty()) write_trip(report, *vehicle.mutable_trip());
  vehicle.mutable_vehicle()->set_id(report.vehicle.text());
  vehicle.set_timestamp(to_timestamp(report.time));
  if (!report.place) return;
  transit_realtime::Position& position = *vehicle.mutable_position();
  position.set_latitude(static_cast<float>(report.place->lat_deg));
  position.set_longitude(static_cast<float>(report.place->lon_deg));
  if (report.bearing_deg) position.set_bearing(static_cast<float>(*report.bearing_deg));
  if (report.speed_mps) position.set_speed(static_cast<float>(*report.speed_mps));
}

}  // namespace

transit_realtime::FeedMessage fleet_message(std::span<const VehiclePosition> reports, Instant now) {
  transit_realtime::FeedMessage message;
  message.mutable_header()->set_gtfs_realtime_version("2.0");
  message.mutable_header()->set_incrementality(transit_realtime::FeedHeader::FULL_DATASET);
  message.mutable_header()->set_timestamp(to_timestamp(now));
  std::unordered_map<VehicleId, int> seen;
  for (const VehiclePosition& report : reports) {
    transit_realtime::FeedEntity& entity = *message.add_entity();
    const int times = ++seen[report.vehicle];
    entity.set_id(times == 1 ? report.vehicle.text()
                             : report.vehicle.text() + "/" + std::to_string(times));
    write_report(report, *entity.mutable_vehicle());
  }
  return message;
}

}  // namespace qiv
