#include "engine/tracked_engine.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <variant>

namespace qiv {
namespace {

/// Below this number of positions threads cost more than they bring.
constexpr std::size_t fewest_for_threads = 32;

Instant time_of(const TrackEvent& event, Instant otherwise) {
  const auto* const ended = std::get_if<TripEnded>(&event);
  return ended == nullptr ? otherwise : ended->received;
}

}  // namespace

TrackedEngine::TrackedEngine(const Network& network, const LearnedSettings& settings,
                             HistorySource history, const TrackOptions& track,
                             const EngineOptions& engine)
    : _engine(network, settings, std::move(history), engine) {
  for (std::size_t i = 0; i < _engine.crew().size(); ++i) {
    _shards.push_back({Tracker(network, track), {}, {}});
  }
}

void TrackedEngine::observe(TrackedEngineObserver observer) {
  _observer = std::move(observer);
}

void TrackedEngine::take(std::span<const VehiclePosition> together) {
  if (together.empty()) return;
  const Instant second = together.front().received;
  advance(second - Seconds(1));
  const auto work = [&](std::size_t number) {
    Shard& shard = _shards[number];
    shard.tracker.advance(second, shard.events);
    pass(shard, _engine.shard(number), second, 0);
    for (std::size_t i = 0; i < together.size(); ++i) {
      if (_engine.shard_of(together[i].vehicle) != number) continue;
      shard.tracker.update(together[i], shard.events);
      pass(shard, _engine.shard(number), second, i + 1);
    }
  };
  if (together.size() >= fewest_for_threads) {
    _engine.crew().together(work);
  } else {
    for (std::size_t number = 0; number < _shards.size(); ++number) work(number);
  }
  tell_all();
}

void TrackedEngine::advance(Instant now) {
  for (std::size_t number = 0; number < _shards.size(); ++number) {
    _shards[number].tracker.advance(now, _shards[number].events);
    pass(_shards[number], _engine.shard(number), now, 0);
  }
  tell_all();
}

void TrackedEngine::release(const VehicleId& vehicle, Instant now) {
  const std::size_t number = _engine.shard_of(vehicle);
  _shards[number].tracker.release(vehicle, now, _shards[number].events);
  pass(_shards[number], _engine.shard(number), now, 0);
  tell_all();
}

void TrackedEngine::finish(Instant now) {
  for (std::size_t number = 0; number < _shards.size(); ++number) {
    _shards[number].tracker.finish(_shards[number].events);
    pass(_shards[number], _engine.shard(number), now, 0);
  }
  tell_all();
}

/// Gives the tracker's events to the engine's shard, and keeps them to be told. Runs in the shard's
/// thread.
void TrackedEngine::pass(Shard& shard, EngineShard& engine, Instant when, std::size_t serial) {
  for (TrackEvent& event : shard.events) {
    const bool matters_to_all = engine.apply(event);
    Happened happened{time_of(event, when), serial, std::move(event), matters_to_all, std::nullopt};
    const auto* const progress = std::get_if<Progress>(&happened.event);
    if (progress != nullptr && _observer.on_report) {
      happened.shown = engine.forecast(progress->vehicle, progress->received);
    }
    shard.happened.push_back(std::move(happened));
  }
  shard.events.clear();
}

/// Tells what has happened in all shards, in one order whatever their number.
void TrackedEngine::tell_all() {
  std::vector<const Happened*> all;
  for (const Shard& shard : _shards) {
    for (const Happened& happened : shard.happened) all.push_back(&happened);
  }
  if (all.empty()) return;
  std::stable_sort(all.begin(), all.end(), [](const Happened* a, const Happened* b) {
    if (a->serial != b->serial || a->serial != 0) return a->serial < b->serial;
    const VehicleId& of_a = vehicle_of(a->event);
    const VehicleId& of_b = vehicle_of(b->event);
    return std::tie(a->when, of_a) < std::tie(b->when, of_b);
  });
  std::vector<const TripEnded*> ended;
  for (const Happened* const happened : all) tell(*happened, ended);
  std::sort(ended.begin(), ended.end(), [](const TripEnded* a, const TripEnded* b) {
    return std::tie(a->received, a->run.trip, a->run.vehicle) <
           std::tie(b->received, b->run.trip, b->run.vehicle);
  });
  for (const TripEnded* const end : ended) {
    if (_observer.on_finished) _observer.on_finished(end->run, end->received);
    if (_learns && _engine.learn_from(end->run, end->received)) ++_learned;
  }
  for (Shard& shard : _shards) shard.happened.clear();
}

void TrackedEngine::tell(const Happened& happened, std::vector<const TripEnded*>& ended) {
  if (happened.matters_to_all) _engine.note(happened.event);
  if (_observer.on_event) _observer.on_event(happened.event);
  if (happened.shown) _observer.on_report(std::get<Progress>(happened.event), *happened.shown);
  if (const auto* const end = std::get_if<TripEnded>(&happened.event)) ended.push_back(end);
}

std::vector<Tracker::VehicleReport> TrackedEngine::vehicles() const {
  std::vector<Tracker::VehicleReport> all;
  for (const Shard& shard : _shards) {
    for (Tracker::VehicleReport& said : shard.tracker.vehicles()) all.push_back(std::move(said));
  }
  for (Tracker::VehicleReport& said : all) show_doubled(said, _engine);
  if (_shards.size() > 1) {
    std::sort(all.begin(), all.end(),
              [](const auto& a, const auto& b) { return a.vehicle < b.vehicle; });
  }
  return all;
}

Rejections TrackedEngine::rejections() const {
  Rejections all = _engine.rejections();
  for (const Shard& shard : _shards) all.merge(shard.tracker.rejections());
  return all;
}

void show_doubled(Tracker::VehicleReport& said, const Engine& engine) {
  if (!said.trip || engine.leads(said.vehicle, *said.trip)) return;
  said.status = VehicleStatus::doubled;
  said.trip.reset();
  said.confidence.reset();
}

void for_each_second(std::span<const VehiclePosition> positions,
                     const std::function<void(std::span<const VehiclePosition> together)>& use) {
  while (!positions.empty()) {
    const Instant second = positions.front().received;
    const auto next = std::find_if(positions.begin(), positions.end(), [&](const auto& position) {
      return position.received != second;
    });
    const auto size = static_cast<std::size_t>(next - positions.begin());
    use(positions.first(size));
    positions = positions.subspan(size);
  }
}

}  // namespace qiv
