#include "worker/position_codec.h"

#include <charconv>
#include <cmath>

#include "qiv-stream.pb.h"

namespace qiv {
namespace {

using Wire = transit_realtime::VehiclePosition;

constexpr const char* watermark_kind = "watermark";
constexpr long long longest_start_s = 999 * 3600;

void write_trip(const VehiclePosition& position, Wire& wire) {
  transit_realtime::TripDescriptor& trip = *wire.mutable_trip();
  if (!position.trip.empty()) trip.set_trip_id(position.trip.text());
  if (!position.route.empty()) trip.set_route_id(position.route.text());
  if (position.start_date) trip.set_start_date(position.start_date->to_string());
  if (position.start_time) trip.set_start_time(format_time_of_day(*position.start_time));
  if (position.direction && *position.direction >= 0) {
    trip.set_direction_id(static_cast<std::uint32_t>(*position.direction));
  }
}

void write_place(const VehiclePosition& position, Wire& wire) {
  if (!position.place) return;
  transit_realtime::Position& place = *wire.mutable_position();
  place.set_latitude(static_cast<float>(position.place->lat_deg));
  place.set_longitude(static_cast<float>(position.place->lon_deg));
  if (position.bearing_deg) place.set_bearing(static_cast<float>(*position.bearing_deg));
  if (position.speed_mps) place.set_speed(static_cast<float>(*position.speed_mps));
}

void write_stop(const VehiclePosition& position, Wire& wire) {
  if (!position.stop.empty()) wire.set_stop_id(position.stop.text());
  if (position.stop_sequence) wire.set_current_stop_sequence(*position.stop_sequence);
  if (!position.status) return;
  switch (*position.status) {
    case StopStatus::incoming_at:
      wire.set_current_status(Wire::INCOMING_AT);
      break;
    case StopStatus::stopped_at:
      wire.set_current_status(Wire::STOPPED_AT);
      break;
    case StopStatus::in_transit_to:
      wire.set_current_status(Wire::IN_TRANSIT_TO);
      break;
  }
}

void write_report(const VehiclePosition& position, qiv::stream::Report& report) {
  report.set_received(unix_seconds(position.received));
  report.set_time_is_received(position.time_is_received);
  if (position.place) {
    report.set_latitude(position.place->lat_deg);
    report.set_longitude(position.place->lon_deg);
  }
  if (position.bearing_deg) report.set_bearing(*position.bearing_deg);
  if (position.speed_mps) report.set_speed(*position.speed_mps);
  if (position.start_time) report.set_start_time(position.start_time->count());
  if (position.direction) report.set_direction(*position.direction);
}

void read_trip(const Wire& wire, VehiclePosition& position) {
  const transit_realtime::TripDescriptor& trip = wire.trip();
  position.trip = TripId(trip.trip_id());
  position.route = RouteId(trip.route_id());
  position.start_date = ServiceDate::parse(trip.start_date());
  position.start_time = parse_time_of_day(trip.start_time());
  if (trip.has_direction_id() && trip.direction_id() <= 1) {
    position.direction = static_cast<int>(trip.direction_id());
  }
}

void read_stop(const Wire& wire, VehiclePosition& position) {
  position.stop = StopId(wire.stop_id());
  if (wire.has_current_stop_sequence()) position.stop_sequence = wire.current_stop_sequence();
  if (!wire.has_current_status()) return;
  switch (wire.current_status()) {
    case Wire::INCOMING_AT:
      position.status = StopStatus::incoming_at;
      break;
    case Wire::STOPPED_AT:
      position.status = StopStatus::stopped_at;
      break;
    case Wire::IN_TRANSIT_TO:
      position.status = StopStatus::in_transit_to;
      break;
  }
}

void read_standard_place(const Wire& wire, VehiclePosition& position) {
  if (!wire.has_position()) return;
  position.place = LatLon{wire.position().latitude(), wire.position().longitude()};
  if (wire.position().has_bearing()) position.bearing_deg = wire.position().bearing();
  if (wire.position().has_speed()) position.speed_mps = wire.position().speed();
}

void read_report(const qiv::stream::Report& report, VehiclePosition& position) {
  if (report.has_received()) position.received = from_unix_seconds(report.received());
  position.time_is_received = report.time_is_received();
  if (report.has_latitude() && report.has_longitude()) {
    position.place = LatLon{report.latitude(), report.longitude()};
  }
  if (report.has_bearing()) position.bearing_deg = report.bearing();
  if (report.has_speed()) position.speed_mps = report.speed();
  if (report.has_start_time()) position.start_time = Seconds(report.start_time());
  if (report.has_direction()) position.direction = report.direction();
}

bool is_on_globe(const LatLon& place) {
  return std::abs(place.lat_deg) <= 90.0 && std::abs(place.lon_deg) <= 180.0;
}

/// What is wrong with a position; empty when nothing is.
std::string mistake_in(const VehiclePosition& position) {
  if (position.vehicle.empty()) return "the position names no vehicle";
  if (!is_stream_time(position.time) || !is_stream_time(position.received)) {
    return "the position's time is not between 1970 and 2200";
  }
  if (position.start_date && !is_stream_time(Instant(position.start_date->days()))) {
    return "the start date is not between 1970 and 2200";
  }
  if (position.place && !is_on_globe(*position.place)) return "the place is not on the globe";
  if (position.bearing_deg && !std::isfinite(*position.bearing_deg)) return "bearing is no number";
  if (position.speed_mps && !std::isfinite(*position.speed_mps)) return "speed is no number";
  if (position.start_time && std::abs(position.start_time->count()) > longest_start_s) {
    return "the start time is beyond 999 hours";
  }
  return "";
}

Decoded<std::variant<VehiclePosition, Watermark>> decode_watermark(const std::string& value) {
  long long seconds = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), seconds);
  if (error != std::errc() || end != value.data() + value.size() ||
      !is_stream_time(from_unix_seconds(seconds))) {
    return Undecodable{"the watermark is no time between 1970 and 2200"};
  }
  return Watermark{from_unix_seconds(seconds)};
}

}  // namespace

StreamMessage encode_position(const AgencyId& agency, const VehiclePosition& position) {
  Wire wire;
  write_trip(position, wire);
  write_place(position, wire);
  write_stop(position, wire);
  wire.mutable_vehicle()->set_id(position.vehicle.text());
  wire.set_timestamp(static_cast<std::uint64_t>(unix_seconds(position.time)));
  write_report(position, *wire.MutableExtension(stream::report));
  return make_message(position_key(agency, position.vehicle), wire.SerializeAsString(),
                      position.received);
}

StreamMessage encode_watermark(const Watermark& watermark) {
  StreamMessage message =
      make_message("", std::to_string(unix_seconds(watermark.now)), watermark.now);
  message.headers[header::kind] = watermark_kind;
  return message;
}

Decoded<std::variant<VehiclePosition, Watermark>> decode_position(const StreamMessage& message) {
  if (auto foreign = foreign_format(message)) return *std::move(foreign);
  if (!message.value) return Undecodable{"the message has no value"};
  const std::string kind = header_of(message, header::kind);
  if (kind == watermark_kind) return decode_watermark(*message.value);
  if (!kind.empty()) return Undecodable{"'" + kind.substr(0, 20) + "' is no kind of position"};
  Wire wire;
  if (!wire.ParseFromString(*message.value)) return Undecodable{"the bytes are no VehiclePosition"};
  VehiclePosition position;
  position.vehicle = VehicleId(wire.vehicle().id());
  position.received = message.time;
  read_trip(wire, position);
  read_standard_place(wire, position);
  read_stop(wire, position);
  read_report(wire.GetExtension(stream::report), position);
  position.time = position.received;
  if (wire.has_timestamp()) {
    position.time = from_unix_seconds(static_cast<long long>(wire.timestamp()));
  } else {
    position.time_is_received = true;
  }
  const std::string mistake = mistake_in(position);
  if (!mistake.empty()) return Undecodable{mistake};
  return position;
}

}  // namespace qiv
