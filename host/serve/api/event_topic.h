#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace qiv {

/// What a reader of events follows.
struct EventTopic {
  enum class Kind : std::uint8_t { stop, trip, vehicle, all_vehicles };
  Kind kind = Kind::all_vehicles;
  std::string id;  ///< as in the request; empty for all vehicles

  friend auto operator<=>(const EventTopic&, const EventTopic&) = default;
};

}  // namespace qiv
