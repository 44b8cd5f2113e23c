#include <algorithm>
#include <array>

#include "serve/api/network_json.h"
#include "serve/api/parameters.h"
#include "serve/api/route_tools.h"

namespace qiv {
namespace {

constexpr long long usual_stops = 100;
constexpr long long most_stops = 10'000;

std::string stops_json(const Outputs& outputs, const Request& request) {
  const NetworkIndex& index = outputs.index();
  const auto limit =
      static_cast<std::size_t>(whole_number(request, "limit", 1, most_stops).value_or(usual_stops));
  const std::vector<std::uint32_t> stops =
      index.find_stops(request.query("q").value_or(""), bounding_box(request, "bbox"));
  JsonWriter json;
  json.begin_object();
  json.key("stops");
  json.begin_array();
  for (std::size_t i = 0; i < std::min(limit, stops.size()); ++i) write_stop(json, index, stops[i]);
  json.end_array();
  json.member("total", stops.size());
  json.end_object();
  return json.take();
}

std::string stop_json(const Outputs& outputs, const Request& request) {
  JsonWriter json;
  write_stop(json, outputs.index(), stop_of(outputs.index(), request.parameter("stop_id")));
  return json.take();
}

std::string routes_json(const Outputs& outputs, const Request& /*request*/) {
  JsonWriter json;
  json.begin_object();
  json.key("routes");
  json.begin_array();
  for (const Route& route : outputs.index().network().routes()) {
    write_route(json, outputs.index(), route);
  }
  json.end_array();
  json.end_object();
  return json.take();
}

std::string route_json(const Outputs& outputs, const Request& request) {
  const std::string& id = request.parameter("route_id");
  const Route* const route = outputs.index().network().find_route(RouteId(id));
  if (route == nullptr) refuse_unknown("route", id, "/api/v1/routes lists the routes.");
  JsonWriter json;
  write_route(json, outputs.index(), *route);
  return json.take();
}

std::string patterns_json(const Outputs& outputs, const Request& request) {
  const Network& network = outputs.index().network();
  const auto route = request.query("route_id");
  JsonWriter json;
  json.begin_object();
  json.key("patterns");
  json.begin_array();
  for (PatternIndex i = 0; i < network.patterns().size(); ++i) {
    if (route && network.pattern(i).route.text() != *route) continue;
    write_pattern(json, outputs.index(), i);
  }
  json.end_array();
  json.end_object();
  return json.take();
}

std::string pattern_json(const Outputs& outputs, const Request& request) {
  constexpr std::array<std::string_view, 2> names = {"geojson", "polyline"};
  constexpr std::array forms = {PathForm::geojson, PathForm::polyline};
  const std::string& ref = request.parameter("pattern");
  const auto pattern = outputs.index().network().find_pattern(PatternRef(ref));
  if (!pattern) refuse_unknown("pattern", ref, "/api/v1/patterns lists the patterns.");
  JsonWriter json;
  json.begin_object();
  json.key("pattern");
  write_pattern(json, outputs.index(), *pattern,
                forms[choice(request, "geometry", names).value_or(0)]);
  json.end_object();
  return json.take();
}

Answer network_answer(const Outputs& outputs, const Request& request) {
  const NetworkIndex& index = outputs.index();
  Answer answer{200, index.geojson(), {}, {}};
  if (request.query("version") == index.version()) {
    answer.headers.emplace_back("Cache-Control", "public, max-age=31536000, immutable");
  }
  return answer;
}

}  // namespace

void add_timetable_routes(Router& router, const ApiContext& context) {
  add_timetable_json(router, context, "/api/v1/stops", stops_json);
  add_timetable_json(router, context, "/api/v1/stops/{stop_id}", stop_json);
  add_timetable_json(router, context, "/api/v1/routes", routes_json);
  add_timetable_json(router, context, "/api/v1/routes/{route_id}", route_json);
  add_timetable_json(router, context, "/api/v1/patterns", patterns_json);
  add_timetable_json(router, context, "/api/v1/patterns/{pattern}", pattern_json);
  router.get("/api/v1/network", [current = context.current](const Request& request) {
    return network_answer(*current(), request);
  });
}

}  // namespace qiv
