#pragma once

#include <cstdint>
#include <string>

#include "serve/api/json_writer.h"
#include "serve/api/network_index.h"

namespace qiv {

// The JSON of a timetable. openapi.json describes the members.

/// One object: Stop.
void write_stop(JsonWriter& json, const NetworkIndex& index, std::uint32_t stop);
/// One object: Route.
void write_route(JsonWriter& json, const NetworkIndex& index, const Route& route);

enum class PathForm { none, geojson, polyline };

/// One object: PatternSummary, or with a form of its path Pattern, with its stops.
void write_pattern(JsonWriter& json, const NetworkIndex& index, PatternIndex pattern,
                   PathForm form = PathForm::none);

/// Paths, each once for a route and direction, then the stops that trips call at: Network.
std::string network_geojson(const NetworkIndex& index);

/// Places as an encoded polyline of five decimals: differences in base 64, as maps exchange them.
std::string encode_polyline(const std::vector<PathPoint>& path);

}  // namespace qiv
