#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "host/feed/realtime_text.h"
#include "host/feed/temporary_folder.h"
#include "host/support/straight_line.h"

namespace qiv::testing {

/// A snapshot of trip updates whose header says `time` of monday; `entities` as text.
inline std::string snapshot(const std::string& time, const std::string& entities) {
  return message_of("header { gtfs_realtime_version: \"2.0\" timestamp: " +
                    std::to_string(unix_seconds(at(time))) + " } " + entities);
}

/// An entity that predicts for one trip; `update` is what stands behind the trip's descriptor.
inline std::string entity(const std::string& trip, const std::string& update) {
  return "entity { id: \"" + trip + "\" trip_update { trip { trip_id: \"" + trip +
         "\" start_date: \"20250303\" } " + update + " } } ";
}

/// "arrival { time: ... }", of a clock time of monday.
inline std::string arrival_at(const std::string& time) {
  return "arrival { time: " + std::to_string(unix_seconds(at(time))) + " }";
}

}  // namespace qiv::testing
