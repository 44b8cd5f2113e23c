#include <algorithm>
#include <array>
#include <utility>

#include "serve/api/names.h"
#include "serve/api/parameters.h"
#include "serve/api/route_tools.h"
#include "serve/api/trip_json.h"
#include "serve/api/vehicle_json.h"
#include "serve/http/error.h"

namespace qiv {
namespace {

constexpr long long usual_arrivals = 20;
constexpr long long most_arrivals = 200;
constexpr long long usual_trips = 1000;
constexpr long long most_trips = 100'000;
constexpr long long usual_weighed = 50;
constexpr long long most_weighed = 1000;
constexpr std::size_t most_topics = 50;

/// The value of a list that the query names, if any.
template <class Value, std::size_t n>
std::optional<Value> named(const Request& request, std::string_view name,
                           const std::array<Value, n>& values) {
  std::array<std::string_view, n> names;
  std::transform(values.begin(), values.end(), names.begin(),
                 [](Value value) { return std::string_view(api_name(value)); });
  const auto i = choice(request, name, names);
  return i ? std::optional(values[*i]) : std::nullopt;
}

std::string arrivals_json(const Outputs& outputs, const Request& request) {
  const std::uint32_t stop = stop_of(outputs.index(), request.parameter("stop_id"));
  ArrivalFilter filter;
  filter.limit = static_cast<std::size_t>(
      whole_number(request, "limit", 1, most_arrivals).value_or(usual_arrivals));
  const auto within = whole_number(request, "within_s", 0, 86'400);
  if (within) filter.within = Seconds(*within);
  filter.route = RouteId(request.query("route_id").value_or(""));
  JsonWriter json;
  json.begin_object();
  json.member("now", outputs.snapshot().now);
  write_arrivals(json, outputs, stop, filter);
  json.end_object();
  return json.take();
}

std::string vehicles_json(const Outputs& outputs, const Request& request) {
  const auto box = bounding_box(request, "bbox");
  const auto route = request.query("route_id");
  const auto status = named(request, "status", vehicle_statuses);
  JsonWriter json;
  json.begin_object();
  json.member("now", outputs.snapshot().now);
  json.key("vehicles");
  json.begin_array();
  for (const VehicleView& vehicle : outputs.snapshot().vehicles) {
    if (box && !(vehicle.place && box->contains(*vehicle.place))) continue;
    if (route && vehicle.route.text() != *route) continue;
    if (status && vehicle.status != *status) continue;
    write_vehicle(json, outputs, vehicle);
  }
  json.end_array();
  json.end_object();
  return json.take();
}

std::string vehicle_json(const Outputs& outputs, const Request& request) {
  const std::string& id = request.parameter("vehicle_id");
  const VehicleView* const vehicle = outputs.find_vehicle(VehicleId(id));
  if (vehicle == nullptr) {
    refuse_unknown("vehicle", id, "/api/v1/vehicles lists those that have reported lately.");
  }
  JsonWriter json;
  json.begin_object();
  json.member("now", outputs.snapshot().now);
  write_vehicle_detail(json, outputs, *vehicle);
  json.end_object();
  return json.take();
}

std::string trips_json(const Outputs& outputs, const Request& request) {
  const NetworkIndex& index = outputs.index();
  const auto limit =
      static_cast<std::size_t>(whole_number(request, "limit", 1, most_trips).value_or(usual_trips));
  const auto route = request.query("route_id");
  const auto pattern = request.query("pattern");
  const auto state = named(request, "state", trip_states);
  std::size_t total = 0;
  JsonWriter json;
  json.begin_object();
  json.member("now", outputs.snapshot().now);
  json.key("trips");
  json.begin_array();
  for (const TripForecast& forecast : outputs.snapshot().trips) {
    if (state && forecast.state != *state) continue;
    const auto trip = shown(forecast, index);
    if (!trip) continue;
    const JourneyPattern& of = index.network().pattern(trip->schedule.pattern());
    if ((route && of.route.text() != *route) || (pattern && of.ref.text() != *pattern)) continue;
    if (++total <= limit) write_trip_summary(json, *trip, outputs);
  }
  json.end_array();
  json.member("total", total);
  json.end_object();
  return json.take();
}

std::string trip_json(const Outputs& outputs, const Request& request) {
  const std::string& text = request.parameter("trip");
  const TripKey key = trip_of(outputs.index(), text);
  const TripForecast* const forecast = outputs.find_trip(key);
  const auto trip = forecast == nullptr ? std::nullopt : shown(*forecast, outputs.index());
  if (!trip) {
    throw HttpError(HttpErrorCode::not_found, "The trip '" + text + "' is not on display.",
                    "/api/v1/trips lists those that are.");
  }
  JsonWriter json;
  json.begin_object();
  json.member("now", outputs.snapshot().now);
  json.key("trip");
  write_trip(json, *trip, outputs);
  json.end_object();
  return json.take();
}

void add_why(Router& router, const ApiContext& context) {
  router.get(
      "/api/v1/why/{trip}",
      [current = context.current, why = context.why](const Request& request) {
        const OutputsPtr outputs = current();
        const auto limit = static_cast<std::size_t>(
            whole_number(request, "limit", 1, most_weighed).value_or(usual_weighed));
        const TripKey key = trip_of(outputs->index(), request.parameter("trip"));
        return Answer{
            200,
            make_blob(why_json(key, why(key), limit), "application/json", outputs->snapshot().now),
            {},
            {}};
      },
      RouteKind::slow);
}

std::vector<EventTopic> topics_of(const Request& request, const NetworkIndex& index) {
  std::vector<EventTopic> topics;
  for (const std::string& stop : request.query_all("stop")) {
    stop_of(index, stop);
    topics.push_back({EventTopic::Kind::stop, stop});
  }
  for (const std::string& trip : request.query_all("trip")) {
    trip_of(index, trip);
    topics.push_back({EventTopic::Kind::trip, trip});
  }
  for (const std::string& vehicle : request.query_all("vehicle")) {
    topics.push_back({EventTopic::Kind::vehicle, vehicle});
  }
  constexpr std::array<std::string_view, 1> all = {"all"};
  if (choice(request, "vehicles", all)) topics.push_back({EventTopic::Kind::all_vehicles, ""});
  std::sort(topics.begin(), topics.end());
  topics.erase(std::unique(topics.begin(), topics.end()), topics.end());
  if (topics.empty() || topics.size() > most_topics) {
    throw HttpError(HttpErrorCode::bad_parameter,
                    "The request follows " + std::to_string(topics.size()) + " things.",
                    "State from 1 to " + std::to_string(most_topics) +
                        " of stop=ID, trip=ID, vehicle=ID, vehicles=all.");
  }
  return topics;
}

void add_events(Router& router, const ApiContext& context) {
  router.get("/events", [current = context.current, hub = context.events,
                         most = context.max_queued_event_bytes](const Request& request) {
    std::vector<EventTopic> topics = topics_of(request, current()->index());
    Answer answer;
    answer.events = std::make_shared<EventStream>(most);
    answer.events->push(std::make_shared<const std::string>("retry: 3000\n\n"));
    if (request.method != "HEAD") hub->follow(std::move(topics), answer.events);
    return answer;
  });
}

}  // namespace

void add_live_routes(Router& router, const ApiContext& context) {
  add_live_json(router, context, "/api/v1/stops/{stop_id}/arrivals", arrivals_json);
  add_live_json(router, context, "/api/v1/vehicles", vehicles_json);
  add_live_json(router, context, "/api/v1/vehicles/{vehicle_id}", vehicle_json);
  add_live_json(router, context, "/api/v1/trips", trips_json);
  add_live_json(router, context, "/api/v1/trips/{trip}", trip_json);
  if (context.why) add_why(router, context);
  add_events(router, context);
}

}  // namespace qiv
