#include "serve/api/network_json.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>
#include <utility>

namespace qiv {
namespace {

// A tenth of a metre, and about a metre.
constexpr int place_decimals = 6;
constexpr int path_decimals = 5;

void write_position(JsonWriter& json, const LatLon& place, int decimals) {
  json.begin_array();
  json.value(Decimal{place.lon_deg, decimals});
  json.value(Decimal{place.lat_deg, decimals});
  json.end_array();
}

void write_line(JsonWriter& json, const std::vector<PathPoint>& path) {
  json.begin_object();
  json.member("type", "LineString");
  json.key("coordinates");
  json.begin_array();
  for (const PathPoint& point : path) write_position(json, point.place, path_decimals);
  json.end_array();
  json.end_object();
}

void write_routes_at(JsonWriter& json, const NetworkIndex& index, std::uint32_t stop) {
  json.key("routes");
  json.begin_array();
  for (const std::uint32_t route : index.routes_at(stop)) {
    json.value(index.network().routes()[route].id);
  }
  json.end_array();
}

void write_pattern_stops(JsonWriter& json, const Network& network, const JourneyPattern& pattern) {
  json.key("stops");
  json.begin_array();
  for (const PatternStop& at : pattern.stops) {
    const Stop& stop = network.stops()[at.stop];
    json.begin_object();
    json.member("stop_id", stop.id);
    json.member_or_null("stop_name", stop.name);
    json.member("lat", Decimal{stop.place.lat_deg, place_decimals});
    json.member("lon", Decimal{stop.place.lon_deg, place_decimals});
    json.member("offset_m", Decimal{at.offset_m, 1});
    json.end_object();
  }
  json.end_array();
}

void write_line_members(JsonWriter& json, const Route* route) {
  json.member_or_null("line", route == nullptr ? "" : line_name(*route));
  json.member_or_null("color", route == nullptr ? "" : route->color);
}

std::int64_t to_grid(double degrees) {
  return std::llround(degrees * 1e5);
}

/// What makes two patterns one line on a map.
using DrawnPath = std::tuple<RouteId, std::optional<int>, std::vector<std::pair<long, long>>>;

DrawnPath drawn_path(const JourneyPattern& pattern) {
  std::vector<std::pair<long, long>> points;
  for (const PathPoint& point : pattern.path) {
    const std::pair<long, long> at(to_grid(point.place.lon_deg), to_grid(point.place.lat_deg));
    if (points.empty() || points.back() != at) points.push_back(at);
  }
  return {pattern.route, pattern.direction, std::move(points)};
}

void write_path_feature(JsonWriter& json, const NetworkIndex& index,
                        const std::vector<PatternIndex>& patterns) {
  const JourneyPattern& first = index.network().pattern(patterns.front());
  const Route* const route = index.route(patterns.front());
  json.begin_object();
  json.member("type", "Feature");
  json.key("geometry");
  write_line(json, first.path);
  json.key("properties");
  json.begin_object();
  json.member("kind", "path");
  json.key("patterns");
  json.begin_array();
  for (const PatternIndex pattern : patterns) json.value(index.network().pattern(pattern).ref);
  json.end_array();
  json.member_or_null("route_id", first.route.text());
  write_line_members(json, route);
  json.member("route_type", route == nullptr ? std::nullopt : std::optional(route->type));
  json.member("direction_id", first.direction);
  json.end_object();
  json.end_object();
}

void write_stop_feature(JsonWriter& json, const NetworkIndex& index, std::uint32_t i) {
  const Stop& stop = index.network().stops()[i];
  json.begin_object();
  json.member("type", "Feature");
  json.key("geometry");
  json.begin_object();
  json.member("type", "Point");
  json.key("coordinates");
  write_position(json, stop.place, place_decimals);
  json.end_object();
  json.key("properties");
  json.begin_object();
  json.member("kind", "stop");
  json.member("stop_id", stop.id);
  json.member_or_null("name", stop.name);
  write_routes_at(json, index, i);
  json.end_object();
  json.end_object();
}

std::vector<std::uint32_t> stops_in_use(const Network& network) {
  std::vector<bool> used(network.stops().size(), false);
  for (const JourneyPattern& pattern : network.patterns()) {
    for (const PatternStop& stop : pattern.stops) used[stop.stop] = true;
  }
  std::vector<std::uint32_t> stops;
  for (std::uint32_t i = 0; i < used.size(); ++i) {
    if (used[i]) stops.push_back(i);
  }
  return stops;
}

void write_bounds(JsonWriter& json, const Network& network) {
  BoundingBox box{180.0, 90.0, -180.0, -90.0};
  const auto extend = [&box](const LatLon& place) {
    box.west = std::min(box.west, place.lon_deg);
    box.east = std::max(box.east, place.lon_deg);
    box.south = std::min(box.south, place.lat_deg);
    box.north = std::max(box.north, place.lat_deg);
  };
  for (const JourneyPattern& pattern : network.patterns()) {
    for (const PathPoint& point : pattern.path) extend(point.place);
    for (const PatternStop& stop : pattern.stops) extend(network.stops()[stop.stop].place);
  }
  json.key("bbox");
  json.begin_array();
  if (!network.patterns().empty()) {
    for (const double edge : {box.west, box.south, box.east, box.north}) {
      json.value(Decimal{edge, path_decimals});
    }
  }
  json.end_array();
}

}  // namespace

void write_stop(JsonWriter& json, const NetworkIndex& index, std::uint32_t stop) {
  const Stop& place = index.network().stops()[stop];
  json.begin_object();
  json.member("stop_id", place.id);
  json.member_or_null("name", place.name);
  json.member("lat", Decimal{place.place.lat_deg, place_decimals});
  json.member("lon", Decimal{place.place.lon_deg, place_decimals});
  write_routes_at(json, index, stop);
  json.end_object();
}

void write_route(JsonWriter& json, const NetworkIndex& index, const Route& route) {
  json.begin_object();
  json.member("route_id", route.id);
  json.member_or_null("short_name", route.short_name);
  json.member_or_null("long_name", route.long_name);
  json.member("type", route.type);
  json.member_or_null("color", route.color);
  json.key("patterns");
  json.begin_array();
  for (const PatternIndex pattern : index.network().patterns_of(route.id)) {
    json.value(index.network().pattern(pattern).ref);
  }
  json.end_array();
  json.end_object();
}

void write_pattern(JsonWriter& json, const NetworkIndex& index, PatternIndex i, PathForm form) {
  const JourneyPattern& pattern = index.network().pattern(i);
  json.begin_object();
  json.member("pattern", pattern.ref);
  json.member_or_null("route_id", pattern.route.text());
  write_line_members(json, index.route(i));
  json.member("direction_id", pattern.direction);
  json.member_or_null("headsign", index.headsign(i));
  json.member("length_m", Decimal{pattern.length_m(), 1});
  json.member("stop_count", pattern.stops.size());
  json.member("trips", index.network().trips_of(i).size());
  json.member("has_shape", pattern.has_shape);
  if (form != PathForm::none) write_pattern_stops(json, index.network(), pattern);
  if (form == PathForm::geojson) {
    json.key("geometry");
    write_line(json, pattern.path);
  } else if (form == PathForm::polyline) {
    json.member("polyline", encode_polyline(pattern.path));
  }
  json.end_object();
}

std::string network_geojson(const NetworkIndex& index) {
  const Network& network = index.network();
  std::map<DrawnPath, std::vector<PatternIndex>> paths;
  for (PatternIndex i = 0; i < network.patterns().size(); ++i) {
    paths[drawn_path(network.pattern(i))].push_back(i);
  }
  JsonWriter json;
  json.begin_object();
  json.member("type", "FeatureCollection");
  write_bounds(json, network);
  json.key("features");
  json.begin_array();
  for (const auto& [path, patterns] : paths) write_path_feature(json, index, patterns);
  for (const std::uint32_t stop : stops_in_use(network)) write_stop_feature(json, index, stop);
  json.end_array();
  json.end_object();
  return json.take();
}

std::string encode_polyline(const std::vector<PathPoint>& path) {
  std::string text;
  const auto append = [&text](std::int64_t difference) {
    auto bits = static_cast<std::uint64_t>(difference) << 1U;
    if (difference < 0) bits = ~bits;
    while (bits >= 0x20U) {
      text += static_cast<char>((0x20U | (bits & 0x1FU)) + 63U);
      bits >>= 5U;
    }
    text += static_cast<char>(bits + 63U);
  };
  std::int64_t lat = 0;
  std::int64_t lon = 0;
  for (const PathPoint& point : path) {
    const std::int64_t next_lat = to_grid(point.place.lat_deg);
    const std::int64_t next_lon = to_grid(point.place.lon_deg);
    append(next_lat - lat);
    append(next_lon - lon);
    lat = next_lat;
    lon = next_lon;
  }
  return text;
}

}  // namespace qiv
