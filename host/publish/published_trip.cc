#include "publish/published_trip.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qiv {
namespace {

bool stops_match(const TripForecast& forecast, const ScheduledTrip& schedule,
                 const Network& network) {
  const auto& planned = network.pattern(schedule.pattern()).stops;
  const auto is_call = [&](std::size_t i, std::uint32_t stop, std::uint32_t sequence) {
    return stop == planned[i].stop && sequence == schedule.plan->call(i).sequence;
  };
  const std::vector<LegForecast>& legs = forecast.legs;
  if (legs.empty() && forecast.stops.size() != planned.size()) return false;
  if (!legs.empty() && legs.size() + 1 != planned.size()) return false;
  for (std::size_t i = 0; i < forecast.stops.size(); ++i) {
    if (!is_call(i, forecast.stops[i].stop, forecast.stops[i].stop_sequence)) return false;
  }
  for (std::size_t i = 0; i < legs.size(); ++i) {
    if (!is_call(i, legs[i].from, legs[i].from_sequence)) return false;
    if (!is_call(i + 1, legs[i].to, legs[i].to_sequence)) return false;
  }
  return true;
}

void raise(BoundedTime& bounded, Instant earliest) {
  bounded.time = std::max(bounded.time, earliest);
  bounded.lower_68 = std::min(bounded.lower_68, bounded.time);
  bounded.lower_90 = std::min(bounded.lower_90, bounded.lower_68);
  bounded.upper_68 = std::max(bounded.upper_68, bounded.time);
  bounded.upper_90 = std::max(bounded.upper_90, bounded.upper_68);
}

}  // namespace

std::optional<PublishedTrip> published_trip(const TripForecast& forecast, const Network& network,
                                            Rejections& withheld) {
  if (!forecast.legs.empty()) {
    withheld.add(withheld::no_arrivals, [&] { return to_string(forecast.trip); });
    return std::nullopt;
  }
  return published_trip_or_legs(forecast, network, withheld);
}

std::optional<PublishedTrip> published_trip_or_legs(const TripForecast& forecast,
                                                    const Network& network, Rejections& withheld) {
  if (forecast.stops.empty() && forecast.legs.empty()) return std::nullopt;
  const auto quote = [&] { return to_string(forecast.trip); };
  std::optional<ScheduledTrip> schedule = network.schedule(forecast.trip);
  if (!schedule) {
    withheld.add(withheld::unknown_trip, quote);
    return std::nullopt;
  }
  if (!network.runs_on(*schedule->plan, forecast.trip.day)) {
    withheld.add(withheld::not_in_service, quote);
    return std::nullopt;
  }
  if (!stops_match(forecast, *schedule, network)) {
    withheld.add(withheld::other_stops, quote);
    return std::nullopt;
  }
  return PublishedTrip{forecast, std::move(*schedule), in_order(forecast.stops)};
}

std::vector<StopForecast> in_order(std::vector<StopForecast> stops) {
  Instant earliest = Instant::min();
  for (StopForecast& stop : stops) {
    raise(stop.arrival, earliest);
    stop.departure = std::max(stop.departure, stop.arrival.time);
    earliest = stop.departure;
  }
  return stops;
}

bool is_repetition(const TripKey& trip, const Network& network) {
  return trip.start != Seconds(0) || network.trips_of(trip.trip).size() > 1;
}

}  // namespace qiv
