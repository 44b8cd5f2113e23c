#include "publish/trip_updates.h"

#include <google/protobuf/text_format.h>

#include <set>
#include <stdexcept>
#include <utility>

#include "publish/published_trip.h"
#include "publish/trip_entity.h"

namespace qiv {

using transit_realtime::FeedMessage;

TripUpdateFeed trip_updates(std::span<const TripForecast> forecasts, const Network& network,
                            Instant time, const TripUpdateOptions& options) {
  TripUpdateFeed feed;
  write_header(network, time, *feed.message.mutable_header());
  std::set<TripKey> seen;
  for (const TripForecast& forecast : forecasts) {
    const auto trip = published_trip(forecast, network, feed.withheld);
    if (!trip) continue;
    if (!seen.insert(forecast.trip).second) {
      feed.withheld.add(withheld::second_forecast, [&] { return to_string(forecast.trip); });
      continue;
    }
    transit_realtime::FeedEntity entity;
    if (write_entity(*trip, network, time, options, entity)) {
      *feed.message.add_entity() = std::move(entity);
    }
  }
  return feed;
}

std::string to_bytes(const FeedMessage& message) {
  return message.SerializeAsString();
}

std::string to_text(const FeedMessage& message) {
  std::string text;
  if (!google::protobuf::TextFormat::PrintToString(message, &text)) {
    throw std::runtime_error("message cannot be written as text");
  }
  return text;
}

}  // namespace qiv
