#include "engine/pattern_desk.h"

#include <algorithm>
#include <limits>

#include "network/shape_version.h"

namespace qiv {
namespace {

LibraryPattern describe_pattern(const JourneyPattern& pattern, const Grid& grid,
                                const PatternSettings& settings) {
  LibraryPattern described;
  described.ref = pattern.ref;
  described.shape_version_id = shape_version_id(pattern, grid.milestones_m);
  described.grid = grid;
  described.stop_places_m = arrival_places_m(grid);
  described.bandwidth = settings.bandwidth;
  return described;
}

}  // namespace

std::vector<double> arrival_places_m(const Grid& grid) {
  std::vector<double> places_m;
  for (std::size_t j = 0; Grid::arrival_place(j) < grid.places_m.size(); ++j) {
    places_m.push_back(grid.places_m[Grid::arrival_place(j)]);
  }
  return places_m;
}

PatternDesk::PatternDesk(const Network& network, PatternIndex pattern,
                         const PatternSettings& settings, const Grid& grid,
                         ForecastLibrary& library, std::span<const Trajectory> earlier)
    : _network(network), _pattern(pattern), _settings(settings), _library(library), _grid(grid) {
  _opened = _library.open(describe_pattern(this->pattern(), _grid, _settings));
  std::map<Category, std::vector<std::size_t>> members;
  for (std::size_t i = 0; i < earlier.size(); ++i) {
    for (const Category category : categories_of(earlier[i])) members[category].push_back(i);
  }
  for (const auto& [category, indices] : members) {
    const std::size_t skipped =
        indices.size() - std::min<std::size_t>(indices.size(), _settings.window);
    for (const std::size_t i : std::span(indices).subspan(skipped)) {
      add_to(category, earlier[i], library_times(earlier[i]));
    }
  }
}

void PatternDesk::add(const Trajectory& trajectory) {
  ++_version;
  const std::vector<int> times_s = library_times(trajectory);
  for (const Category category : categories_of(trajectory)) {
    add_to(category, trajectory, times_s);
  }
}

HistoryChoice PatternDesk::choose(const TripPlan& trip, ServiceDate day) {
  for (const Category category : categories(day, trip.departure(), _settings.category_depth)) {
    const std::size_t size = stored(category).size();
    const bool whole_pattern = category == 0;
    if (size >= _settings.least_trips || (whole_pattern && size > 0)) {
      return {category, ForecastBasis::history, static_cast<unsigned>(size)};
    }
  }
  return choose_timetable(trip);
}

HistoryChoice PatternDesk::choose_timetable(const TripPlan& trip) {
  std::vector<int> times_s = timetable_trajectory_s(_grid, trip);
  clock(trip).subtract(_grid.milestones_m, times_s);
  const auto next = static_cast<Category>(std::numeric_limits<Category>::min() +
                                          static_cast<Category>(_timetables.size() % 30000));
  const auto [entry, added] = _timetables.emplace(times_s, next);
  if (added) store(entry->second, times_s, timetable_trajectory_s(_grid, trip));
  return {entry->second, ForecastBasis::timetable, 0};
}

TripClock PatternDesk::clock(const TripPlan& trip) const {
  if (!_settings.delay_clock) return {};
  return {_grid, trip, _network.trip(_network.trips_of(_pattern).front())};
}

const std::optional<LibraryForecast>& PatternDesk::fresh(Category category) {
  Past& past = _past[category];
  if (past.has_fresh) return past.fresh;
  static const LibraryVehicle fresh_vehicle("fresh", "fresh", "fresh");
  past.fresh.reset();
  _library.report(_opened, fresh_vehicle, category, {_grid.places_m.front(), 0, 0.0}, past.fresh);
  _library.release(fresh_vehicle, 0);
  past.has_fresh = true;
  return past.fresh;
}

Seconds PatternDesk::expected_departure_delay(Category category, Seconds waited) const {
  const Seconds least = std::max(waited, Seconds(0));
  const std::vector<Seconds>& delays = past(category).departure_delays;
  const auto later = std::upper_bound(delays.begin(), delays.end(), waited);
  if (later == delays.end()) return least;
  return std::max(*(later + (delays.end() - later) / 2), Seconds(0));
}

const PatternDesk::Past& PatternDesk::past(Category category) const {
  static const Past none;
  const auto entry = _past.find(category);
  return entry == _past.end() ? none : entry->second;
}

const std::vector<std::vector<int>>& PatternDesk::stored(Category category) const {
  return past(category).stored;
}

const std::vector<SourceTrip>& PatternDesk::sources(Category category) const {
  return past(category).sources;
}

const std::vector<std::vector<int>>& PatternDesk::elapsed(Category category) const {
  return past(category).elapsed;
}

void PatternDesk::add_to(Category category, const Trajectory& trajectory,
                         const std::vector<int>& times_s) {
  if (!store(category, times_s, trajectory.times_s)) return;
  Past& past = _past[category];
  past.sources.push_back({trajectory.trip, trajectory.lent});
  const TripPlan* const trip = _network.find_trip(trajectory.trip.trip, trajectory.trip.start);
  if (!trajectory.scheduled_departure && trip == nullptr) return;
  const Seconds scheduled =
      trajectory.scheduled_departure.value_or(trip == nullptr ? Seconds(0) : trip->departure());
  std::vector<Seconds>& delays = past.departure_delays;
  const Seconds delay = trajectory.departed - _network.clock().at(trajectory.trip.day, scheduled);
  delays.insert(std::upper_bound(delays.begin(), delays.end(), delay), delay);
}

bool PatternDesk::store(Category category, const std::vector<int>& times_s,
                        const std::vector<int>& elapsed_s) {
  if (!_library.add_trajectory(_opened, category, times_s)) return false;
  Past& past = _past[category];
  past.stored.push_back(times_s);
  past.elapsed.push_back(elapsed_s);
  past.has_fresh = false;
  return true;
}

std::vector<Category> PatternDesk::categories_of(const Trajectory& trajectory) const {
  if (trajectory.scheduled_departure) {
    return categories(trajectory.trip.day, *trajectory.scheduled_departure,
                      _settings.category_depth);
  }
  const TripPlan* const trip = _network.find_trip(trajectory.trip.trip, trajectory.trip.start);
  if (trip == nullptr) return {0};
  return categories(trajectory.trip.day, trip->departure(), _settings.category_depth);
}

std::vector<int> PatternDesk::library_times(const Trajectory& trajectory) const {
  std::vector<int> times_s = trajectory.times_s;
  if (_settings.delay_clock && !trajectory.scheduled_s.empty()) {
    const std::vector<int> nominal_s =
        timetable_trajectory_s(_grid, _network.trip(_network.trips_of(_pattern).front()));
    for (std::size_t i = 0; i < times_s.size(); ++i) {
      times_s[i] -= trajectory.scheduled_s[i] - nominal_s[i];
      if (i > 0) times_s[i] = std::max(times_s[i], times_s[i - 1]);
    }
    return times_s;
  }
  const TripPlan* const trip = _network.find_trip(trajectory.trip.trip, trajectory.trip.start);
  if (trip != nullptr && trip->pattern == _pattern) {
    clock(*trip).subtract(_grid.milestones_m, times_s);
  }
  return times_s;
}

}  // namespace qiv
