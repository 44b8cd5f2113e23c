#include "serve/api/event_json.h"

#include "serve/api/trip_json.h"
#include "serve/api/vehicle_json.h"

namespace qiv {
namespace {

constexpr std::size_t arrivals_told = 10;

/// The members of the object that `write` fills.
template <class Write>
std::string members(Write&& write) {
  JsonWriter json;
  json.begin_object();
  write(json);
  json.end_object();
  const std::string object = json.take();
  return object.substr(1, object.size() - 2);
}

EventContent gone(const char* topic, const std::string& id) {
  return {"gone", members([&](JsonWriter& json) {
            json.member("topic", topic);
            json.member("id", id);
          })};
}

EventContent stop_content(const std::string& id, const Outputs& outputs) {
  return {"stop", members([&](JsonWriter& json) {
            ArrivalFilter filter;
            filter.limit = arrivals_told;
            const auto stop = outputs.index().network().find_stop(StopId(id));
            if (stop) write_arrivals(json, outputs, *stop, filter);
          })};
}

EventContent trip_content(const std::string& id, const Outputs& outputs) {
  const auto key = parse_trip_key(id);
  const TripForecast* const forecast = key ? outputs.find_trip(*key) : nullptr;
  const auto trip = forecast == nullptr ? std::nullopt : shown(*forecast, outputs.index());
  if (!trip) return gone("trip", id);
  return {"trip", members([&](JsonWriter& json) {
            json.key("trip");
            write_trip(json, *trip, outputs);
          })};
}

EventContent vehicle_content(const std::string& id, const Outputs& outputs) {
  const VehicleView* const vehicle = outputs.find_vehicle(VehicleId(id));
  if (vehicle == nullptr) return gone("vehicle", id);
  return {"vehicle",
          members([&](JsonWriter& json) { write_vehicle_detail(json, outputs, *vehicle); })};
}

EventContent all_vehicles(const Outputs& outputs) {
  return {"vehicles", members([&](JsonWriter& json) {
            json.member("full", true);
            json.key("vehicles");
            json.begin_array();
            for (const VehicleView& vehicle : outputs.snapshot().vehicles) {
              write_vehicle_move(json, vehicle);
            }
            json.end_array();
            json.key("gone");
            json.begin_array();
            json.end_array();
          })};
}

}  // namespace

EventContent event_content(const EventTopic& topic, const Outputs& outputs) {
  switch (topic.kind) {
    case EventTopic::Kind::stop:
      return stop_content(topic.id, outputs);
    case EventTopic::Kind::trip:
      return trip_content(topic.id, outputs);
    case EventTopic::Kind::vehicle:
      return vehicle_content(topic.id, outputs);
    case EventTopic::Kind::all_vehicles:
      return all_vehicles(outputs);
  }
  return {};
}

EventContent vehicle_moves(const Snapshot& before, const Snapshot& now) {
  bool any = false;
  std::vector<const VehicleId*> lost;
  std::string text = members([&](JsonWriter& json) {
    json.member("full", false);
    json.key("vehicles");
    json.begin_array();
    auto old = before.vehicles.begin();
    for (const VehicleView& vehicle : now.vehicles) {
      for (; old != before.vehicles.end() && old->vehicle < vehicle.vehicle; ++old) {
        lost.push_back(&old->vehicle);
      }
      const bool known = old != before.vehicles.end() && old->vehicle == vehicle.vehicle;
      if (!known || has_moved(*old, vehicle)) {
        write_vehicle_move(json, vehicle);
        any = true;
      }
      if (known) ++old;
    }
    for (; old != before.vehicles.end(); ++old) lost.push_back(&old->vehicle);
    json.end_array();
    json.key("gone");
    json.begin_array();
    for (const VehicleId* id : lost) json.value(*id);
    json.end_array();
  });
  if (!any && lost.empty()) text.clear();
  return {"vehicles", std::move(text)};
}

std::string event_text(const EventContent& content, const Snapshot& snapshot) {
  return "id: " + std::to_string(snapshot.serial) + "\nevent: " + content.name +
         "\ndata: {\"now\":" + std::to_string(unix_seconds(snapshot.now)) + "," + content.members +
         "}\n\n";
}

}  // namespace qiv
