#include "serve/live_city.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <variant>

#include "serve/archive_replay.h"
#include "serve/vehicle_views.h"

namespace qiv {
namespace {

/// The calls of a trip's timetable, which a later timetable may no longer have.
std::vector<Call> calls_of(const Network& network, const TripKey& key) {
  std::vector<Call> calls;
  const auto trip = network.schedule(key);
  if (!trip) return calls;
  for (std::size_t i = 0; i < trip->plan->size(); ++i) calls.push_back(trip->plan->call(i));
  return calls;
}

/// Puts stops that are named by `from` into the words of `to`. False when `to` lacks one.
bool translate_stops(TripForecast& forecast, const Network& from, const Network& to) {
  for (StopForecast& stop : forecast.stops.edit()) {
    const auto known = to.find_stop(from.stops()[stop.stop].id);
    if (!known) return false;
    stop.stop = *known;
  }
  return true;
}

}  // namespace

/// One timetable at work.
struct LiveCity::Generation {
  Generation(std::shared_ptr<const Network> n, std::shared_ptr<const LearnedSettings> s,
             const HistoryFactory& histories, const LiveCityOptions& options)
      : network(std::move(n)),
        settings(std::move(s)),
        bounds(std::make_shared<HistoryBounds>()),
        tracked(*network, *settings, histories(*network, bounds), options.track, options.engine) {
    bounds->ended_before = options.history_until;
  }

  std::shared_ptr<const Network> network;
  std::shared_ptr<const LearnedSettings> settings;
  std::shared_ptr<HistoryBounds> bounds;
  TrackedEngine tracked;

  /// To be called before anything happens at `now`.
  void see(Instant now) { bounds->lent_before = network->clock().local_day(now); }

  /// Keeps `on_road` true.
  void note(const TrackEvent& event) {
    if (const auto* const assigned = std::get_if<TripAssigned>(&event)) {
      on_road[assigned->vehicle] = assigned->trip;
    } else if (const auto* const ended = std::get_if<TripEnded>(&event)) {
      on_road.erase(ended->run.vehicle);
    }
  }

  std::map<VehicleId, TripKey> on_road;
};

/// A generation that is being made beside the present one.
struct LiveCity::Renewal {
  Renewal(std::unique_ptr<Generation> g, ArchiveReplay r)
      : generation(std::move(g)), replay(std::move(r)) {}

  std::unique_ptr<Generation> generation;
  ArchiveReplay replay;
};

LiveCity::LiveCity(std::shared_ptr<const Network> network, LearnedSettings settings,
                   Archive& archive, HistoryFactory histories, LiveCityOptions options)
    : _archive(archive),
      _histories(std::move(histories)),
      _options(options),
      _writer(archive, options.writer),
      _network(std::move(network)),
      _settings(std::make_shared<const LearnedSettings>(std::move(settings))),
      _current(make_generation(_network)) {
  listen(*_current);
}

LiveCity::~LiveCity() = default;

std::unique_ptr<LiveCity::Generation> LiveCity::make_generation(
    std::shared_ptr<const Network> network) const {
  return std::make_unique<Generation>(std::move(network), _settings, _histories, _options);
}

void LiveCity::listen(Generation& generation) {
  TrackedEngineObserver observer;
  observer.on_event = [this, &generation](const TrackEvent& event) {
    generation.note(event);
    if (_options.records) _writer.add(event, *generation.network);
  };
  observer.on_finished = [this, &generation](const TripRun& run, Instant now) {
    if (_options.records) {
      _writer.add_finished({run, calls_of(*generation.network, run.trip), std::nullopt, now});
    }
    if (on_finished) on_finished(run, now);
    if (&generation != _current.get()) _current->tracked.engine().learn_from(run, now);
  };
  generation.tracked.observe(std::move(observer));
}

Instant LiveCity::rebuild_from(Instant now) const {
  Instant from = now;
  for (const TripRun& run : _archive.under_way()) {
    if (!run.progress.empty()) from = std::min(from, run.progress.front().received);
  }
  return std::max(from - _options.rebuild_margin, now - _options.longest_rebuild);
}

std::unique_ptr<LiveCity::Renewal> LiveCity::begin_renewal(Instant now) const {
  const Instant from = rebuild_from(now);
  auto generation = make_generation(_network);
  generation->bounds->ended_before = std::min(from, _options.history_until);
  Generation& renewed = *generation;
  renewed.tracked.observe({[&](const TrackEvent& event) { renewed.note(event); }, {}, {}});
  return std::make_unique<Renewal>(
      std::move(generation),
      ArchiveReplay(_archive, renewed.tracked, from, [&](Instant second) { renewed.see(second); }));
}

/// Puts the renewed generation, which has taken all that was received until `now`, in the place of
/// the present one.
void LiveCity::end_renewal(Renewal& renewal, Instant now) {
  renewal.replay.finish(now);
  renewal.generation->bounds->ended_before = _options.history_until;
  _current = std::move(renewal.generation);
  listen(*_current);
}

void LiveCity::rebuild(Instant now) {
  // What comes in a second that was shown already is stored under the next.
  const std::optional<Instant> ahead = _archive.next_received(now + Seconds(1));
  if (ahead == now + Seconds(1)) now = *ahead;
  const auto renewal = begin_renewal(now);
  renewal->replay.go_on(now, std::numeric_limits<std::size_t>::max());
  end_renewal(*renewal, now);
  close_abandoned();
}

void LiveCity::close_abandoned() {
  std::vector<ArchivedRun> abandoned;
  for (TripRun& run : _archive.under_way()) {
    const auto on_road = _current->on_road.find(run.vehicle);
    if (on_road != _current->on_road.end() && on_road->second == run.trip) continue;
    std::vector<Call> calls = calls_of(*_network, run.trip);
    abandoned.push_back({std::move(run), std::move(calls)});
  }
  _archive.add_runs(abandoned);
}

void LiveCity::take(std::span<const VehiclePosition> together) {
  if (together.empty()) return;
  _taken += together.size();
  _current->see(together.front().received);
  for (const VehiclePosition& position : together) note(position);
  if (_retiring.empty()) {
    _current->tracked.take(together);
    return;
  }
  std::vector<VehiclePosition> on_current;
  for (const VehiclePosition& position : together) {
    if (!take_on_old(position)) on_current.push_back(position);
  }
  _current->tracked.take(on_current);
}

bool LiveCity::is_repeated(const VehiclePosition& position) const {
  const auto seen = _seen.find(position.vehicle);
  return seen != _seen.end() && is_same_report(seen->second.report, position);
}

/// Remembers the vehicle's report, and stores it, but not every time that it is repeated.
void LiveCity::note(const VehiclePosition& position) {
  if (position.vehicle.empty()) {
    if (_options.records) _writer.add(position);
    return;
  }
  Seen& seen = _seen[position.vehicle];
  const bool is_known = is_same_report(seen.report, position) &&
                        position.received - seen.stored < _options.store_repeated;
  if (is_known) {
    seen.report.received = position.received;
    return;
  }
  if (_options.records) _writer.add(position);
  seen = {position, position.received};
}

/// Lets a vehicle finish its trip on the timetable that the trip began on. False when it is on no
/// such trip, or has gone on to another.
bool LiveCity::take_on_old(const VehiclePosition& position) {
  for (const auto& old : _retiring) {
    const auto on_road = old->on_road.find(position.vehicle);
    if (on_road == old->on_road.end()) continue;
    if (position.trip.empty() || position.trip == on_road->second.trip) {
      old->tracked.take(position);
      return true;
    }
    old->tracked.release(position.vehicle, position.received);
  }
  return false;
}

void LiveCity::advance(Instant now) {
  for (const auto& old : _retiring) old->tracked.advance(now);
  std::erase_if(_retiring, [](const auto& old) { return old->on_road.empty(); });
  _current->see(now);
  _current->tracked.advance(now);
  go_on_renewing(now);
}

bool LiveCity::store() {
  return _writer.commit();
}

void LiveCity::use_timetable(std::shared_ptr<const Network> network, Instant now) {
  store();
  std::vector<VehicleId> not_departed;
  for (const auto& [vehicle, trip] : _current->on_road) {
    const LiveTrip* const live = _current->tracked.engine().live(trip);
    if (live == nullptr || live->places.empty()) not_departed.push_back(vehicle);
  }
  for (const VehicleId& vehicle : not_departed) _current->tracked.release(vehicle, now);
  _network = std::move(network);
  _retiring.push_back(std::exchange(_current, make_generation(_network)));
  listen(*_current);
  if (_renewal) _renewal = begin_renewal(now);
}

void LiveCity::use_settings(LearnedSettings settings, Instant now) {
  store();
  _settings = std::make_shared<const LearnedSettings>(std::move(settings));
  _renewal = begin_renewal(now);
}

/// Takes the next part of what is to be replayed, and changes over when that was the last. What
/// could not be stored is waited for.
void LiveCity::go_on_renewing(Instant now) {
  if (!_renewal || !store()) return;
  if (!_renewal->replay.go_on(now, _options.replayed_at_once)) return;
  end_renewal(*_renewal, now);
  _renewal.reset();
}

Snapshot LiveCity::show(Instant now) {
  Snapshot snapshot;
  snapshot.serial = ++_serial;
  snapshot.now = now;
  snapshot.network = _network;
  snapshot.trips = displayed(now);
  snapshot.vehicles = views_of(snapshot.trips, now);
  const ArchiveWriter::Counts& stored = _writer.counts();
  snapshot.counts.positions_taken = _taken;
  snapshot.counts.progress_stored = stored.progress;
  snapshot.counts.trips_finished = stored.trips;
  snapshot.counts.trips_learned = _current->tracked.learned();
  snapshot.counts.archive_failures = stored.failures;
  snapshot.counts.archive_losses = stored.losses;
  snapshot.counts.cycles = _serial;
  snapshot.rejections = _current->tracked.rejections();
  return snapshot;
}

std::vector<TripForecast> LiveCity::displayed(Instant now) {
  std::vector<TripForecast> shown = _current->tracked.engine().forecasts(now);
  if (_retiring.empty()) return shown;
  std::map<TripKey, TripForecast> by_trip;
  for (TripForecast& forecast : shown) by_trip.emplace(forecast.trip, std::move(forecast));
  for (const auto& old : _retiring) {
    for (const auto& [vehicle, trip] : old->on_road) {
      auto forecast = old->tracked.engine().forecast(trip, now);
      if (!forecast || !translate_stops(*forecast, *old->network, *_network)) continue;
      by_trip.insert_or_assign(trip, std::move(*forecast));
    }
  }
  shown.clear();
  for (auto& [trip, forecast] : by_trip) shown.push_back(std::move(forecast));
  return shown;
}

/// Puts what earlier timetables say of the vehicles on their trips in the place of what the present
/// one says.
void LiveCity::add_retiring(std::vector<Tracker::VehicleReport>& said) const {
  std::map<VehicleId, Tracker::VehicleReport> by_vehicle;
  for (const auto& old : _retiring) {
    for (const Tracker::VehicleReport& report : old->tracked.vehicles()) {
      if (report.trip) by_vehicle.emplace(report.vehicle, report);
    }
  }
  for (const Tracker::VehicleReport& report : said) by_vehicle.emplace(report.vehicle, report);
  said.clear();
  for (const auto& [vehicle, report] : by_vehicle) said.push_back(report);
}

std::vector<VehicleView> LiveCity::views_of(const std::vector<TripForecast>& shown, Instant now) {
  std::erase_if(_seen, [&](const auto& entry) {
    return now - entry.second.report.received > _options.track.memory;
  });
  std::vector<Tracker::VehicleReport> said = _current->tracked.vehicles();
  if (!_retiring.empty()) add_retiring(said);
  const auto last_of = [this](const VehicleId& vehicle) {
    const auto seen = _seen.find(vehicle);
    return seen == _seen.end() ? nullptr : &seen->second.report;
  };
  return vehicle_views(said, last_of, shown, *_network);
}

/// The generation that the trip has its vehicle on; the present one if it has none.
Engine& LiveCity::engine_of(const TripKey& trip) const {
  for (const auto& old : _retiring) {
    if (old->tracked.engine().live(trip) != nullptr) return old->tracked.engine();
  }
  return _current->tracked.engine();
}

std::optional<Explanation> LiveCity::explain_trip(const TripKey& trip) {
  return engine_of(trip).explain_trip(trip);
}

std::optional<double> LiveCity::delay_s(const TripKey& trip) {
  return engine_of(trip).delay_s(trip);
}

}  // namespace qiv
