#include "feed/json_positions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

#include "feed/iso8601.h"
#include "feed/position_collector.h"

namespace qiv {
namespace {

using nlohmann::json;

constexpr std::array<const char*, 14> known_fields = {
    "vehicle", "trip", "route", "direction", "start_date", "start_time",    "time",
    "lat",     "lon",  "speed", "bearing",   "stop",       "stop_sequence", "status"};
constexpr int deepest_nesting = 32;
/// From here on a number is milliseconds: as seconds it would be in the year 5138.
constexpr double least_milliseconds = 1e11;

/// The value that the pointer leads to; null where there is none. A pointer that fits every object
/// may still be none for a list, such as "/", or "/01".
const json* value_at(const json& value, const std::string& pointer) {
  try {
    const json::json_pointer path(pointer);
    return value.contains(path) ? &value.at(path) : nullptr;
  } catch (const json::exception&) {
    return nullptr;
  }
}

/// One message, field by field.
class Message {
 public:
  Message(const json& value, const JsonFields& fields) : _value(value), _fields(fields) {}

  const json* find(const char* field) const {
    const auto entry = _fields.pointers.find(field);
    if (entry == _fields.pointers.end()) return nullptr;
    const json* const value = value_at(_value, entry->second);
    return value == nullptr || value->is_null() ? nullptr : value;
  }

  std::string text(const char* field) const {
    const json* const value = find(field);
    if (value == nullptr) return "";
    if (value->is_string()) return value->get<std::string>();
    return value->is_number_integer() ? value->dump() : "";
  }

  std::optional<double> number(const char* field) const {
    const json* const value = find(field);
    if (value == nullptr) return std::nullopt;
    if (value->is_number()) return value->get<double>();
    if (!value->is_string()) return std::nullopt;
    const auto& words = value->get_ref<const std::string&>();
    char* end = nullptr;
    const double read = std::strtod(words.c_str(), &end);
    return words.empty() || *end != '\0' ? std::nullopt : std::optional(read);
  }

  std::optional<std::uint32_t> count(const char* field) const {
    const auto value = number(field);
    if (!value || !(*value >= 0.0) || *value > std::numeric_limits<std::uint32_t>::max()) {
      return std::nullopt;
    }
    return static_cast<std::uint32_t>(*value);
  }

  std::optional<Instant> time() const {
    if (const json* const value = find("time"); value != nullptr && value->is_string()) {
      if (const auto time = parse_iso8601(value->get_ref<const std::string&>())) {
        return is_plausible_time(*time) ? time : std::nullopt;
      }
    }
    const auto seconds = number("time");
    if (!seconds || !std::isfinite(*seconds)) return std::nullopt;
    const double scale = *seconds >= least_milliseconds ? 1e-3 : 1.0;
    if (!(std::abs(*seconds * scale) < least_milliseconds)) return std::nullopt;
    return plausible_instant(static_cast<long long>(*seconds * scale));
  }

  std::optional<StopStatus> status() const {
    const std::string name = text("status");
    if (name == "INCOMING_AT" || name == "0") return StopStatus::incoming_at;
    if (name == "STOPPED_AT" || name == "1") return StopStatus::stopped_at;
    if (name == "IN_TRANSIT_TO" || name == "2") return StopStatus::in_transit_to;
    return std::nullopt;
  }

 private:
  const json& _value;
  const JsonFields& _fields;
};

void collect(const json& value, const JsonFields& fields, const PositionOptions& options,
             PositionCollector& collector) {
  const auto quote = [&] {
    return options.name + ": " +
           value.dump(-1, ' ', false, json::error_handler_t::replace).substr(0, 200);
  };
  if (!value.is_object() && !value.is_array()) {
    collector.reject("position is no object", quote);
    return;
  }
  const Message message(value, fields);
  StatedPosition stated;
  VehiclePosition& position = stated.position;
  position.vehicle = VehicleId(message.text("vehicle"));
  position.trip = TripId(message.text("trip"));
  position.route = RouteId(message.text("route"));
  position.stop = StopId(message.text("stop"));
  position.stop_sequence = message.count("stop_sequence");
  position.status = message.status();
  if (const auto direction = message.count("direction"); direction && *direction <= 1) {
    position.direction = static_cast<int>(*direction);
  }
  stated.received = options.received;
  stated.has_time = message.find("time") != nullptr;
  stated.time = message.time();
  stated.lat_deg = message.number("lat");
  stated.lon_deg = message.number("lon");
  stated.has_place = message.find("lat") != nullptr || message.find("lon") != nullptr;
  stated.bearing_deg = message.number("bearing");
  stated.speed_mps = message.number("speed");
  std::string start_date = message.text("start_date");
  std::erase(start_date, '-');
  const std::string start_time = message.text("start_time");
  stated.start_date = start_date;
  stated.start_time = start_time;
  collector.add(std::move(stated), quote);
}

bool is_pointer(const std::string& text) {
  try {
    const json::json_pointer pointer(text);
    return true;
  } catch (const json::exception&) {
    return false;
  }
}

}  // namespace

std::string mistake_in(const JsonFields& fields) {
  for (const auto& [field, pointer] : fields.pointers) {
    if (std::find(known_fields.begin(), known_fields.end(), field) == known_fields.end()) {
      return "unknown field '" + field + "'";
    }
    if (!is_pointer(pointer)) {
      return field + ": '" + pointer + "' is no JSON pointer: write '/name' or '/outer/inner'";
    }
  }
  if (!is_pointer(fields.list)) return "list: '" + fields.list + "' is no JSON pointer";
  const auto has = [&](const char* field) { return fields.pointers.contains(field); };
  if (!(has("lat") && has("lon")) && !has("stop") && !has("stop_sequence")) {
    return "no field tells where a vehicle is: give lat and lon, or stop, or stop_sequence";
  }
  return "";
}

PositionBatch read_json_positions(std::string_view bytes, const JsonFields& fields,
                                  const PositionOptions& options) {
  PositionBatch batch;
  PositionCollector collector(batch);
  const auto reject = [&](std::string_view reason) {
    collector.reject(reason, [&] { return options.name; });
    return batch;
  };
  if (bytes.size() > options.max_snapshot_bytes) return reject("message too large");
  bool too_deep = false;
  const auto watch_depth = [&](int depth, json::parse_event_t, json&) {
    too_deep = too_deep || depth > deepest_nesting;
    return !too_deep;
  };
  const json message = json::parse(bytes, watch_depth, false);
  if (too_deep) return reject("message nested too deeply");
  if (message.is_discarded()) return reject("message is no JSON");
  const json* const positions = value_at(message, fields.list);
  if (positions == nullptr) return reject("message has no list of positions");
  if (!positions->is_array()) {
    collect(*positions, fields, options, collector);
    return batch;
  }
  for (const json& position : *positions) collect(position, fields, options, collector);
  return batch;
}

}  // namespace qiv
