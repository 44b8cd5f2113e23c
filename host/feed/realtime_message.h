#pragma once

#include <google/protobuf/arena.h>
#include <gtfs-realtime.pb.h>

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "model/identifier.h"
#include "model/time.h"

namespace qiv {

/// A GTFS-realtime message, decoded one entity at a time, so that what is in memory is one entity
/// and not many times the message.
class RealtimeMessage {
 public:
  /// Finds header and entities in `bytes`, which must outlive the message.
  explicit RealtimeMessage(std::string_view bytes);

  /// False for what is no GTFS-realtime message.
  bool is_valid() const { return _is_valid; }
  bool states_time() const { return _states_time; }
  /// Time of the header, if it is stated and plausible.
  std::optional<Instant> time() const { return _time; }
  const std::vector<std::string_view>& entities() const { return _entities; }

  /// Decodes one of `entities`; nullptr if that fails. Valid until the next call.
  const transit_realtime::FeedEntity* decode(std::string_view entity);

 private:
  bool find_parts(std::string_view bytes);

  std::vector<std::string_view> _entities;
  bool _is_valid = false;
  bool _states_time = false;
  std::optional<Instant> _time;
  std::unique_ptr<char[]> _first_block;
  google::protobuf::Arena _arena;
};

/// The direction a descriptor states, if it is 0 or 1.
std::optional<int> stated_direction(const transit_realtime::TripDescriptor& trip);
/// Id or label.
VehicleId stated_vehicle(const transit_realtime::VehicleDescriptor& vehicle);

}  // namespace qiv
