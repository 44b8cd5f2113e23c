#include "serve/api/event_hub.h"

#include <utility>

namespace qiv {

EventHub::EventHub() : _thread([this] { run(); }) {}

EventHub::~EventHub() {
  {
    const std::lock_guard lock(_mutex);
    _stopping = true;
  }
  _changed.notify_one();
  _thread.join();
}

void EventHub::follow(std::vector<EventTopic> topics, std::shared_ptr<EventStream> stream) {
  {
    const std::lock_guard lock(_mutex);
    _newcomers.push_back({std::move(topics), std::move(stream)});
  }
  _changed.notify_one();
}

void EventHub::publish(OutputsPtr outputs) {
  {
    const std::lock_guard lock(_mutex);
    _latest = std::move(outputs);
  }
  _changed.notify_one();
}

void EventHub::run() {
  OutputsPtr told;
  while (true) {
    OutputsPtr now;
    std::deque<Newcomer> newcomers;
    {
      std::unique_lock lock(_mutex);
      _changed.wait(lock, [&] {
        return _stopping || _latest != told || (_latest != nullptr && !_newcomers.empty());
      });
      if (_stopping) return;
      now = _latest;
      newcomers.swap(_newcomers);
    }
    if (told != nullptr && now != told) _followers.tell(*told, *now);
    for (const Newcomer& newcomer : newcomers) {
      _followers.welcome(newcomer.topics, newcomer.stream, *now);
    }
    told = std::move(now);
  }
}

}  // namespace qiv
