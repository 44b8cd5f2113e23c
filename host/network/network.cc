#include "network/network.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <tuple>

namespace qiv {
namespace {

using TimeSpan = std::pair<Seconds, Seconds>;

template <class Id>
std::optional<std::uint32_t> find_index(const std::unordered_map<Id, std::uint32_t>& map,
                                        const Id& id) {
  const auto entry = map.find(id);
  if (entry == map.end()) return std::nullopt;
  return entry->second;
}

void widen(std::optional<TimeSpan>& span, const TimeSpan& other) {
  span = span ? TimeSpan(std::min(span->first, other.first), std::max(span->second, other.second))
              : other;
}

/// First day of a service, from `from` on and in steps of `step`, at most until `until`.
std::optional<ServiceDate> search_weekly(const Service& service, ServiceDate from,
                                         ServiceDate until, std::chrono::days step) {
  const auto enough = 7 * (service.removed.size() + 1);
  ServiceDate day = from;
  for (std::size_t i = 0; i < enough; ++i, day = day + step) {
    if (service.runs_on(day)) return day;
    if (day == until) break;
  }
  return std::nullopt;
}

void widen_to_days_of(const Service& service,
                      std::optional<std::pair<ServiceDate, ServiceDate>>& days) {
  const auto include = [&](ServiceDate day) {
    days = days ? std::pair(std::min(days->first, day), std::max(days->second, day))
                : std::pair(day, day);
  };
  for (const ServiceDate day : service.added) {
    if (service.runs_on(day)) include(day);
  }
  if (!service.first || !service.last || *service.last < *service.first) return;
  const std::chrono::days one(1);
  if (const auto day = search_weekly(service, *service.first, *service.last, one)) include(*day);
  if (const auto day = search_weekly(service, *service.last, *service.first, -one)) include(*day);
}

/// How far `instant` lies outside of `begin` to `end`; 0 inside.
Seconds distance_to_span(Instant instant, Instant begin, Instant end) {
  if (instant < begin) return begin - instant;
  if (instant > end) return instant - end;
  return Seconds(0);
}

}  // namespace

std::optional<std::size_t> TripPlan::find_sequence(std::uint32_t sequence) const {
  const auto call =
      std::lower_bound(template_calls.begin(), template_calls.end(), sequence,
                       [](const Call& c, std::uint32_t wanted) { return c.sequence < wanted; });
  if (call == template_calls.end() || call->sequence != sequence) return std::nullopt;
  return static_cast<std::size_t>(call - template_calls.begin());
}

Network::Network(NetworkParts parts) : _parts(std::move(parts)) {
  for (std::uint32_t i = 0; i < _parts.stops.size(); ++i) {
    _stop_by_id.emplace(_parts.stops[i].id, i);
  }
  for (std::uint32_t i = 0; i < _parts.routes.size(); ++i) {
    _route_by_id.emplace(_parts.routes[i].id, i);
  }
  for (PatternIndex i = 0; i < _parts.patterns.size(); ++i) {
    _pattern_by_ref.emplace(_parts.patterns[i].ref, i);
    _patterns_of_route[_parts.patterns[i].route].push_back(i);
  }
  index_trips();
}

void Network::index_trips() {
  _trip_by_id.reserve(_parts.trips.size());
  for (const TripPlan& trip : _parts.trips) _trip_by_id.emplace(trip.id.text(), trip.index);
  _by_departure.resize(_parts.trips.size());
  std::iota(_by_departure.begin(), _by_departure.end(), TripIndex(0));
  const auto moment = [this](TripIndex i) {
    return std::tuple(_parts.trips[i].departure(), _parts.trips[i].arrival(), i);
  };
  std::sort(_by_departure.begin(), _by_departure.end(),
            [&](TripIndex a, TripIndex b) { return moment(a) < moment(b); });

  _trips_of_pattern.resize(_parts.patterns.size());
  _span_of_service.resize(_parts.services.size());
  std::optional<TimeSpan> reach;
  for (const TripIndex i : _by_departure) {
    const TripPlan& trip = _parts.trips[i];
    _trips_of_pattern[trip.pattern].push_back(i);
    if (!trip.block.empty()) _trips_of_block[trip.block].push_back(i);
    widen(_span_of_service[trip.service], {trip.departure(), trip.arrival()});
    widen(reach, {trip.departure(), trip.arrival()});
  }
  if (reach) _reach = *reach;
  for (std::size_t i = 0; i < _parts.services.size(); ++i) {
    if (_span_of_service[i]) widen_to_days_of(_parts.services[i], _days);
  }
}

std::optional<std::uint32_t> Network::find_stop(const StopId& id) const {
  return find_index(_stop_by_id, id);
}

const Route* Network::find_route(const RouteId& id) const {
  const auto index = find_index(_route_by_id, id);
  return index ? &_parts.routes[*index] : nullptr;
}

std::optional<PatternIndex> Network::find_pattern(const PatternRef& ref) const {
  return find_index(_pattern_by_ref, ref);
}

std::vector<PatternIndex> Network::patterns_of(const RouteId& route,
                                               std::optional<int> direction) const {
  const auto entry = _patterns_of_route.find(route);
  if (entry == _patterns_of_route.end()) return {};
  std::vector<PatternIndex> found = entry->second;
  if (direction) {
    std::erase_if(found, [&](PatternIndex i) { return pattern(i).direction != direction; });
  }
  return found;
}

std::span<const TripPlan> Network::trips_of(const TripId& id) const {
  const auto entry = _trip_by_id.find(id.text());
  if (entry == _trip_by_id.end()) return {};
  const auto first = _parts.trips.begin() + entry->second;
  const auto last =
      std::find_if(first, _parts.trips.end(), [&](const TripPlan& trip) { return trip.id != id; });
  return {first, last};
}

const TripPlan* Network::find_trip(const TripId& id, Seconds start) const {
  for (const TripPlan& trip : trips_of(id)) {
    if (trip.start == start) return &trip;
  }
  return nullptr;
}

const TripPlan* Network::nearest_repetition(const TripId& id, Seconds start) const {
  const TripPlan* nearest = nullptr;
  Seconds least = Seconds::max();
  for (const TripPlan& trip : trips_of(id)) {
    const Seconds away = std::chrono::abs(trip.start - start);
    if (away < least) {
      least = away;
      nearest = &trip;
    }
  }
  return nearest;
}

std::span<const TripIndex> Network::trips_of(PatternIndex pattern) const {
  return _trips_of_pattern[pattern];
}

bool Network::runs_on(const TripPlan& trip, ServiceDate day) const {
  return _parts.services[trip.service].runs_on(day);
}

std::vector<TripIndex> Network::trips_on(ServiceDate day) const {
  std::vector<bool> runs;
  for (const Service& service : _parts.services) runs.push_back(service.runs_on(day));
  std::vector<TripIndex> found;
  std::copy_if(_by_departure.begin(), _by_departure.end(), std::back_inserter(found),
               [&](TripIndex i) { return runs[_parts.trips[i].service]; });
  return found;
}

std::vector<TripIndex> Network::block_on(const BlockId& block, ServiceDate day) const {
  const auto entry = _trips_of_block.find(block);
  if (entry == _trips_of_block.end()) return {};
  std::vector<TripIndex> found = entry->second;
  std::erase_if(found, [&](TripIndex i) { return !runs_on(trip(i), day); });
  return found;
}

std::optional<ScheduledTrip> Network::schedule(const TripKey& key) const {
  const TripPlan* plan = find_trip(key.trip, key.start);
  if (plan == nullptr) return std::nullopt;
  return schedule(*plan, key.day);
}

ScheduledTrip Network::schedule(const TripPlan& trip, ServiceDate day) const {
  const auto key_of = [&](const TripPlan& plan) { return TripKey{plan.id, day, plan.start}; };
  ScheduledTrip scheduled{key_of(trip), &trip, clock().zero(day), std::nullopt, std::nullopt};
  const auto entry = _trips_of_block.find(trip.block);
  if (entry == _trips_of_block.end()) return scheduled;
  const std::vector<TripIndex>& block = entry->second;
  const auto here = std::find(block.begin(), block.end(), trip.index);
  const auto runs = [&](TripIndex i) { return runs_on(_parts.trips[i], day); };
  const auto before = std::find_if(std::make_reverse_iterator(here), block.rend(), runs);
  const auto after = std::find_if(here + 1, block.end(), runs);
  if (before != block.rend()) scheduled.previous = key_of(_parts.trips[*before]);
  if (after != block.end()) scheduled.next = key_of(_parts.trips[*after]);
  return scheduled;
}

std::optional<TimeSpan> Network::span_on(ServiceDate day) const {
  std::optional<TimeSpan> span;
  for (std::size_t i = 0; i < _parts.services.size(); ++i) {
    if (_span_of_service[i] && _parts.services[i].runs_on(day)) widen(span, *_span_of_service[i]);
  }
  return span;
}

std::vector<ServiceDate> Network::service_days(Instant instant, Seconds slack) const {
  using std::chrono::days;
  const ServiceDate today = clock().local_day(instant);
  const days back = std::chrono::ceil<days>(_reach.second + slack);
  const days ahead = std::chrono::ceil<days>(slack - _reach.first) + days(1);
  std::vector<ServiceDate> found;
  for (days i = -back; i <= ahead; ++i) {
    const ServiceDate day = today + i;
    const auto span = span_on(day);
    if (!span) continue;
    const Instant zero = clock().zero(day);
    const Seconds away = distance_to_span(instant, zero + span->first, zero + span->second);
    if (away <= slack) found.push_back(day);
  }
  return found;
}

std::optional<ServiceDate> Network::nearest_service_day(const TripPlan& trip,
                                                        Instant instant) const {
  using std::chrono::days;
  const ServiceDate today = clock().local_day(instant);
  const days back = std::chrono::ceil<days>(trip.arrival()) + days(1);
  std::optional<ServiceDate> nearest;
  Seconds least = Seconds::max();
  for (days i = -back; i <= days(2); ++i) {
    const ServiceDate day = today + i;
    if (!runs_on(trip, day)) continue;
    const Instant zero = clock().zero(day);
    const Seconds away = distance_to_span(instant, zero + trip.departure(), zero + trip.arrival());
    if (away < least) {
      least = away;
      nearest = day;
    }
  }
  return nearest;
}

}  // namespace qiv
