#pragma once

#include <string>

#include "serve/api/event_topic.h"
#include "serve/api/outputs.h"

namespace qiv {

/// An event before it is told: its name, and the members of its data beside `now`.
struct EventContent {
  const char* name = "";
  std::string members;  ///< such as `"stop":{...},"arrivals":[...]`

  friend bool operator==(const EventContent&, const EventContent&) = default;
};

/// How a topic is now. Arrivals at a stop are the next ten. Precondition: there is a network, which
/// has the stop of a topic of that kind.
EventContent event_content(const EventTopic& topic, const Outputs& outputs);

/// Which vehicles have moved, and which are gone; no members when none.
EventContent vehicle_moves(const Snapshot& before, const Snapshot& now);

/// The event as it goes over the line.
std::string event_text(const EventContent& content, const Snapshot& snapshot);

}  // namespace qiv
