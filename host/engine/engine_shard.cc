#include "engine/engine_shard.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <variant>

#include "engine/display.h"
#include "engine/display_legs.h"

namespace qiv {
namespace {

/// A timetable's category is numbered as it is met, which says nothing to others.
Category shown_category(const HistoryChoice& choice) {
  return choice.basis == ForecastBasis::timetable ? std::numeric_limits<Category>::min()
                                                  : choice.category;
}

}  // namespace

EngineShard::EngineShard(const Network& network, const LearnedSettings& settings,
                         HistorySource history, const EngineOptions& options)
    : _network(network),
      _settings(settings),
      _history(std::move(history)),
      _options(options),
      _library(options.mode) {}

EngineShard::~EngineShard() = default;

void EngineShard::apply(const TrackEvent& event) {
  std::visit([this](const auto& e) { on(e); }, event);
}

void EngineShard::on(const TripAssigned& event) {
  const std::optional<ScheduledTrip> schedule = _network.schedule(event.trip);
  if (!schedule) return;
  LiveTrip trip;
  trip.schedule = *schedule;
  trip.vehicle = event.vehicle;
  trip.library_key = to_string(event.trip) + " " + event.vehicle.text();
  trip.last_seen = event.received;
  PatternDesk& desk = desk_of(schedule->pattern());
  trip.choice = desk.choose(*schedule->plan, event.trip.day);
  trip.clock = desk.clock(*schedule->plan);
  _live.insert_or_assign(event.vehicle, std::move(trip));
}

void EngineShard::on(const Waiting& event) {
  if (LiveTrip* const trip = find(event.vehicle, event.trip)) trip->last_seen = event.time;
}

void EngineShard::on(const Progress& event) {
  LiveTrip* const trip = find(event.vehicle, event.trip);
  if (trip == nullptr) return;
  trip->last_seen = event.time;
  report(*trip, event);
}

void EngineShard::on(const StillThere& event) {
  if (LiveTrip* const trip = find(event.vehicle, event.trip)) trip->last_seen = event.time;
}

void EngineShard::on(const Corrected& event) {
  LiveTrip* const trip = find(event.vehicle, event.trip);
  if (trip == nullptr) return;
  release(*trip);
  trip->progress.clear();
  trip->reports.clear();
  trip->latest.reset();
  trip->shown.forget();
  for (const Progress& progress : event.cleaned) report(*trip, progress);
}

void EngineShard::on(const TripEnded& event) {
  LiveTrip* const trip = find(event.run.vehicle, event.run.trip);
  if (trip == nullptr) return;
  release(*trip);
  _live.erase(event.run.vehicle);
}

LiveTrip* EngineShard::find(const VehicleId& vehicle, const TripKey& trip) {
  const auto entry = _live.find(vehicle);
  return entry == _live.end() || entry->second.schedule.key != trip ? nullptr : &entry->second;
}

const LiveTrip* EngineShard::live(const VehicleId& vehicle) const {
  const auto entry = _live.find(vehicle);
  return entry == _live.end() ? nullptr : &entry->second;
}

void EngineShard::release(const LiveTrip& trip) {
  if (trip.progress.empty()) return;
  _library.release(trip.library_key, unix_seconds(trip.progress.back().time));
}

PatternDesk& EngineShard::desk_of(PatternIndex pattern) {
  std::unique_ptr<PatternDesk>& desk = _desks[pattern];
  if (!desk) {
    const PatternSettings& settings = _settings.of(_network.pattern(pattern).ref);
    const Grid grid = make_grid(_network.pattern(pattern), settings.milestone_spacing_m);
    desk = std::make_unique<PatternDesk>(_network, pattern, settings, grid, _library,
                                         _history(pattern, grid));
  }
  return *desk;
}

void EngineShard::report(LiveTrip& trip, const Progress& progress) {
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
  trip.shown.forget();
}

std::optional<TripForecast> EngineShard::forecast(const VehicleId& vehicle, Instant now) {
  const auto entry = _live.find(vehicle);
  if (entry == _live.end()) return std::nullopt;
  return display(entry->second, now);
}

std::vector<TripForecast> EngineShard::forecasts(
    Instant now, const std::function<bool(const LiveTrip&)>& is_shown) {
  forget_announced(now);
  std::vector<TripForecast> result;
  result.reserve(_live.size());
  for (auto& [vehicle, trip] : _live) {
    if (is_shown(trip)) result.push_back(display(trip, now));
  }
  return result;
}

TripForecast EngineShard::display(LiveTrip& trip, Instant now) {
  KeptDisplay::Basis basis;
  basis.last_seen = trip.last_seen;
  if (!trip.latest) {
    basis.histories = desk_of(trip.schedule.pattern()).version();
    basis.departure = expected_departure(trip.schedule, trip.choice.category, trip.last_seen);
  }
  const TripForecast* const kept = trip.shown.find(basis, now);
  if (kept == nullptr) return display_anew(trip, basis, now);
  TripForecast result = *kept;
  result.made = now;
  result.position_time = trip.last_seen;
  return result;
}

TripForecast EngineShard::display_anew(LiveTrip& trip, const KeptDisplay::Basis& basis,
                                       Instant now) {
  PatternDesk& desk = desk_of(trip.schedule.pattern());
  TripForecast result;
  result.trip = trip.schedule.key;
  result.vehicle = trip.vehicle;
  result.pattern = desk.pattern().ref;
  result.basis = trip.choice.basis;
  result.made = now;
  result.position_time = trip.last_seen;
  result.category = shown_category(trip.choice);
  result.trips = trip.choice.trips;
  DisplayHold hold;
  if (trip.latest) {
    result.offset_m = trip.progress.back().offset_m;
    result.confidence = trip.latest->confidence;
    hold = fill(result,
                {trip.schedule, desk.pattern(), desk.grid(), trip.clock, *trip.latest, 0.0,
                 TripState::under_way, trip.last_seen, _settings.calibration, &trip},
                now);
  } else if (const auto& fresh = desk.fresh(trip.choice.category)) {
    result.confidence = fresh->confidence;
    hold = fill(result,
                {trip.schedule, desk.pattern(), desk.grid(), trip.clock, *fresh,
                 static_cast<double>(unix_seconds(basis.departure)), TripState::waiting,
                 trip.last_seen, _settings.calibration},
                now);
  }
  trip.shown.keep(result, basis, now, hold);
  return result;
}

std::optional<TripForecast> EngineShard::announce(const ScheduledTrip& trip, Instant earliest,
                                                  Instant now) {
  PatternDesk& desk = desk_of(trip.pattern());
  Announced& known = announced(trip, desk, now);
  const auto& fresh = desk.fresh(known.choice.category);
  if (!fresh) return std::nullopt;
  const KeptDisplay::Basis basis{
      desk.version(), std::max(expected_departure(trip, known.choice.category, now), earliest),
      now};
  const TripForecast* const kept = known.shown.find(basis, now);
  if (kept == nullptr) return announce_anew(trip, known, *fresh, basis);
  TripForecast result = *kept;
  result.made = result.position_time = now;
  return result;
}

/// What is kept of the trip, its choice as of now.
EngineShard::Announced& EngineShard::announced(const ScheduledTrip& trip, PatternDesk& desk,
                                               Instant now) {
  const auto [entry, is_new] = _announced.try_emplace(trip.key);
  Announced& known = entry->second;
  if (is_new || known.histories != desk.version()) {
    known.choice = desk.choose(*trip.plan, trip.key.day);
    known.histories = desk.version();
  }
  known.asked = now;
  return known;
}

TripForecast EngineShard::announce_anew(const ScheduledTrip& trip, Announced& announced,
                                        const LibraryForecast& fresh,
                                        const KeptDisplay::Basis& basis) {
  const PatternDesk& desk = desk_of(trip.pattern());
  const Instant now = basis.last_seen;
  TripForecast result;
  result.trip = trip.key;
  result.pattern = desk.pattern().ref;
  result.basis = announced.choice.basis;
  result.made = now;
  result.position_time = now;
  result.category = shown_category(announced.choice);
  result.trips = announced.choice.trips;
  result.confidence = fresh.confidence;
  const TripClock clock = desk.clock(*trip.plan);
  const DisplayHold hold = fill(result,
                                {trip, desk.pattern(), desk.grid(), clock, fresh,
                                 static_cast<double>(unix_seconds(basis.departure)),
                                 TripState::not_begun, now, _settings.calibration},
                                now);
  announced.shown.keep(result, basis, now, hold);
  return result;
}

/// Forgets the trips that are not announced any more.
void EngineShard::forget_announced(Instant now) {
  constexpr Seconds interval = std::chrono::minutes(10);
  if (now - _forgot < interval) return;
  std::erase_if(_announced, [this](const auto& entry) { return entry.second.asked < _forgot; });
  _forgot = now;
}

DisplayHold EngineShard::fill(TripForecast& result, const DisplayInput& input, Instant now) const {
  if (_options.mode == ForecastMode::arrival) return fill_stops(result, input, now);
  fill_legs(result, input);
  return {};
}

/// The timetable's departure with the delay of earlier trips, given that the trip has not departed
/// by `not_before`.
Instant EngineShard::expected_departure(const ScheduledTrip& schedule, Category category,
                                        Instant not_before) {
  const Seconds waited = not_before - schedule.first_departure();
  return schedule.first_departure() +
         desk_of(schedule.pattern()).expected_departure_delay(category, waited);
}

bool EngineShard::learn_from(const TripRun& run, Instant finished) {
  const std::optional<PatternIndex> pattern = _network.find_pattern(run.pattern);
  if (!pattern) return false;
  PatternDesk& desk = desk_of(*pattern);
  auto made = make_trajectory(run, desk.pattern(), desk.grid().milestones_m);
  if (const auto* reason = std::get_if<std::string_view>(&made)) {
    _rejected_trips.add(*reason, [&] { return to_string(run.trip); });
    return false;
  }
  auto& trajectory = std::get<Trajectory>(made);
  trajectory.finished = finished;
  desk.add(trajectory);
  return true;
}

Rejections EngineShard::rejected_trips() const {
  Rejections all = _rejected_trips;
  all.merge(_library.rejected_trajectories());
  return all;
}

}  // namespace qiv
