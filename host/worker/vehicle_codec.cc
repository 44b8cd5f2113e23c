#include "worker/vehicle_codec.h"

#include <cmath>

#include "qiv-stream.pb.h"
#include "worker/stream_key.h"

namespace qiv {
namespace {

constexpr const char* vehicle_kind = "vehicle";

std::int32_t days_of(ServiceDate day) {
  return static_cast<std::int32_t>(day.days().time_since_epoch().count());
}

}  // namespace

StreamMessage encode_vehicle(const VehicleState& state) {
  const Tracker::VehicleReport& said = state.said;
  stream::VehicleState wire;
  wire.set_status(static_cast<std::uint32_t>(said.status));
  wire.set_since(unix_seconds(said.since));
  wire.set_last_report(unix_seconds(said.last_report));
  if (said.trip) {
    wire.set_trip(said.trip->trip.text());
    wire.set_day(days_of(said.trip->day));
    if (said.trip->start != Seconds(0)) wire.set_start(said.trip->start.count());
  }
  if (said.confidence) wire.set_confidence(*said.confidence);
  StreamMessage message =
      make_message(position_key(state.agency, said.vehicle), wire.SerializeAsString(), state.when);
  message.headers[header::kind] = vehicle_kind;
  return message;
}

bool is_of_vehicle(const StreamMessage& message) {
  return header_of(message, header::kind) == vehicle_kind;
}

Decoded<VehicleState> decode_vehicle(const StreamMessage& message) {
  if (auto foreign = foreign_format(message)) return *std::move(foreign);
  const auto key = split_key(message.key);
  if (!key || key->size() != 2) return Undecodable{"the key is no vehicle's"};
  stream::VehicleState wire;
  if (!message.value || !wire.ParseFromString(*message.value)) {
    return Undecodable{"the bytes are no state of a vehicle"};
  }
  if (wire.status() > static_cast<std::uint32_t>(VehicleStatus::stale)) {
    return Undecodable{"the vehicle's status is not known here"};
  }
  VehicleState state;
  state.agency = AgencyId((*key)[0]);
  state.when = message.time;
  Tracker::VehicleReport& said = state.said;
  said.vehicle = VehicleId((*key)[1]);
  said.status = static_cast<VehicleStatus>(wire.status());
  said.since = from_unix_seconds(wire.since());
  said.last_report = from_unix_seconds(wire.last_report());
  if (!is_stream_time(said.since) || !is_stream_time(said.last_report)) {
    return Undecodable{"one of the vehicle's times is not between 1970 and 2200"};
  }
  if (wire.has_trip()) {
    const ServiceDate day{std::chrono::sys_days(std::chrono::days(wire.day()))};
    if (!is_stream_time(Instant(day.days()))) {
      return Undecodable{"one of the vehicle's times is not between 1970 and 2200"};
    }
    said.trip = TripKey{TripId(wire.trip()), day, Seconds(wire.start())};
  }
  if (wire.has_confidence() && std::isfinite(wire.confidence())) {
    said.confidence = wire.confidence();
  }
  return state;
}

}  // namespace qiv
