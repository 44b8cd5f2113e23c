#pragma once

#include <string>

#include "gtfs-realtime.pb.h"
#include "model/time.h"

namespace qiv::testing {

/// A GTFS-realtime message with one vehicle.
inline std::string message_with(const std::string& vehicle, Instant header) {
  transit_realtime::FeedMessage message;
  message.mutable_header()->set_gtfs_realtime_version("2.0");
  message.mutable_header()->set_timestamp(static_cast<std::uint64_t>(unix_seconds(header)));
  auto& entity = *message.add_entity();
  entity.set_id("1");
  auto& position = *entity.mutable_vehicle();
  position.mutable_vehicle()->set_id(vehicle);
  position.mutable_trip()->set_trip_id("out");
  position.mutable_position()->set_latitude(0.0F);
  position.mutable_position()->set_longitude(0.001F);
  position.set_timestamp(static_cast<std::uint64_t>(unix_seconds(header)));
  return message.SerializeAsString();
}

}  // namespace qiv::testing
