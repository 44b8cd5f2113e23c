#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "serve/api/event_followers.h"
#include "serve/api/event_topic.h"
#include "serve/api/outputs.h"
#include "serve/http/event_stream.h"

namespace qiv {

/// Tells the readers of events what has changed, from a thread of its own. Safe to use from
/// several threads.
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

  void run();

  std::mutex _mutex;
  std::condition_variable _changed;
  OutputsPtr _latest;
  std::deque<Newcomer> _newcomers;
  bool _stopping = false;

  EventFollowers _followers;  ///< the thread's own
  std::thread _thread;
};

}  // namespace qiv
