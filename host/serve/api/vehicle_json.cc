#include "serve/api/vehicle_json.h"

#include "serve/api/names.h"
#include "serve/api/trip_json.h"

namespace qiv {
namespace {

std::optional<Decimal> decimal(const std::optional<double>& value, int decimals) {
  return value ? std::optional(Decimal{*value, decimals}) : std::nullopt;
}

void write_place(JsonWriter& json, const std::optional<LatLon>& place) {
  json.member("lat", place ? std::optional(Decimal{place->lat_deg, 6}) : std::nullopt);
  json.member("lon", place ? std::optional(Decimal{place->lon_deg, 6}) : std::nullopt);
}

/// The members that follow from the trip that a vehicle is followed on.
void write_followed_trip(JsonWriter& json, const Outputs& outputs, const VehicleView& vehicle) {
  const bool known = vehicle.trip && outputs.has_network();
  const auto schedule = known ? outputs.index().network().schedule(*vehicle.trip) : std::nullopt;
  const Route* route = nullptr;
  if (outputs.has_network()) route = outputs.index().network().find_route(vehicle.route);
  json.member_or_null("route_id", vehicle.route.text());
  json.member_or_null("line", route == nullptr ? "" : line_name(*route));
  json.member_or_null("color", route == nullptr ? "" : route->color);
  if (schedule) {
    const PatternIndex i = schedule->pattern();
    const JourneyPattern& pattern = outputs.index().network().pattern(i);
    const std::string& headsign = schedule->plan->headsign;
    json.member("direction_id", pattern.direction);
    json.member_or_null("headsign", headsign.empty() ? outputs.index().headsign(i) : headsign);
    json.member("pattern", pattern.ref);
  } else {
    for (const char* name : {"direction_id", "headsign", "pattern"}) json.member_or_null(name, "");
  }
}

std::optional<PublishedTrip> trip_of(const Outputs& outputs, const VehicleView& vehicle) {
  if (!vehicle.trip || !outputs.has_network()) return std::nullopt;
  const TripForecast* const forecast = outputs.find_trip(*vehicle.trip);
  return forecast == nullptr ? std::nullopt : shown(*forecast, outputs.index());
}

void write_next_stop_of(JsonWriter& json, const Outputs& outputs, const VehicleView& vehicle) {
  json.key("next_stop");
  const auto trip = trip_of(outputs, vehicle);
  if (trip) {
    write_next_stop(json, *trip, outputs.index());
  } else {
    json.null();
  }
}

}  // namespace

void write_vehicle(JsonWriter& json, const Outputs& outputs, const VehicleView& vehicle) {
  json.begin_object();
  json.member("vehicle_id", vehicle.vehicle);
  json.member("status", api_name(vehicle.status));
  json.member_or_null("reason", vehicle.reason);
  json.member("since", vehicle.since);
  json.member("last_report", vehicle.last_report);
  json.member("last_received", vehicle.last_received);
  write_place(json, vehicle.place);
  json.member("bearing_deg", decimal(vehicle.bearing_deg, 1));
  json.member("speed_mps", decimal(vehicle.speed_mps, 1));
  json.member_or_null("trip", vehicle.trip ? to_string(*vehicle.trip) : std::string());
  json.member_or_null("reported_trip_id", vehicle.reported_trip.text());
  json.member("trip_confidence", decimal(vehicle.confidence, 2));
  write_followed_trip(json, outputs, vehicle);
  json.member("offset_m", decimal(vehicle.offset_m, 1));
  json.member("lateness_s", vehicle.lateness);
  write_next_stop_of(json, outputs, vehicle);
  json.end_object();
}

void write_vehicle_detail(JsonWriter& json, const Outputs& outputs, const VehicleView& vehicle) {
  json.key("vehicle");
  write_vehicle(json, outputs, vehicle);
  json.key("forecast");
  const auto trip = trip_of(outputs, vehicle);
  if (trip) {
    write_trip(json, *trip, outputs);
  } else {
    json.null();
  }
}

void write_vehicle_move(JsonWriter& json, const VehicleView& vehicle) {
  json.begin_object();
  json.member("id", vehicle.vehicle);
  json.member("s", api_name(vehicle.status));
  json.member("t", vehicle.last_report);
  write_place(json, vehicle.place);
  json.member("b", decimal(vehicle.bearing_deg, 1));
  json.member_or_null("r", vehicle.route.text());
  json.member("late", vehicle.lateness);
  json.end_object();
}

bool has_moved(const VehicleView& before, const VehicleView& now) {
  return before.status != now.status || before.last_report != now.last_report ||
         before.place != now.place || before.bearing_deg != now.bearing_deg ||
         before.route != now.route || before.lateness != now.lateness;
}

std::vector<PublishedVehicle> published_vehicles(const Snapshot& snapshot) {
  std::vector<PublishedVehicle> published;
  for (const VehicleView& vehicle : snapshot.vehicles) {
    if (!vehicle.place) continue;
    published.push_back({vehicle.vehicle, vehicle.last_report, *vehicle.place, vehicle.bearing_deg,
                         vehicle.speed_mps, vehicle.trip, vehicle.reported_trip, vehicle.route,
                         vehicle.offset_m});
  }
  return published;
}

}  // namespace qiv
