#include "engine/engine.h"

#include <algorithm>
#include <cmath>
#include <variant>

#include "engine/display.h"
#include "engine/display_legs.h"

namespace qiv {

Engine::Engine(const Network& network, const LearnedSettings& settings, HistorySource history,
               EngineOptions options)
    : _network(network),
      _settings(settings),
      _history(std::move(history)),
      _options(options),
      _library(options.mode) {}

Engine::~Engine() = default;

void Engine::apply(const TrackEvent& event) {
  std::visit([this](const auto& e) { on(e); }, event);
}

void Engine::on(const TripAssigned& event) {
  const std::optional<ScheduledTrip> schedule = _network.schedule(event.trip);
  if (!schedule) return;
  const auto [entry, added] = _live.try_emplace(event.trip);
  if (!added) return;
  LiveTrip& trip = entry->second;
  trip.schedule = *schedule;
  trip.vehicle = event.vehicle;
  trip.library_key = to_string(event.trip) + " " + event.vehicle.text();
  trip.last_seen = event.received;
  PatternDesk& desk = desk_of(schedule->pattern());
  trip.choice = desk.choose(*schedule->plan, event.trip.day);
  trip.clock = desk.clock(*schedule->plan);
}

void Engine::on(const Waiting& event) {
  if (LiveTrip* const trip = find(event.vehicle, event.trip)) trip->last_seen = event.time;
}

void Engine::on(const Progress& event) {
  LiveTrip* const trip = find(event.vehicle, event.trip);
  if (trip == nullptr) return;
  _begun.insert(event.trip);
  trip->last_seen = event.time;
  report(*trip, event);
}

void Engine::on(const StillThere& event) {
  if (LiveTrip* const trip = find(event.vehicle, event.trip)) trip->last_seen = event.time;
}

void Engine::on(const Corrected& event) {
  LiveTrip* const trip = find(event.vehicle, event.trip);
  if (trip == nullptr) return;
  if (!trip->progress.empty()) {
    _library.release(trip->library_key, unix_seconds(trip->progress.back().time));
  }
  trip->progress.clear();
  trip->reports.clear();
  trip->latest.reset();
  for (const Progress& progress : event.cleaned) report(*trip, progress);
}

void Engine::on(const TripEnded& event) {
  _finished.push_back(event.run);
  LiveTrip* const trip = find(event.run.vehicle, event.run.trip);
  if (trip == nullptr) return;
  if (!trip->progress.empty()) {
    _library.release(trip->library_key, unix_seconds(trip->progress.back().time));
  }
  _live.erase(event.run.trip);
}

LiveTrip* Engine::find(const VehicleId& vehicle, const TripKey& trip) {
  const auto entry = _live.find(trip);
  return entry == _live.end() || entry->second.vehicle != vehicle ? nullptr : &entry->second;
}

PatternDesk& Engine::desk_of(PatternIndex pattern) {
  std::unique_ptr<PatternDesk>& desk = _desks[pattern];
  if (!desk) {
    const PatternSettings& settings = _settings.of(_network.pattern(pattern).ref);
    const Grid grid = make_grid(_network.pattern(pattern), settings.milestone_spacing_m);
    desk = std::make_unique<PatternDesk>(_network, pattern, settings, grid, _library,
                                         _history(pattern, grid));
  }
  return *desk;
}

void Engine::report(LiveTrip& trip, const Progress& progress) {
  const PatternDesk& desk = desk_of(trip.schedule.pattern());
  const double offset_m = grid_offset_m(desk.grid(), desk.pattern(), progress);
  const long long time_s = unix_seconds(progress.time) - std::llround(trip.clock.lag_s(offset_m));
  const double error_m = std::max(progress.error_m, _options.least_error_m);
  std::optional<LibraryForecast> forecast = _library.report(
      desk.pattern().ref, trip.library_key, trip.choice.category, offset_m, time_s, error_m);
  trip.trips_at_last = desk.stored(trip.choice.category).size();
  if (trip.progress.empty()) trip.trips_at_start = trip.trips_at_last;
  trip.progress.push_back(progress);
  trip.reports.push_back({offset_m, time_s, error_m});
  if (forecast) trip.latest = std::move(forecast);
}

std::vector<TripForecast> Engine::forecasts(Instant now) {
  std::vector<TripForecast> result;
  for (auto& [key, trip] : _live) result.push_back(display(trip, now));
  for (const ScheduledTrip& schedule : announced(now)) {
    if (auto forecast = display_announced(schedule, now)) result.push_back(std::move(*forecast));
  }
  std::sort(result.begin(), result.end(),
            [](const TripForecast& a, const TripForecast& b) { return a.trip < b.trip; });
  return result;
}

std::optional<TripForecast> Engine::forecast(const TripKey& trip, Instant now) {
  const auto live = _live.find(trip);
  if (live != _live.end()) return display(live->second, now);
  for (const ScheduledTrip& schedule : announced(now)) {
    if (schedule.key == trip) return display_announced(schedule, now);
  }
  return std::nullopt;
}

TripForecast Engine::display(LiveTrip& trip, Instant now) {
  PatternDesk& desk = desk_of(trip.schedule.pattern());
  TripForecast result;
  result.trip = trip.schedule.key;
  result.vehicle = trip.vehicle;
  result.pattern = desk.pattern().ref;
  result.basis = trip.choice.basis;
  result.made = now;
  result.position_time = trip.last_seen;
  result.category = trip.choice.category;
  result.trips = trip.choice.trips;
  if (trip.latest) {
    result.offset_m = trip.progress.back().offset_m;
    result.confidence = trip.latest->confidence;
    fill(result,
         {trip.schedule, desk.pattern(), desk.grid(), trip.clock, *trip.latest, 0.0,
          TripState::under_way, trip.last_seen, _settings.calibration, &trip},
         now);
  } else if (const auto& fresh = desk.fresh(trip.choice.category)) {
    result.confidence = fresh->confidence;
    const auto departure_s = static_cast<double>(
        unix_seconds(expected_departure(trip.schedule, trip.choice.category, trip.last_seen, now)));
    fill(result,
         {trip.schedule, desk.pattern(), desk.grid(), trip.clock, *fresh, departure_s,
          TripState::waiting, trip.last_seen, _settings.calibration},
         now);
  }
  return result;
}

std::optional<TripForecast> Engine::display_announced(const ScheduledTrip& schedule, Instant now) {
  PatternDesk& desk = desk_of(schedule.pattern());
  const HistoryChoice choice = desk.choose(*schedule.plan, schedule.key.day);
  const auto& fresh = desk.fresh(choice.category);
  if (!fresh) return std::nullopt;
  TripForecast result;
  result.trip = schedule.key;
  result.pattern = desk.pattern().ref;
  result.basis = choice.basis;
  result.made = now;
  result.position_time = now;
  result.category = choice.category;
  result.trips = choice.trips;
  result.confidence = fresh->confidence;
  const auto departure_s =
      static_cast<double>(unix_seconds(expected_departure(schedule, choice.category, now, now)));
  const TripClock clock = desk.clock(*schedule.plan);
  fill(result,
       {schedule, desk.pattern(), desk.grid(), clock, *fresh, departure_s, TripState::not_begun,
        now, _settings.calibration},
       now);
  return result;
}

void Engine::fill(TripForecast& result, const DisplayInput& input, Instant now) const {
  if (_options.mode == ForecastMode::arrival) {
    fill_stops(result, input, now);
  } else {
    fill_legs(result, input);
  }
}

/// The timetable's departure with the delay of earlier trips, given that the trip has not departed
/// by `not_before`; but not before the vehicle's trip before has arrived and turned around, as far
/// as arrivals are forecast.
Instant Engine::expected_departure(const ScheduledTrip& schedule, Category category,
                                   Instant not_before, Instant now) {
  const Seconds waited = not_before - schedule.first_departure();
  const Seconds delay = desk_of(schedule.pattern()).expected_departure_delay(category, waited);
  const Instant departure = schedule.first_departure() + delay;
  if (!schedule.previous || _options.mode == ForecastMode::travel) return departure;
  const auto previous = _live.find(*schedule.previous);
  if (previous == _live.end() || !previous->second.latest) return departure;
  const TripForecast before = display(previous->second, now);
  return std::max(departure, before.stops.back().arrival.time + _settings.turnaround);
}

std::vector<ScheduledTrip> Engine::announced(Instant now) {
  std::vector<ScheduledTrip> result;
  const Instant from = now - _options.ghost_patience;
  const Instant until = now + _options.announce;
  const ServiceDate today = _network.clock().local_day(now);
  for (const std::chrono::days shift :
       {std::chrono::days(-1), std::chrono::days(0), std::chrono::days(1)}) {
    const ServiceDate day = today + shift;
    auto entry = _trips_on.find(day);
    if (entry == _trips_on.end()) entry = _trips_on.emplace(day, _network.trips_on(day)).first;
    const Instant zero = _network.clock().zero(day);
    const std::vector<TripIndex>& trips = entry->second;
    auto trip = std::partition_point(trips.begin(), trips.end(), [&](TripIndex index) {
      return zero + _network.trip(index).departure() < from;
    });
    for (; trip != trips.end() && zero + _network.trip(*trip).departure() <= until; ++trip) {
      const ScheduledTrip schedule = _network.schedule(_network.trip(*trip), day);
      if (!_live.contains(schedule.key) && !_begun.contains(schedule.key))
        result.push_back(schedule);
    }
  }
  return result;
}

std::vector<TripRun> Engine::take_finished() {
  return std::exchange(_finished, {});
}

bool Engine::learn_from(const TripRun& run, Instant finished) {
  const std::optional<PatternIndex> pattern = _network.find_pattern(run.pattern);
  if (!pattern) return false;
  PatternDesk& desk = desk_of(*pattern);
  auto made = make_trajectory(run, desk.pattern(), desk.grid().milestones_m);
  if (const auto* reason = std::get_if<std::string_view>(&made)) {
    _rejections.add(*reason, [&] { return to_string(run.trip); });
    return false;
  }
  auto& trajectory = std::get<Trajectory>(made);
  trajectory.finished = finished;
  desk.add(trajectory);
  return true;
}

const LiveTrip* Engine::live(const TripKey& trip) const {
  const auto entry = _live.find(trip);
  return entry == _live.end() ? nullptr : &entry->second;
}

Rejections Engine::rejections() const {
  Rejections all = _rejections;
  all.merge(_library.rejections());
  return all;
}

}  // namespace qiv
