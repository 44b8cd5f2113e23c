#include "engine/engine.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "engine/schedule_delay.h"

namespace qiv {

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
  if (_shards[shard_of(vehicle_of(event))]->apply(event)) note(event);
}

void Engine::note(const TrackEvent& event) {
  _roster.apply(event);
}

std::vector<TripForecast> Engine::forecasts(Instant now) {
  for (const TripKey& trip : _roster.changed(now)) place(trip, now);
  bring_up_to(now);
  std::vector<TripForecast> shown;
  shown.reserve(_board.rows().size());
  for (const auto& [trip, row] : _board.rows()) {
    if (const LiveTrip* const live = row.with_vehicle()) {
      shown.push_back(live->shown.as_of(now, live->last_seen));
    } else if (row.announced && !row.announced->shown.empty()) {
      shown.push_back(row.announced->shown.as_of(now, now));
    }
  }
  return shown;
}

/// Has every shard bring what it shows up to `now`: first the trips with vehicles, then the others,
/// which may wait for these.
void Engine::bring_up_to(Instant now) {
  struct Part {
    std::vector<LiveTrip*> live;
    std::vector<TripBoard::Row*> announced;
  };
  std::vector<Part> parts(_shards.size());
  for (auto& [trip, row] : _board.rows()) {
    if (LiveTrip* const live = row.with_vehicle()) parts[row.shard].live.push_back(live);
    if (row.announced) parts[row.shard].announced.push_back(&row);
  }
  _crew.together([&](std::size_t number) {
    for (LiveTrip* const live : parts[number].live) _shards[number]->show(*live, now);
  });
  _crew.together([&](std::size_t number) {
    for (TripBoard::Row* const row : parts[number].announced) {
      const LiveTrip* const previous = row->previous ? row->previous->with_vehicle() : nullptr;
      const Instant earliest = previous
                                   ? turned_around(row->announced->schedule, previous->shown.kept())
                                   : Instant::min();
      _shards[number]->show(*row->announced, earliest, now);
    }
  });
}

/// Puts the trip on the board, or takes it off.
void Engine::place(const TripKey& trip, Instant now) {
  if (auto live = shared_live(trip); live != nullptr && live->schedule.key == trip) {
    const std::size_t shard = shard_of(live->vehicle);
    _board.put(std::move(live), shard);
  } else if (const auto coming = _roster.announced(trip, now)) {
    _board.announce(*coming, shard_of_announced(*coming));
  } else {
    _board.remove(trip);
  }
}

std::optional<TripForecast> Engine::forecast(const TripKey& trip, Instant now) {
  if (const VehicleId* const leader = _roster.leader(trip)) {
    return _shards[shard_of(*leader)]->forecast(*leader, now);
  }
  const auto coming = _roster.announced(trip, now);
  if (!coming) return std::nullopt;
  const auto previous =
      coming->previous && live(*coming->previous) ? forecast(*coming->previous, now) : std::nullopt;
  AnnouncedTrip announced{*coming, std::nullopt, 0, {}};
  _shards[shard_of_announced(*coming)]->show(
      announced, previous ? turned_around(*coming, *previous) : Instant::min(), now);
  if (announced.shown.empty()) return std::nullopt;
  return announced.shown.as_of(now, now);
}

std::size_t Engine::shard_of_announced(const ScheduledTrip& trip) const {
  return trip.pattern() % _shards.size();
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
  return shared_live(trip).get();
}

std::shared_ptr<LiveTrip> Engine::shared_live(const TripKey& trip) const {
  const VehicleId* const leader = _roster.leader(trip);
  return leader == nullptr ? nullptr : _shards[shard_of(*leader)]->shared_live(*leader);
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
