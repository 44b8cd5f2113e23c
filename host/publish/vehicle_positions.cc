#include "publish/vehicle_positions.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <unordered_set>

#include "publish/published_trip.h"

namespace qiv {
namespace {

std::uint64_t to_timestamp(Instant instant) {
  return static_cast<std::uint64_t>(std::max(0LL, unix_seconds(instant)));
}

void write_followed_trip(const PublishedVehicle& vehicle, const TripPlan& plan,
                         const Network& network, transit_realtime::VehiclePosition& position) {
  const TripKey& key = *vehicle.trip;
  const JourneyPattern& pattern = network.pattern(plan.pattern);
  transit_realtime::TripDescriptor& trip = *position.mutable_trip();
  trip.set_trip_id(key.trip.text());
  trip.set_start_date(key.day.to_string());
  if (is_repetition(key, network)) trip.set_start_time(format_time_of_day(key.start));
  if (!pattern.route.empty()) trip.set_route_id(pattern.route.text());
  if (pattern.direction && *pattern.direction >= 0) {
    trip.set_direction_id(static_cast<std::uint32_t>(*pattern.direction));
  }
  if (!vehicle.offset_m) return;
  const auto next =
      std::find_if(pattern.stops.begin(), pattern.stops.end(),
                   [&](const PatternStop& stop) { return stop.offset_m >= *vehicle.offset_m; });
  if (next == pattern.stops.end()) return;
  const auto i = static_cast<std::size_t>(next - pattern.stops.begin());
  position.set_current_stop_sequence(plan.call(i).sequence);
  position.set_stop_id(network.stops()[next->stop].id.text());
  position.set_current_status(transit_realtime::VehiclePosition::IN_TRANSIT_TO);
}

void write_vehicle(const PublishedVehicle& vehicle, const Network& network, Instant time,
                   transit_realtime::VehiclePosition& position) {
  const TripPlan* const plan =
      vehicle.trip ? network.find_trip(vehicle.trip->trip, vehicle.trip->start) : nullptr;
  if (plan != nullptr) {
    write_followed_trip(vehicle, *plan, network, position);
  } else {
    if (!vehicle.reported_trip.empty()) {
      position.mutable_trip()->set_trip_id(vehicle.reported_trip.text());
    }
    if (!vehicle.route.empty()) position.mutable_trip()->set_route_id(vehicle.route.text());
  }
  position.mutable_vehicle()->set_id(vehicle.vehicle.text());
  position.mutable_position()->set_latitude(static_cast<float>(vehicle.place.lat_deg));
  position.mutable_position()->set_longitude(static_cast<float>(vehicle.place.lon_deg));
  if (vehicle.bearing_deg) {
    position.mutable_position()->set_bearing(static_cast<float>(*vehicle.bearing_deg));
  }
  if (vehicle.speed_mps) {
    position.mutable_position()->set_speed(static_cast<float>(*vehicle.speed_mps));
  }
  position.set_timestamp(to_timestamp(std::min(vehicle.time, time)));
}

}  // namespace

transit_realtime::FeedMessage vehicle_positions(std::span<const PublishedVehicle> vehicles,
                                                const Network& network, Instant time) {
  transit_realtime::FeedMessage message;
  message.mutable_header()->set_gtfs_realtime_version("2.0");
  message.mutable_header()->set_incrementality(transit_realtime::FeedHeader::FULL_DATASET);
  message.mutable_header()->set_timestamp(to_timestamp(time));
  if (!network.version().empty()) message.mutable_header()->set_feed_version(network.version());
  std::unordered_set<std::string_view> seen;
  for (const PublishedVehicle& vehicle : vehicles) {
    if (!seen.insert(vehicle.vehicle.text()).second) continue;
    transit_realtime::FeedEntity& entity = *message.add_entity();
    entity.set_id(vehicle.vehicle.text());
    write_vehicle(vehicle, network, time, *entity.mutable_vehicle());
  }
  return message;
}

}  // namespace qiv
