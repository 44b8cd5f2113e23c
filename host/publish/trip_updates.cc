#include "publish/trip_updates.h"

#include <google/protobuf/text_format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <set>
#include <stdexcept>
#include <utility>

#include "publish/published_trip.h"

namespace qiv {
namespace {

using transit_realtime::FeedMessage;
using transit_realtime::TripDescriptor;
using transit_realtime::TripUpdate;
using StopTimeUpdate = TripUpdate::StopTimeUpdate;

std::int32_t to_int32(Seconds seconds) {
  using Limits = std::numeric_limits<std::int32_t>;
  const auto count = static_cast<long long>(seconds.count());
  return static_cast<std::int32_t>(std::clamp<long long>(count, Limits::min(), Limits::max()));
}

std::uint64_t to_timestamp(Instant instant) {
  return static_cast<std::uint64_t>(std::max(0LL, unix_seconds(instant)));
}

Seconds uncertainty(const StopForecast& stop) {
  if (stop.observed) return Seconds(0);
  const Seconds width = stop.arrival.upper_68 - stop.arrival.lower_68;
  return std::max(Seconds(1), (width + Seconds(1)) / 2);
}

void describe_trip(const PublishedTrip& trip, const Network& network, TripDescriptor& descriptor) {
  const TripKey& key = trip.forecast.trip;
  const JourneyPattern& pattern = network.pattern(trip.schedule.pattern());
  descriptor.set_trip_id(key.trip.text());
  descriptor.set_start_date(key.day.to_string());
  if (is_repetition(key, network)) {
    descriptor.set_start_time(format_time_of_day(key.start));
  } else {
    descriptor.set_schedule_relationship(TripDescriptor::SCHEDULED);
  }
  if (!pattern.route.empty()) descriptor.set_route_id(pattern.route.text());
  if (pattern.direction && *pattern.direction >= 0) {
    descriptor.set_direction_id(static_cast<std::uint32_t>(*pattern.direction));
  }
}

void set_event(TripUpdate::StopTimeEvent& event, Instant time, Instant scheduled,
               Seconds uncertain) {
  event.set_time(unix_seconds(time));
  event.set_delay(to_int32(time - scheduled));
  event.set_uncertainty(to_int32(uncertain));
}

/// Adds the stops of a trip to its update.
class StopTimeWriter {
 public:
  StopTimeWriter(const PublishedTrip& trip, const Network& network, TripUpdate& update)
      : _trip(trip), _network(network), _update(update) {}

  /// Returns false when there was nothing to say.
  bool write(Instant time, std::optional<Seconds> horizon) {
    bool any = false;
    for (std::size_t i = 0; i < _trip.stops.size(); ++i) {
      if (is_over(i, time)) continue;
      if (!_trip.stops[i].observed && horizon && _trip.stops[i].arrival.time > time + *horizon) {
        add_stop(i).set_schedule_relationship(StopTimeUpdate::NO_DATA);
        break;
      }
      write_times(i);
      any = true;
    }
    return any;
  }

 private:
  bool is_last(std::size_t i) const { return i + 1 == _trip.stops.size(); }

  bool is_over(std::size_t i, Instant time) const {
    if (!_trip.stops[i].observed) return false;
    return (is_last(i) ? _trip.schedule.arrival(i) : _trip.schedule.departure(i)) < time;
  }

  StopTimeUpdate& add_stop(std::size_t i) {
    StopTimeUpdate& update = *_update.add_stop_time_update();
    update.set_stop_sequence(_trip.stops[i].stop_sequence);
    update.set_stop_id(_network.stops()[_trip.stops[i].stop].id.text());
    return update;
  }

  void write_times(std::size_t i) {
    const StopForecast& stop = _trip.stops[i];
    StopTimeUpdate& update = add_stop(i);
    if (i != 0) {
      set_event(*update.mutable_arrival(), stop.arrival.time, _trip.schedule.arrival(i),
                uncertainty(stop));
    }
    if (!is_last(i)) {
      set_event(*update.mutable_departure(), stop.departure, _trip.schedule.departure(i),
                uncertainty(stop));
    }
  }

  const PublishedTrip& _trip;
  const Network& _network;
  TripUpdate& _update;
};

Instant timestamp(const TripForecast& forecast, Instant time) {
  const Instant known = forecast.position_time > Instant() ? forecast.position_time : forecast.made;
  return std::min(known, time);
}

void write_header(const Network& network, Instant time, FeedMessage& message) {
  message.mutable_header()->set_gtfs_realtime_version("2.0");
  message.mutable_header()->set_incrementality(transit_realtime::FeedHeader::FULL_DATASET);
  message.mutable_header()->set_timestamp(to_timestamp(time));
  if (!network.version().empty()) message.mutable_header()->set_feed_version(network.version());
}

}  // namespace

TripUpdateFeed trip_updates(std::span<const TripForecast> forecasts, const Network& network,
                            Instant time, const TripUpdateOptions& options) {
  TripUpdateFeed feed;
  write_header(network, time, feed.message);
  std::set<TripKey> seen;
  for (const TripForecast& forecast : forecasts) {
    const auto trip = published_trip(forecast, network, feed.withheld);
    if (!trip) continue;
    if (!seen.insert(forecast.trip).second) {
      feed.withheld.add(withheld::second_forecast, [&] { return to_string(forecast.trip); });
      continue;
    }
    TripUpdate update;
    if (!StopTimeWriter(*trip, network, update).write(time, options.horizon)) continue;
    describe_trip(*trip, network, *update.mutable_trip());
    if (!forecast.vehicle.empty()) update.mutable_vehicle()->set_id(forecast.vehicle.text());
    update.set_timestamp(to_timestamp(timestamp(forecast, time)));
    transit_realtime::FeedEntity& entity = *feed.message.add_entity();
    entity.set_id(to_string(forecast.trip));
    *entity.mutable_trip_update() = std::move(update);
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
