#pragma once

#include <compare>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "serve/api/outputs.h"
#include "serve/http/event_stream.h"

namespace qiv {

/// What a reader of events follows.
struct EventTopic {
  enum class Kind : std::uint8_t { stop, trip, vehicle, all_vehicles };
  Kind kind = Kind::all_vehicles;
  std::string id;  ///< as in the request; empty for all vehicles

  friend auto operator<=>(const EventTopic&, const EventTopic&) = default;
};

/// Tells the readers of events what has changed, from a thread of its own. What is told of a topic
/// is written once for all of its readers. Safe to use from several threads.
class EventHub {
 public:
  EventHub();
  EventHub(const EventHub&) = delete;
  EventHub& operator=(const EventHub&) = delete;
  ~EventHub();

  /// From now on `stream` is told of the topics: first how they are, then what changes.
  void follow(std::vector<EventTopic> topics, std::shared_ptr<EventStream> stream);

  /// What is shown from now on. Returns at once; what was not told yet is passed over.
  void publish(OutputsPtr outputs);

 private:
  struct Newcomer {
    std::vector<EventTopic> topics;
    std::shared_ptr<EventStream> stream;
  };
  struct Followers {
    std::string content;  ///< as last told
    std::vector<std::shared_ptr<EventStream>> streams;
  };

  void run();
  void tell_all(const OutputsPtr& before, const OutputsPtr& now);
  void welcome(const Newcomer& newcomer, const Outputs& now);

  std::mutex _mutex;
  std::condition_variable _changed;
  OutputsPtr _latest;
  std::deque<Newcomer> _newcomers;
  bool _stopping = false;

  std::map<EventTopic, Followers> _followers;  ///< the thread's own
  std::thread _thread;
};

}  // namespace qiv
