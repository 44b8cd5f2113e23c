#include "serve/live_city.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "engine/schedule_delay.h"

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
  for (StopForecast& stop : forecast.stops) {
    const auto known = to.find_stop(from.stops()[stop.stop].id);
    if (!known) return false;
    stop.stop = *known;
  }
  return true;
}

std::optional<Seconds> lateness_of(const TripForecast& shown, const Network& network) {
  const auto trip = network.schedule(shown.trip);
  if (!trip || shown.stops.size() != trip->plan->size()) return std::nullopt;
  const auto next = std::find_if(shown.stops.begin(), shown.stops.end(),
                                 [](const StopForecast& stop) { return !stop.observed; });
  if (next == shown.stops.end()) return std::nullopt;
  return next->arrival.time - trip->arrival(static_cast<std::size_t>(next - shown.stops.begin()));
}

}  // namespace

/// One timetable at work.
struct LiveCity::Generation {
  Generation(std::shared_ptr<const Network> n, std::shared_ptr<const LearnedSettings> s,
             HistorySource history, const LiveCityOptions& options)
      : network(std::move(n)),
        settings(std::move(s)),
        tracked(*network, *settings, std::move(history), options.track, options.engine) {}

  std::shared_ptr<const Network> network;
  std::shared_ptr<const LearnedSettings> settings;
  TrackedEngine tracked;
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

LiveCity::LiveCity(std::shared_ptr<const Network> network, LearnedSettings settings,
                   Archive& archive, HistoryFactory histories, LiveCityOptions options)
    : _archive(archive),
      _histories(std::move(histories)),
      _options(options),
      _writer(archive, options.writer),
      _network(std::move(network)),
      _settings(std::make_shared<const LearnedSettings>(std::move(settings))),
      _current(make_generation(_network, Instant::max())) {
  listen(*_current);
}

LiveCity::~LiveCity() = default;

std::unique_ptr<LiveCity::Generation> LiveCity::make_generation(
    std::shared_ptr<const Network> network, Instant begun_before) const {
  const Network& used = *network;
  return std::make_unique<Generation>(std::move(network), _settings, _histories(used, begun_before),
                                      _options);
}

void LiveCity::listen(Generation& generation) {
  TrackedEngineObserver observer;
  observer.on_event = [this, &generation](const TrackEvent& event) {
    generation.note(event);
    if (_options.records) _writer.add(event, *generation.network);
  };
  observer.on_finished = [this, &generation](const TripRun& run, Instant now) {
    if (_options.records) _writer.add_finished({run, calls_of(*generation.network, run.trip)});
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

void LiveCity::replay_into(Generation& generation, Instant from, Instant now) const {
  generation.tracked.observe({[&](const TrackEvent& event) { generation.note(event); }, {}, {}});
  constexpr Seconds step = std::chrono::minutes(10);
  for (Instant begin = from; begin <= now; begin += step) {
    const Instant end = std::min(begin + step, now + Seconds(1));
    for (const VehiclePosition& position : _archive.positions(begin, end)) {
      generation.tracked.advance(position.received);
      generation.tracked.take(position);
    }
  }
  generation.tracked.advance(now);
}

void LiveCity::rebuild(Instant now) {
  const Instant from = rebuild_from(now);
  auto generation = make_generation(_network, from);
  replay_into(*generation, from, now);
  _current = std::move(generation);
  listen(*_current);
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

void LiveCity::take(const VehiclePosition& position) {
  if (_options.records) _writer.add(position);
  ++_taken;
  if (!position.vehicle.empty()) _seen[position.vehicle] = position;
  if (!take_on_old(position)) _current->tracked.take(position);
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
  _current->tracked.advance(now);
}

bool LiveCity::store() {
  return _writer.commit();
}

void LiveCity::use_timetable(std::shared_ptr<const Network> network, Instant now) {
  store();
  std::vector<VehicleId> not_departed;
  for (const auto& [vehicle, trip] : _current->on_road) {
    const LiveTrip* const live = _current->tracked.engine().live(trip);
    if (live == nullptr || live->progress.empty()) not_departed.push_back(vehicle);
  }
  for (const VehicleId& vehicle : not_departed) _current->tracked.release(vehicle, now);
  _network = std::move(network);
  _retiring.push_back(std::exchange(_current, make_generation(_network, _options.history_until)));
  listen(*_current);
}

void LiveCity::use_settings(LearnedSettings settings, Instant now) {
  store();
  _settings = std::make_shared<const LearnedSettings>(std::move(settings));
  const Instant from = rebuild_from(now);
  auto generation = make_generation(_network, from);
  replay_into(*generation, from, now);
  _current = std::move(generation);
  listen(*_current);
}

Snapshot LiveCity::show(Instant now) {
  Snapshot snapshot;
  snapshot.serial = ++_serial;
  snapshot.now = now;
  snapshot.network = _network;
  snapshot.trips = displayed(now);
  snapshot.vehicles = vehicle_views(snapshot.trips, now);
  const ArchiveWriter::Counts& stored = _writer.counts();
  snapshot.counts.positions_taken = _taken;
  snapshot.counts.progress_stored = stored.progress;
  snapshot.counts.trips_finished = stored.trips;
  snapshot.counts.trips_learned = _current->tracked.learned();
  snapshot.counts.archive_failures = stored.failures;
  snapshot.counts.archive_losses = stored.losses;
  snapshot.counts.cycles = _serial;
  snapshot.rejections = _current->tracked.engine().rejections();
  snapshot.rejections.merge(_current->tracked.tracker().rejections());
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
    for (const Tracker::VehicleReport& report : old->tracked.tracker().vehicles()) {
      if (report.trip) by_vehicle.emplace(report.vehicle, report);
    }
  }
  for (const Tracker::VehicleReport& report : said) by_vehicle.emplace(report.vehicle, report);
  said.clear();
  for (const auto& [vehicle, report] : by_vehicle) said.push_back(report);
}

std::vector<VehicleView> LiveCity::vehicle_views(const std::vector<TripForecast>& shown,
                                                 Instant now) {
  std::erase_if(_seen, [&](const auto& entry) {
    return now - entry.second.received > _options.track.memory;
  });
  std::vector<Tracker::VehicleReport> said = _current->tracked.tracker().vehicles();
  if (!_retiring.empty()) add_retiring(said);
  std::vector<VehicleView> views;
  views.reserve(said.size());
  for (const Tracker::VehicleReport& report : said) {
    const auto seen = _seen.find(report.vehicle);
    views.push_back(view_of(report, seen == _seen.end() ? nullptr : &seen->second, shown));
  }
  return views;
}

VehicleView LiveCity::view_of(const Tracker::VehicleReport& report, const VehiclePosition* seen,
                              const std::vector<TripForecast>& shown) const {
  VehicleView view;
  view.vehicle = report.vehicle;
  view.status = report.status;
  view.since = report.since;
  view.last_report = report.last_report;
  view.trip = report.trip;
  if (seen != nullptr) {
    view.last_received = seen->received;
    view.place = seen->place;
    view.bearing_deg = seen->bearing_deg;
    view.speed_mps = seen->speed_mps;
    view.reported_trip = seen->trip;
    view.route = seen->route;
  }
  if (!report.trip) return view;
  if (const auto trip = _network->schedule(*report.trip)) {
    view.route = _network->pattern(trip->pattern()).route;
  }
  const auto forecast = std::lower_bound(
      shown.begin(), shown.end(), *report.trip,
      [](const TripForecast& shown_trip, const TripKey& key) { return shown_trip.trip < key; });
  if (forecast == shown.end() || forecast->trip != *report.trip) return view;
  view.offset_m = forecast->offset_m;
  view.lateness = lateness_of(*forecast, *_network);
  return view;
}

/// The trip with its vehicle, and the generation that it is on; null when it has none.
const LiveTrip* LiveCity::find(const TripKey& trip, Generation*& on) const {
  const auto in = [&](Generation& generation) {
    on = &generation;
    return generation.tracked.engine().live(trip);
  };
  for (const auto& old : _retiring) {
    if (const LiveTrip* const live = in(*old)) return live;
  }
  return in(*_current);
}

std::optional<Explanation> LiveCity::explain_trip(const TripKey& trip) {
  Generation* on = nullptr;
  const LiveTrip* const live = find(trip, on);
  if (live == nullptr) return std::nullopt;
  return explain(*live, on->tracked.engine().desk_of(live->schedule.pattern()));
}

std::optional<double> LiveCity::delay_s(const TripKey& trip) {
  Generation* on = nullptr;
  const LiveTrip* const live = find(trip, on);
  if (live == nullptr || live->progress.empty()) return std::nullopt;
  const PatternDesk& desk = on->tracked.engine().desk_of(live->schedule.pattern());
  return schedule_delay_s(*live, desk.pattern(), desk.grid());
}

}  // namespace qiv
