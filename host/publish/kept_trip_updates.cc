#include "publish/kept_trip_updates.h"

#include <algorithm>
#include <map>
#include <utility>

#include "publish/published_trip.h"

namespace qiv {
namespace {

// An update's timestamp is the last of its fields, and the update that of its entity, so that it is
// what the entity's bytes end with: seven bits each, the last without the high bit. Between 1978
// and 3058 these are five.
constexpr std::size_t timestamp_bytes = 5;

bool has_usual_size(std::uint64_t timestamp) {
  return timestamp >= 1ULL << 28U && timestamp < 1ULL << 35U;
}

}  // namespace

KeptTripUpdates::Feed KeptTripUpdates::next(std::span<const TripForecast> forecasts,
                                            std::shared_ptr<const Network> network, Instant time,
                                            const FeedCheckOptions& check) {
  Feed feed;
  feed.header_violations = begin(std::move(network), time, check);
  std::vector<const Kept*> entities;
  entities.reserve(forecasts.size());
  std::map<std::string, FeedViolation> faulty;
  std::size_t size = _header.size();
  auto place = _kept.begin();
  for (const TripForecast& forecast : forecasts) {
    while (place != _kept.end() && place->first < forecast.trip) ++place;
    place = _kept.try_emplace(place, forecast.trip);
    const Kept* const kept = take(place->second, forecast, time, feed.withheld);
    if (kept == nullptr || kept->bytes.empty()) continue;
    ++feed.made;
    if (auto fault = fault_of(*kept, forecast.trip, time, check)) {
      std::string entity = fault->entity;
      faulty.emplace(std::move(entity), std::move(*fault));
    } else {
      entities.push_back(kept);
      size += kept->bytes.size();
    }
  }
  for (const auto& refused : faulty) {
    feed.withheld.add(std::string("fails the check: ") + to_string(refused.second.rule),
                      [&] { return refused.first + ": " + refused.second.detail; });
  }
  feed.trips = entities.size();
  feed.bytes.reserve(size);
  feed.bytes += _header;
  for (const Kept* const kept : entities) feed.bytes += kept->bytes;
  if (_kept.size() > forecasts.size()) {
    std::erase_if(_kept, [this](const auto& entry) { return entry.second.feed != _feed; });
  }
  return feed;
}

/// What is wrong with the header.
std::vector<FeedViolation> KeptTripUpdates::begin(std::shared_ptr<const Network> network,
                                                  Instant time, const FeedCheckOptions& check) {
  if (network != _network) _kept.clear();
  _network = std::move(network);
  ++_feed;
  transit_realtime::FeedMessage empty;
  write_header(*_network, time, *empty.mutable_header());
  _header = to_bytes(empty);
  return check_feed(empty, *_network, check);
}

/// The trip's entity, as it is in a feed of `time`; null when it is not to be published.
const KeptTripUpdates::Kept* KeptTripUpdates::take(Kept& kept, const TripForecast& forecast,
                                                   Instant time, Rejections& withheld) {
  if (kept.feed == _feed) {
    if (published_trip(forecast, *_network, withheld)) {
      withheld.add(withheld::second_forecast, [&] { return to_string(forecast.trip); });
    }
    return nullptr;
  }
  const std::uint64_t timestamp = entity_timestamp(forecast, time);
  const bool may_stay = is_current(kept, forecast, time) &&
                        (timestamp == kept.timestamp ||
                         (has_usual_size(timestamp) && has_usual_size(kept.timestamp)));
  if (may_stay) {
    restamp(kept, timestamp);
    kept.stops = forecast.stops;
  } else if (!make(kept, forecast, time, withheld)) {
    return nullptr;
  }
  kept.feed = _feed;
  return &kept;
}

bool KeptTripUpdates::is_current(const Kept& kept, const TripForecast& forecast, Instant time) {
  return kept.since <= time && time <= kept.until && forecast.legs.empty() &&
         kept.vehicle == forecast.vehicle && kept.state == forecast.state &&
         (kept.stops.shares_with(forecast.stops) || kept.news == news_of(in_order(forecast.stops)));
}

void KeptTripUpdates::restamp(Kept& kept, std::uint64_t timestamp) {
  if (kept.timestamp == timestamp || kept.bytes.empty()) return;
  kept.timestamp = timestamp;
  for (std::size_t i = kept.bytes.size() - timestamp_bytes; i < kept.bytes.size(); ++i) {
    const bool is_last = i + 1 == kept.bytes.size();
    kept.bytes[i] = static_cast<char>((timestamp & 0x7FU) | (is_last ? 0U : 0x80U));
    timestamp >>= 7U;
  }
}

/// False, and counted, when the trip is not to be published.
bool KeptTripUpdates::make(Kept& kept, const TripForecast& forecast, Instant time,
                           Rejections& withheld) {
  kept = {};
  const auto trip = published_trip(forecast, *_network, withheld);
  if (!trip) return false;
  kept.vehicle = forecast.vehicle;
  kept.state = forecast.state;
  kept.stops = forecast.stops;
  kept.news = news_of(trip->stops);
  transit_realtime::FeedEntity& entity = *_message.add_entity();
  const auto until = write_entity(*trip, *_network, time, _options, entity);
  if (until) {
    kept.since = time;
    kept.until = *until;
    kept.timestamp = entity.trip_update().timestamp();
    kept.bytes = _message.SerializePartialAsString();
    for (FeedViolation& violation : check_entity(entity, *_network)) {
      if (violation.rule == FeedRule::timestamp) continue;
      kept.fault = std::make_unique<FeedViolation>(std::move(violation));
      break;
    }
  }
  _message.mutable_entity()->RemoveLast();
  return true;
}

/// The first rule that the entity breaks. That no entity and no trip is there twice need not be
/// asked: forecasts of one trip are published once, and its key is the entity's id.
std::optional<FeedViolation> KeptTripUpdates::fault_of(const Kept& kept, const TripKey& trip,
                                                       Instant time,
                                                       const FeedCheckOptions& check) const {
  if (auto detail = timestamp_fault(kept.timestamp, time, check)) {
    return FeedViolation{FeedRule::timestamp, to_string(trip), std::move(*detail)};
  }
  if (kept.fault == nullptr) return std::nullopt;
  return *kept.fault;
}

}  // namespace qiv
