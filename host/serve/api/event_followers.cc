#include "serve/api/event_followers.h"

#include <string_view>
#include <utility>

#include "serve/api/event_json.h"
#include "serve/api/topic_changes.h"

namespace qiv {
namespace {

/// The members without the times at which forecasts were made: with them alone nothing is news.
std::string news_in(std::string members) {
  constexpr std::string_view name = "\"made\":";
  for (std::size_t at = members.find(name); at != std::string::npos; at = members.find(name, at)) {
    const std::size_t end = members.find_first_of(",}", at);
    members.erase(at, end == std::string::npos ? end : end - at);
  }
  return members;
}

}  // namespace

void EventFollowers::welcome(const std::vector<EventTopic>& topics,
                             const std::shared_ptr<EventStream>& stream, const Outputs& now) {
  for (const EventTopic& topic : topics) {
    EventContent content = event_content(topic, now);
    if (content.members.empty()) continue;  // a stop that the newest timetable does not have
    const auto event = std::make_shared<const std::string>(event_text(content, now.snapshot()));
    if (!stream->push(event)) return;
    Followers& followers = _followers[topic];
    if (topic.kind != EventTopic::Kind::all_vehicles) {
      followers.news = news_in(std::move(content.members));
    }
    followers.streams.push_back(stream);
  }
}

std::size_t EventFollowers::tell(const Outputs& before, const Outputs& now) {
  std::size_t written = 0;
  const TopicChanges changes(before, now);
  for (auto at = _followers.begin(); at != _followers.end();) {
    auto& [topic, followers] = *at;
    std::erase_if(followers.streams, [](const auto& stream) { return stream->closed(); });
    if (!followers.streams.empty() && changes.may_touch(topic)) {
      // Moves are told each time, even if they are those that were told before.
      const bool is_moves = topic.kind == EventTopic::Kind::all_vehicles;
      EventContent content =
          is_moves ? vehicle_moves(before.snapshot(), now.snapshot()) : event_content(topic, now);
      if (!content.members.empty()) ++written;
      std::string news = is_moves ? std::string() : news_in(content.members);
      if (!content.members.empty() && (is_moves || news != followers.news)) {
        const auto event = std::make_shared<const std::string>(event_text(content, now.snapshot()));
        std::erase_if(followers.streams, [&](const auto& stream) { return !stream->push(event); });
        followers.news = std::move(news);
      }
    }
    at = followers.streams.empty() ? _followers.erase(at) : std::next(at);
  }
  return written;
}

}  // namespace qiv
