#include "engine/engine.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

#include "engine/schedule_delay.h"

namespace qiv {
namespace {

bool by_trip(const TripForecast& a, const TripForecast& b) {
  return a.trip < b.trip;
}

const TripForecast* find(const std::vector<TripForecast>& sorted, const TripKey& trip) {
  const auto entry =
      std::lower_bound(sorted.begin(), sorted.end(), trip,
                       [](const TripForecast& f, const TripKey& key) { return f.trip < key; });
  return entry == sorted.end() || entry->trip != trip ? nullptr : &*entry;
}

/// The forecasts that each part gives, as one list in the order of trips.
template <class Part>
std::vector<TripForecast> gather(Crew& crew, const Part& part) {
  std::vector<std::vector<TripForecast>> parts(crew.size());
  crew.together([&](std::size_t number) { parts[number] = part(number); });
  std::vector<TripForecast> all = std::move(parts.front());
  for (std::size_t i = 1; i < parts.size(); ++i) {
    std::move(parts[i].begin(), parts[i].end(), std::back_inserter(all));
  }
  std::sort(all.begin(), all.end(), by_trip);
  return all;
}

}  // namespace

Engine::Engine(const Network& network, const LearnedSettings& settings, HistorySource history,
               EngineOptions options)
    : _settings(settings),
      _options(options),
      _roster(network, options.announce, options.ghost_patience),
      _crew(std::max<std::size_t>(options.shards, 1)) {
  const HistorySource one_by_one = [this, history = std::move(history)](PatternIndex pattern,
                                                                        const Grid& grid) {
    const std::lock_guard lock(_history_mutex);
    return history(pattern, grid);
  };
  for (std::size_t i = 0; i < _crew.size(); ++i) {
    _shards.push_back(std::make_unique<EngineShard>(network, settings, one_by_one, options));
  }
}

std::size_t Engine::shard_of(const VehicleId& vehicle) const {
  return _shards.size() == 1 ? 0 : std::hash<VehicleId>()(vehicle) % _shards.size();
}

void Engine::apply(const TrackEvent& event) {
  _shards[shard_of(vehicle_of(event))]->apply(event);
  note(event);
}

void Engine::note(const TrackEvent& event) {
  _roster.apply(event);
}

std::vector<TripForecast> Engine::forecasts(Instant now) {
  std::vector<TripForecast> shown = gather(_crew, [&](std::size_t number) {
    return _shards[number]->forecasts(
        now, [&](const LiveTrip& trip) { return _roster.leads(trip.vehicle, trip.schedule.key); });
  });
  const std::vector<ScheduledTrip> coming = _roster.announced(now);
  std::vector<TripForecast> announced = gather(_crew, [&](std::size_t number) {
    std::vector<TripForecast> part;
    for (const ScheduledTrip& trip : coming) {
      if (trip.pattern() % _shards.size() != number) continue;
      const TripForecast* const previous = trip.previous ? find(shown, *trip.previous) : nullptr;
      const Instant earliest =
          previous == nullptr ? Instant::min() : turned_around(trip, *previous);
      auto forecast = _shards[number]->announce(trip, earliest, now);
      if (forecast) part.push_back(std::move(*forecast));
    }
    return part;
  });
  const auto middle = static_cast<std::ptrdiff_t>(shown.size());
  std::move(announced.begin(), announced.end(), std::back_inserter(shown));
  std::inplace_merge(shown.begin(), shown.begin() + middle, shown.end(), by_trip);
  return shown;
}

std::optional<TripForecast> Engine::forecast(const TripKey& trip, Instant now) {
  if (const VehicleId* const leader = _roster.leader(trip)) {
    return _shards[shard_of(*leader)]->forecast(*leader, now);
  }
  for (const ScheduledTrip& coming : _roster.announced(now)) {
    if (coming.key != trip) continue;
    const auto previous =
        coming.previous && live(*coming.previous) ? forecast(*coming.previous, now) : std::nullopt;
    const Instant earliest = previous ? turned_around(coming, *previous) : Instant::min();
    return _shards[coming.pattern() % _shards.size()]->announce(coming, earliest, now);
  }
  return std::nullopt;
}

/// When the vehicle of the trip before has arrived and turned around, as far as arrivals are
/// forecast and it is under way.
Instant Engine::turned_around(const ScheduledTrip& trip, const TripForecast& previous) const {
  const bool is_moving =
      previous.state == TripState::under_way || previous.state == TripState::overdue;
  if (_options.mode == ForecastMode::travel || !is_moving || previous.stops.empty()) {
    return Instant::min();
  }
  return std::max(trip.first_departure(),
                  previous.stops.back().arrival.time + _settings.turnaround);
}

bool Engine::learn_from(const TripRun& run, Instant finished) {
  bool is_learned = false;
  for (const auto& shard : _shards) is_learned = shard->learn_from(run, finished);
  return is_learned;
}

const LiveTrip* Engine::live(const TripKey& trip) const {
  const VehicleId* const leader = _roster.leader(trip);
  return leader == nullptr ? nullptr : _shards[shard_of(*leader)]->live(*leader);
}

std::optional<Explanation> Engine::explain_trip(const TripKey& trip) {
  const LiveTrip* const found = live(trip);
  if (found == nullptr) return std::nullopt;
  return explain(*found, *found->desk);
}

std::optional<double> Engine::delay_s(const TripKey& trip) {
  const LiveTrip* const found = live(trip);
  if (found == nullptr || found->places.empty()) return std::nullopt;
  return schedule_delay_s(*found, found->desk->grid());
}

Rejections Engine::rejections() const {
  Rejections all = _shards.front()->rejected_trips();
  for (const auto& shard : _shards) all.merge(shard->rejected_reports());
  return all;
}

}  // namespace qiv
