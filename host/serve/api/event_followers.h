#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "serve/api/event_topic.h"
#include "serve/api/outputs.h"
#include "serve/http/event_stream.h"

namespace qiv {

/// Who follows which topic. What is told of a topic is written once for all of its readers, and
/// only when it may have changed: a topic at rest costs a comparison. For one thread.
class EventFollowers {
 public:
  /// Tells a reader how the topics are `now`; from then on it follows them. Precondition: there is
  /// a network, and nothing newer than `now` was told.
  void welcome(const std::vector<EventTopic>& topics, const std::shared_ptr<EventStream>& stream,
               const Outputs& now);

  /// Tells what has changed since `before`, and forgets the readers that are gone. Returns how many
  /// topics were written to find that out. Precondition: `before` was told or welcomed with last,
  /// and both have a network.
  std::size_t tell(const Outputs& before, const Outputs& now);

 private:
  struct Followers {
    std::string news;  ///< as last told
    std::vector<std::shared_ptr<EventStream>> streams;
  };

  std::map<EventTopic, Followers> _followers;
};

}  // namespace qiv
