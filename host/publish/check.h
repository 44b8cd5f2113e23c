#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gtfs-realtime.pb.h"
#include "model/time.h"
#include "network/network.h"

namespace qiv {

/// What a feed of trip updates is held to.
enum class FeedRule : std::uint8_t {
  version,            ///< the header states version 2.0
  incrementality,     ///< the header states that it is the full data set
  header_time,        ///< the header has a time, in seconds since 1970, of the last decades
  header_backwards,   ///< the header's time is not before that of the last message
  header_age,         ///< the header's time is near the clock's
  entity_id,          ///< every entity has an id of its own
  entity_kind,        ///< every entity is a trip update and none is deleted
  trip_id,            ///< the timetable has the trip
  trip_once,          ///< a trip on its day is there once only
  start_date,         ///< there is a start date, and the trip runs on it
  start_time,         ///< that of a repetition; otherwise, if any, the timetable's
  route_id,           ///< if stated, the route of the trip
  direction_id,       ///< if stated, the direction of the trip
  timestamp,          ///< there is one, not after the header's, and not long before it
  has_stops,          ///< there is a stop, unless the trip is cancelled
  stop_known,         ///< the trip calls at the stop with this sequence number and id
  stop_order,         ///< stops come in the order of the trip, each once
  stop_time_present,  ///< a scheduled stop has an arrival or a departure, with a time or a delay
  stop_time_absent,   ///< a stop without data, or skipped, has neither
  plausible_time,     ///< times are within a day of the timetable
  delay,              ///< the delay, if stated, is the time minus that of the timetable
  uncertainty,        ///< not negative
  dwell,              ///< the arrival is not after the departure
  times_increase,     ///< no time is before those of earlier stops
};

/// The rule's name, such as "times_increase".
const char* to_string(FeedRule rule);

struct FeedViolation {
  FeedRule rule{};
  std::string entity;  ///< its id; empty when the header is at fault
  std::string detail;  ///< which element, which value, which limit

  friend bool operator==(const FeedViolation&, const FeedViolation&) = default;
};

struct FeedCheckOptions {
  /// The clock; empty: the header's age is not checked.
  std::optional<Instant> now;
  /// The header's time may be this much before or after the clock.
  Seconds greatest_header_age{90};
  /// Time of the message before this one; empty: there is none.
  std::optional<Instant> previous_header;
  /// An update may be this much older than the header.
  Seconds greatest_entity_age{3600};
};

/// Holds a message to the rules above, so that what consumers would reject is not published.
/// Violations come in the order of the message. `network` is the timetable that the message names.
std::vector<FeedViolation> check_feed(const transit_realtime::FeedMessage& message,
                                      const Network& network, const FeedCheckOptions& options = {});

/// Holds one entity to the rules, whatever message it is in.
std::vector<FeedViolation> check_entity(const transit_realtime::FeedEntity& entity,
                                        const Network& network);

/// The rule `timestamp` alone, which is the only one about a trip that the header's time has a say
/// in: what is wrong with the timestamp of an update; nothing when it is right.
std::optional<std::string> timestamp_fault(std::uint64_t timestamp,
                                           std::optional<Instant> header_time,
                                           const FeedCheckOptions& options);

}  // namespace qiv
