#include "feed/siri_vm.h"

#include <pugixml.hpp>

#include <algorithm>
#include <string>

#include "feed/iso8601.h"
#include "feed/number.h"
#include "feed/position_collector.h"
#include "feed/quotation.h"

namespace qiv {
namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view activity_name = "VehicleActivity";
constexpr std::string_view delivery_name = "VehicleMonitoringDelivery";
constexpr std::size_t frame_date_length = 10;

std::string_view local_name(const pugi::xml_node& node) {
  const std::string_view name = node.name();
  return name.substr(name.find(':') + 1);  // without ':' this is the whole name
}

pugi::xml_node child(const pugi::xml_node& parent, std::string_view name) {
  return parent.find_child([&](const pugi::xml_node& node) { return local_name(node) == name; });
}

std::string_view trim(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text.substr(0, text.find_last_not_of(blanks) + 1);
}

std::string_view text(const pugi::xml_node& parent, std::string_view name) {
  return trim(child(parent, name).text().get());
}

// A time of the feed; nothing for what is no time with a zone, or an implausible one.
std::optional<Instant> time(std::string_view stated) {
  const auto instant = parse_iso8601(stated);
  return instant && is_plausible_time(*instant) ? instant : std::nullopt;
}

// The next node of a walk through the document that does not descend below `node` unless asked.
pugi::xml_node next_node(pugi::xml_node node, bool descend) {
  if (descend && node.first_child()) return node.first_child();
  while (node && !node.next_sibling()) node = node.parent();
  return node.next_sibling();
}

std::optional<StopStatus> status(std::string_view at_stop) {
  if (at_stop == "true" || at_stop == "True" || at_stop == "1") return StopStatus::stopped_at;
  if (at_stop == "false" || at_stop == "False" || at_stop == "0") return StopStatus::in_transit_to;
  return std::nullopt;
}

class SiriReader {
 public:
  SiriReader(PositionBatch& batch, const PositionOptions& options)
      : _batch(batch), _options(options), _collector(batch) {}

  void read(std::string_view bytes) {
    if (bytes.size() > _options.max_snapshot_bytes)
      return _collector.reject("snapshot too large", quote(""));
    pugi::xml_document document;
    const pugi::xml_parse_result parsed =
        document.load_buffer(bytes.data(), bytes.size(), pugi::parse_default);
    if (!parsed)
      return _collector.reject(
          "not an XML document",
          quote(std::string(parsed.description()) + " at byte " + std::to_string(parsed.offset)));
    bool has_delivery = false;
    for (pugi::xml_node node = document.first_child(); node;) {
      const bool is_activity = local_name(node) == activity_name;
      if (is_activity) add_activity(node);
      if (local_name(node) == delivery_name) has_delivery = true;
      if (local_name(node) == "ResponseTimestamp") _response_time = time(trim(node.text().get()));
      if (!_batch.time) _batch.time = _response_time;
      node = next_node(node, !is_activity);
    }
    if (!has_delivery && _batch.read == 0)
      _collector.reject("no VehicleMonitoringDelivery", quote(""));
  }

 private:
  PositionCollector::Quote quote(std::string content) const {
    return [this, content = std::move(content)] { return quotation(_options.name, content); };
  }

  void add_activity(const pugi::xml_node& activity) {
    const auto received = _options.received ? _options.received : _response_time;
    const std::string_view recorded = text(activity, "RecordedAtTime");
    bool empty = true;
    for (const pugi::xml_node& journey : activity.children()) {
      if (local_name(journey) != "MonitoredVehicleJourney") continue;
      empty = false;
      StatedPosition stated;
      stated.received = received;
      stated.has_time = !recorded.empty();
      stated.time = time(recorded);
      state_journey(journey, stated);
      const std::string content = "vehicle " + std::string(text(journey, "VehicleRef"));
      _collector.add(std::move(stated), quote(content));
    }
    if (empty)
      _collector.reject("activity without MonitoredVehicleJourney", quote(std::string(recorded)));
  }

  void state_journey(const pugi::xml_node& journey, StatedPosition& stated) const {
    VehiclePosition& position = stated.position;
    position.vehicle = VehicleId(identifier(text(journey, "VehicleRef")));
    position.route = RouteId(identifier(text(journey, "LineRef")));
    const std::string_view direction = text(journey, "DirectionRef");
    if (direction == "0" || direction == "1") position.direction = direction == "1" ? 1 : 0;

    const pugi::xml_node frame = child(journey, "FramedVehicleJourneyRef");
    stated.start_date = text(frame, "DataFrameRef").substr(0, frame_date_length);
    const std::string_view trip = text(frame, "DatedVehicleJourneyRef");
    position.trip = TripId(identifier(trip.empty() ? text(journey, "VehicleJourneyRef") : trip));

    const pugi::xml_node location = child(journey, "VehicleLocation");
    stated.has_place = !location.empty();
    stated.lat_deg = parse_number(text(location, "Latitude"));
    stated.lon_deg = parse_number(text(location, "Longitude"));
    stated.bearing_deg = parse_number(text(journey, "Bearing"));
    stated.speed_mps = parse_number(text(journey, "Velocity"));

    const pugi::xml_node call = child(journey, "MonitoredCall");
    position.stop = StopId(identifier(text(call, "StopPointRef")));
    position.stop_sequence = parse_integer<std::uint32_t>(text(call, "Order"));
    position.status = status(text(call, "VehicleAtStop"));
  }

  std::string identifier(std::string_view stated) const {
    for (const std::string& prefix : _options.strip_prefixes) {
      if (stated.starts_with(prefix)) return std::string(stated.substr(prefix.size()));
    }
    return std::string(stated);
  }

  PositionBatch& _batch;
  const PositionOptions& _options;
  PositionCollector _collector;
  std::optional<Instant> _response_time;  // the last one so far
};

}  // namespace

PositionBatch read_siri_vm(std::string_view bytes, const PositionOptions& options) {
  PositionBatch batch;
  SiriReader(batch, options).read(bytes);
  return batch;
}

}  // namespace qiv
