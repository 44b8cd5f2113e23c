#include "worker/history_book.h"

#include <algorithm>
#include <tuple>
#include <variant>

namespace qiv {
namespace {

bool is_same_trip(const Trajectory& a, const Trajectory& b) {
  return a.trip == b.trip && a.vehicle == b.vehicle && a.departed == b.departed;
}

}  // namespace

bool HistoryBook::Earlier::operator()(const Trajectory& a, const Trajectory& b) const {
  return std::tie(a.finished, a.trip, a.vehicle, a.departed) <
         std::tie(b.finished, b.trip, b.vehicle, b.departed);
}

bool HistoryBook::take(const FinishedTrip& trip) {
  if (trip.finished > _until) return false;
  const auto pattern = _network.find_pattern(trip.run.pattern);
  if (!pattern) return false;
  OfPattern& own = of(*pattern);
  auto made = make_trajectory(trip.run, _network.pattern(*pattern), own.grid.milestones_m);
  auto* const trajectory = std::get_if<Trajectory>(&made);
  if (trajectory == nullptr) return false;
  trajectory->finished = trip.finished;
  trajectory->times_s.shrink_to_fit();
  const PatternSettings& settings = _settings.of(trip.run.pattern);
  Window& window = own.windows[finest_category(trajectory->trip, settings)];
  const auto is_known = [&](const Trajectory& other) { return is_same_trip(*trajectory, other); };
  if (std::any_of(window.trips.begin(), window.trips.end(), is_known)) return false;
  if (window.full && Earlier()(*trajectory, *window.trips.begin())) return false;
  window.trips.insert(std::move(*trajectory));
  ++_trips;
  if (window.trips.size() <= std::max(settings.window, 1U)) return true;
  window.trips.erase(window.trips.begin());
  window.full = true;
  --_trips;
  return true;
}

/// What the finest categories hold is enough for the coarser ones: a trip that is among the last of
/// a coarse one is among the last of its own.
HistorySource HistoryBook::source() const {
  return [this](PatternIndex pattern, const Grid&) {
    std::vector<Trajectory> trajectories;
    const auto own = _patterns.find(pattern);
    if (own == _patterns.end()) return trajectories;
    for (const auto& [category, window] : own->second.windows) {
      trajectories.insert(trajectories.end(), window.trips.begin(), window.trips.end());
    }
    std::sort(trajectories.begin(), trajectories.end(), Earlier());
    return trajectories;
  };
}

HistoryBook::OfPattern& HistoryBook::of(PatternIndex pattern) {
  const auto known = _patterns.find(pattern);
  if (known != _patterns.end()) return known->second;
  const JourneyPattern& described = _network.pattern(pattern);
  const double spacing_m = _settings.of(described.ref).milestone_spacing_m;
  return _patterns.emplace(pattern, OfPattern{make_grid(described, spacing_m), {}}).first->second;
}

Category HistoryBook::finest_category(const TripKey& trip, const PatternSettings& settings) const {
  const TripPlan* const plan = _network.find_trip(trip.trip, trip.start);
  if (plan == nullptr) return 0;
  return categories(trip.day, plan->departure(), settings.category_depth).front();
}

}  // namespace qiv
