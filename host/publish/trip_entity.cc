#include "publish/trip_entity.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace qiv {
namespace {

using transit_realtime::FeedEntity;
using transit_realtime::FeedHeader;
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
  if (trip.forecast.state == TripState::canceled) {
    descriptor.set_schedule_relationship(TripDescriptor::CANCELED);
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

  /// Returns until when the stops stay as they are written; nothing when there was nothing to say.
  std::optional<Instant> write(Instant time, std::optional<Seconds> horizon) {
    std::optional<Instant> until;
    for (std::size_t i = 0; i < _trip.stops.size(); ++i) {
      const StopForecast& stop = _trip.stops[i];
      if (stop.observed && over_after(i) < time) continue;
      if (!stop.observed && horizon && stop.arrival.time > time + *horizon) {
        add_stop(i).set_schedule_relationship(StopTimeUpdate::NO_DATA);
        if (until) until = std::min(*until, stop.arrival.time - *horizon - Seconds(1));
        break;
      }
      if (stop.skipped) {
        add_stop(i).set_schedule_relationship(StopTimeUpdate::SKIPPED);
      } else {
        write_times(i);
      }
      until =
          std::min(until.value_or(Instant::max()), stop.observed ? over_after(i) : Instant::max());
    }
    return until;
  }

 private:
  bool is_last(std::size_t i) const { return i + 1 == _trip.stops.size(); }

  /// A stop that has been passed is shown until then.
  Instant over_after(std::size_t i) const {
    return is_last(i) ? _trip.schedule.arrival(i) : _trip.schedule.departure(i);
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

}  // namespace

std::vector<StopNews> news_of(const std::vector<StopForecast>& stops) {
  std::vector<StopNews> news;
  news.reserve(stops.size());
  for (const StopForecast& stop : stops) {
    news.push_back({stop.stop, stop.stop_sequence, stop.observed, stop.skipped, stop.arrival.time,
                    stop.departure, uncertainty(stop)});
  }
  return news;
}

std::optional<Instant> write_entity(const PublishedTrip& trip, const Network& network, Instant time,
                                    const TripUpdateOptions& options, FeedEntity& entity) {
  TripUpdate& update = *entity.mutable_trip_update();
  const bool is_canceled = trip.forecast.state == TripState::canceled;
  const auto until = is_canceled
                         ? std::optional(Instant::max())
                         : StopTimeWriter(trip, network, update).write(time, options.horizon);
  if (!until) return std::nullopt;
  entity.set_id(to_string(trip.forecast.trip));
  describe_trip(trip, network, *update.mutable_trip());
  if (!trip.forecast.vehicle.empty()) {
    update.mutable_vehicle()->set_id(trip.forecast.vehicle.text());
  }
  update.set_timestamp(entity_timestamp(trip.forecast, time));
  return until;
}

std::uint64_t entity_timestamp(const TripForecast& forecast, Instant time) {
  const Instant known = forecast.position_time > Instant() ? forecast.position_time : forecast.made;
  return to_timestamp(std::min(known, time));
}

void write_header(const Network& network, Instant time, FeedHeader& header) {
  header.set_gtfs_realtime_version("2.0");
  header.set_incrementality(FeedHeader::FULL_DATASET);
  header.set_timestamp(to_timestamp(time));
  if (!network.version().empty()) header.set_feed_version(network.version());
}

}  // namespace qiv
