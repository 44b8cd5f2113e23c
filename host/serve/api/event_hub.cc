#include "serve/api/event_hub.h"

#include <algorithm>
#include <utility>

#include "serve/api/event_json.h"

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
    if (now != told) tell_all(told, now);
    for (const Newcomer& newcomer : newcomers) welcome(newcomer, *now);
    told = std::move(now);
  }
}

void EventHub::tell_all(const OutputsPtr& before, const OutputsPtr& now) {
  for (auto at = _followers.begin(); at != _followers.end();) {
    auto& [topic, followers] = *at;
    EventContent content;
    if (topic.kind == EventTopic::Kind::all_vehicles && before != nullptr) {
      content = vehicle_moves(before->snapshot(), now->snapshot());
      followers.content.clear();
    } else {
      content = event_content(topic, *now);
    }
    if (!content.members.empty() && content.members != followers.content) {
      const auto event = std::make_shared<const std::string>(event_text(content, now->snapshot()));
      std::erase_if(followers.streams, [&](const auto& stream) { return !stream->push(event); });
      followers.content = std::move(content.members);
    } else {
      std::erase_if(followers.streams, [](const auto& stream) { return stream->closed(); });
    }
    at = followers.streams.empty() ? _followers.erase(at) : std::next(at);
  }
}

void EventHub::welcome(const Newcomer& newcomer, const Outputs& now) {
  for (const EventTopic& topic : newcomer.topics) {
    EventContent content = event_content(topic, now);
    if (content.members.empty()) continue;  // a stop that the newest timetable does not have
    const auto event = std::make_shared<const std::string>(event_text(content, now.snapshot()));
    if (!newcomer.stream->push(event)) return;
    Followers& followers = _followers[topic];
    if (topic.kind != EventTopic::Kind::all_vehicles) {
      followers.content = std::move(content.members);
    }
    followers.streams.push_back(newcomer.stream);
  }
}

}  // namespace qiv
