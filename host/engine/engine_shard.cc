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

Progress progress_of(const LiveTrip& trip, const PassedPlace& place) {
  return {trip.vehicle,   trip.schedule.key, trip.schedule.pattern(), place.time,
          place.received, place.offset_m,    place.error_m,           place.evidence};
}

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
      _library(options.mode),
      _desks(network.patterns().size()) {}

EngineShard::~EngineShard() = default;

bool EngineShard::apply(const TrackEvent& event) {
  return std::visit([this](const auto& e) { return on(e); }, event);
}

bool EngineShard::on(const TripAssigned& event) {
  const std::optional<ScheduledTrip> schedule = _network.schedule(event.trip);
  if (!schedule) return true;
  LiveTrip trip;
  trip.schedule = *schedule;
  trip.vehicle = event.vehicle;
  const std::string& vehicle = event.vehicle.text();
  const std::string name = to_string(event.trip);
  trip.in_library =
      LibraryVehicle(std::to_string(++_keys) + " " + vehicle, name, name + " " + vehicle);
  trip.last_seen = event.received;
  PatternDesk& desk = desk_of(schedule->pattern());
  trip.desk = &desk;
  trip.choice = desk.choose(*schedule->plan, event.trip.day);
  trip.clock = desk.clock(*schedule->plan);
  std::shared_ptr<LiveTrip>& live = _live[event.vehicle];
  if (live != nullptr) live->left = true;
  live = std::make_shared<LiveTrip>(std::move(trip));
  return true;
}

bool EngineShard::on(const Waiting& event) {
  if (LiveTrip* const trip = find(event.vehicle, event.trip)) trip->last_seen = event.time;
  return false;
}

bool EngineShard::on(const Progress& event) {
  LiveTrip* const trip = find(event.vehicle, event.trip);
  if (trip == nullptr) return true;
  const bool is_first = trip->places.empty();
  trip->last_seen = event.time;
  report(*trip, event);
  return is_first;
}

bool EngineShard::on(const StillThere& event) {
  if (LiveTrip* const trip = find(event.vehicle, event.trip)) trip->last_seen = event.time;
  return false;
}

bool EngineShard::on(const Corrected& event) {
  LiveTrip* const trip = find(event.vehicle, event.trip);
  if (trip == nullptr) return false;
  release(*trip);
  trip->places.clear();
  trip->reports.clear();
  trip->latest.reset();
  trip->shown.forget();
  for (const Progress& progress : event.cleaned) report(*trip, progress);
  return false;
}

bool EngineShard::on(const TripEnded& event) {
  LiveTrip* const trip = find(event.run.vehicle, event.run.trip);
  if (trip == nullptr) return true;
  release(*trip);
  trip->left = true;
  _live.erase(event.run.vehicle);
  return true;
}

LiveTrip* EngineShard::find(const VehicleId& vehicle, const TripKey& trip) {
  const auto entry = _live.find(vehicle);
  const bool is_on_it = entry != _live.end() && entry->second->schedule.key == trip;
  return is_on_it ? entry->second.get() : nullptr;
}

std::shared_ptr<LiveTrip> EngineShard::shared_live(const VehicleId& vehicle) const {
  const auto entry = _live.find(vehicle);
  return entry == _live.end() ? nullptr : entry->second;
}

void EngineShard::release(const LiveTrip& trip) {
  if (trip.places.empty()) return;
  _library.release(trip.in_library, unix_seconds(trip.places.back().time));
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
  trip.trips_at_last = trip.desk->stored(trip.choice.category).size();
  if (trip.places.empty()) trip.trips_at_start = trip.trips_at_last;
  note(trip, progress);
  _library.report(trip.desk->opened(), trip.in_library, trip.choice.category, trip.reports.back(),
                  trip.latest);
  trip.shown.forget();
}

/// Adds a place to the trip, on the library's clock too.
void EngineShard::note(LiveTrip& trip, const Progress& progress) const {
  const double offset_m = grid_offset_m(trip.desk->grid(), trip.desk->pattern(), progress);
  const long long time_s = unix_seconds(progress.time) - std::llround(trip.clock.lag_s(offset_m));
  const double error_m = std::max(progress.error_m, _options.least_error_m);
  trip.places.push_back(
      {progress.time, progress.received, progress.offset_m, progress.error_m, progress.evidence});
  trip.reports.push_back({offset_m, time_s, error_m});
}

std::optional<FollowedTrip> EngineShard::told_of(const VehicleId& vehicle, std::size_t from) {
  const LiveTrip* const trip = live(vehicle);
  if (trip == nullptr) return std::nullopt;
  FollowedTrip told;
  told.choice = trip->choice;
  told.last_seen = trip->last_seen;
  told.latest = trip->latest;
  told.trips_at_start = trip->trips_at_start;
  told.trips_at_last = trip->trips_at_last;
  if (trip->places.empty()) return told;
  told.from = std::min(from, trip->places.size() - 1);
  for (std::size_t i = told.from; i < trip->places.size(); ++i) {
    told.progress.push_back(progress_of(*trip, trip->places[i]));
  }
  const auto& sources = trip->desk->sources(trip->choice.category);
  if (!sources.empty()) told.first_earlier = sources.front().trip;
  return told;
}

bool EngineShard::follow(const VehicleId& vehicle, const TripKey& trip, const FollowedTrip& told) {
  LiveTrip* const live = find(vehicle, trip);
  if (live == nullptr) return false;
  if (told.choice.basis == ForecastBasis::timetable) {
    live->choice = live->desk->choose_timetable(*live->schedule.plan);
  } else {
    live->choice = told.choice;
  }
  live->last_seen = told.last_seen;
  live->trips_at_start = told.trips_at_start;
  live->trips_at_last = told.trips_at_last;
  const bool is_whole = told.from <= live->places.size();
  if (told.progress.empty()) return is_whole;
  const std::size_t known = is_whole ? told.from : 0;
  live->places.resize(known);
  live->reports.resize(known);
  for (const Progress& progress : told.progress) note(*live, progress);
  live->latest = told.latest;
  live->shown.forget();
  return is_whole;
}

std::optional<TripForecast> EngineShard::forecast(const VehicleId& vehicle, Instant now) {
  const auto entry = _live.find(vehicle);
  if (entry == _live.end()) return std::nullopt;
  LiveTrip& trip = *entry->second;
  show(trip, now);
  return trip.shown.as_of(now, trip.last_seen);
}

void EngineShard::show(LiveTrip& trip, Instant now) {
  KeptDisplay::Basis basis;
  basis.last_seen = trip.last_seen;
  if (!trip.latest) {
    basis.histories = trip.desk->version();
    basis.departure =
        expected_departure(trip.schedule, *trip.desk, trip.choice.category, trip.last_seen);
  }
  if (!trip.shown.holds(basis, now)) show_anew(trip, basis, now);
}

void EngineShard::show_anew(LiveTrip& trip, const KeptDisplay::Basis& basis, Instant now) const {
  PatternDesk& desk = *trip.desk;
  TripForecast result;
  result.trip = trip.schedule.key;
  result.vehicle = trip.vehicle;
  result.pattern = desk.pattern().ref;
  result.basis = trip.choice.basis;
  result.category = shown_category(trip.choice);
  result.trips = trip.choice.trips;
  DisplayHold hold;
  if (trip.latest) {
    result.offset_m = trip.places.back().offset_m;
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
  trip.shown.keep(std::move(result), basis, now, hold);
}

void EngineShard::show(AnnouncedTrip& trip, Instant earliest, Instant now) {
  PatternDesk& desk = desk_of(trip.schedule.pattern());
  if (!trip.choice || trip.histories != desk.version()) {
    trip.choice = desk.choose(*trip.schedule.plan, trip.schedule.key.day);
    trip.histories = desk.version();
  }
  const Category category = trip.choice->category;
  const auto& fresh = desk.fresh(category);
  if (!fresh) {
    trip.shown.forget();
    return;
  }
  const Instant expected = expected_departure(trip.schedule, desk, category, now);
  const KeptDisplay::Basis basis{desk.version(), std::max(expected, earliest), now};
  if (!trip.shown.holds(basis, now)) show_anew(trip, desk, *fresh, basis);
}

void EngineShard::show_anew(AnnouncedTrip& trip, const PatternDesk& desk,
                            const LibraryForecast& fresh, const KeptDisplay::Basis& basis) const {
  const Instant now = basis.last_seen;
  TripForecast result;
  result.trip = trip.schedule.key;
  result.pattern = desk.pattern().ref;
  result.basis = trip.choice->basis;
  result.category = shown_category(*trip.choice);
  result.trips = trip.choice->trips;
  result.confidence = fresh.confidence;
  const TripClock clock = desk.clock(*trip.schedule.plan);
  const DisplayHold hold = fill(result,
                                {trip.schedule, desk.pattern(), desk.grid(), clock, fresh,
                                 static_cast<double>(unix_seconds(basis.departure)),
                                 TripState::not_begun, now, _settings.calibration},
                                now);
  trip.shown.keep(std::move(result), basis, now, hold);
}

DisplayHold EngineShard::fill(TripForecast& result, const DisplayInput& input, Instant now) const {
  if (_options.mode == ForecastMode::arrival) return fill_stops(result, input, now);
  fill_legs(result, input);
  return {};
}

/// The timetable's departure with the delay of earlier trips, given that the trip has not departed
/// by `not_before`.
Instant EngineShard::expected_departure(const ScheduledTrip& schedule, const PatternDesk& desk,
                                        Category category, Instant not_before) {
  const Seconds waited = not_before - schedule.first_departure();
  return schedule.first_departure() + desk.expected_departure_delay(category, waited);
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

bool EngineShard::learn_at_work(const TripRun& run, Instant finished) {
  const std::optional<PatternIndex> pattern = _network.find_pattern(run.pattern);
  return pattern && _desks[*pattern] != nullptr && learn_from(run, finished);
}

Rejections EngineShard::rejected_trips() const {
  Rejections all = _rejected_trips;
  all.merge(_library.rejected_trajectories());
  return all;
}

}  // namespace qiv
