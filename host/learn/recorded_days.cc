#include "learn/recorded_days.h"

#include <algorithm>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <variant>

#include "model/settings.h"

namespace qiv {
namespace {

auto order_of(const ArchivedRun& run) {
  return std::tie(run.run.trip.day, run.run.progress.back().received, run.run.trip,
                  run.run.vehicle);
}

bool comes_before(const ArchivedRun& a, const ArchivedRun& b) {
  return order_of(a) < order_of(b);
}

/// End of the trajectories of days before `day`.
auto end_before(const std::vector<Trajectory>& trips, ServiceDate day) {
  return std::partition_point(trips.begin(), trips.end(),
                              [day](const Trajectory& trip) { return trip.trip.day < day; });
}

std::size_t count_before(const std::vector<Trajectory>& trips, ServiceDate day) {
  return static_cast<std::size_t>(end_before(trips, day) - trips.begin());
}

/// A pattern that can lend, and how alike it is.
struct Relative {
  const PatternOutline* outline = nullptr;
  double kinship = 0.0;
};

std::vector<Relative> relatives(const PatternOutline& to,
                                const std::map<PatternRef, PatternOutline>& all) {
  std::vector<Relative> found;
  for (const auto& [ref, from] : all) {
    if (ref == to.ref || coverage(from, to) < close_coverage) continue;
    found.push_back({&from, kinship(from, to)});
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const Relative& a, const Relative& b) { return a.kinship > b.kinship; });
  return found;
}

/// `run` as it would have been if it had kept its timetable, stop by stop; nothing if that is not
/// known.
std::optional<TripRun> as_scheduled(const ArchivedRun& run, const PatternOutline& pattern) {
  const std::size_t stops = pattern.stops.size();
  if (run.calls.size() != stops) return std::nullopt;
  TripRun kept{run.run.vehicle, run.run.trip, run.run.pattern, {}};
  const auto add = [&](Evidence evidence, double offset_m, Seconds time) {
    Progress& progress = kept.progress.emplace_back();
    progress.evidence = evidence;
    progress.offset_m = offset_m;
    progress.time = progress.received = Instant(time);
  };
  for (std::size_t j = 0; j < stops; ++j) {
    const double offset_m = pattern.stops[j].offset_m;
    if (j > 0) add(Evidence::arrival, offset_m, run.calls[j].arrival);
    if (j + 1 == stops) break;
    add(Evidence::departure, offset_m + dwell_length_m, run.calls[j].departure);
  }
  return kept;
}

/// Fills in the timetable of a trajectory, of which `kept` is what its run would have been.
void set_schedule(Trajectory& trajectory, const std::optional<TripRun>& kept,
                  const JourneyPattern& pattern, const Grid& grid) {
  if (!kept) return;
  const auto made = make_trajectory(*kept, pattern, grid.milestones_m);
  const auto* const scheduled = std::get_if<Trajectory>(&made);
  if (scheduled == nullptr) return;
  trajectory.scheduled_departure = scheduled->departed - Instant();
  trajectory.scheduled_s = scheduled->times_s;
}

}  // namespace

RecordedRuns::RecordedRuns(const Network& network, LendingOptions lending)
    : _network(network), _lending(lending) {
  for (const JourneyPattern& pattern : network.patterns()) {
    _outlines[pattern.ref] = outline(pattern, network.stops());
  }
}

void RecordedRuns::know(const PatternOutline& pattern) {
  _outlines.try_emplace(pattern.ref, pattern);
}

void RecordedRuns::add(ArchivedRun run) {
  if (run.run.progress.empty()) return;
  std::vector<ArchivedRun>& runs = _runs[run.run.pattern];
  const auto place = std::upper_bound(runs.begin(), runs.end(), run, comes_before);
  runs.insert(place, std::move(run));
}

const std::vector<ArchivedRun>& RecordedRuns::runs_of(const PatternRef& pattern) const {
  static const std::vector<ArchivedRun> none;
  const auto entry = _runs.find(pattern);
  return entry == _runs.end() ? none : entry->second;
}

std::vector<Trajectory> RecordedRuns::own(PatternIndex index, const Grid& grid,
                                          Rejections* rejections) const {
  std::vector<Trajectory> made;
  const JourneyPattern& pattern = _network.pattern(index);
  for (const ArchivedRun& archived : runs_of(pattern.ref)) {
    const TripRun& run = archived.run;
    auto trajectory = make_trajectory(run, pattern, grid.milestones_m);
    if (const auto* reason = std::get_if<std::string_view>(&trajectory)) {
      if (rejections != nullptr) rejections->add(*reason, [&] { return to_string(run.trip); });
      continue;
    }
    made.push_back(std::get<Trajectory>(std::move(trajectory)));
    const TripPlan* const plan = _network.find_trip(run.trip.trip, run.trip.start);
    if (plan != nullptr && plan->pattern == index) continue;
    set_schedule(made.back(), as_scheduled(archived, _outlines.at(pattern.ref)), pattern, grid);
  }
  return made;
}

std::vector<std::vector<Trajectory>> RecordedRuns::lent(PatternIndex index,
                                                        const Grid& grid) const {
  std::vector<std::vector<Trajectory>> found;
  const JourneyPattern& pattern = _network.pattern(index);
  const PatternOutline& to = _outlines.at(pattern.ref);
  for (const Relative& relative : relatives(to, _outlines)) {
    const PatternOutline& from = *relative.outline;
    std::vector<Trajectory> made;
    for (const ArchivedRun& archived : runs_of(from.ref)) {
      const auto moved = reproject(archived.run, from, to);
      if (!moved) continue;
      auto trajectory = make_trajectory(*moved, pattern, grid.milestones_m);
      if (!std::holds_alternative<Trajectory>(trajectory)) continue;
      made.push_back(std::get<Trajectory>(std::move(trajectory)));
      made.back().lent = true;
      const auto kept = as_scheduled(archived, from);
      set_schedule(made.back(), kept ? reproject(*kept, from, to) : std::nullopt, pattern, grid);
    }
    if (!made.empty()) found.push_back(std::move(made));
  }
  return found;
}

PatternPast RecordedRuns::past(PatternIndex pattern, const Grid& grid, ServiceDate first_day,
                               Rejections* rejections) const {
  PatternPast past;
  past.own = own(pattern, grid, rejections);
  if (count_before(past.own, first_day) < _lending.enough_trips) past.lent = lent(pattern, grid);
  return past;
}

HistorySource RecordedRuns::source_before(ServiceDate day) const {
  return [this, day](PatternIndex pattern, const Grid& grid) { return before(day, pattern, grid); };
}

std::vector<Trajectory> RecordedRuns::before(ServiceDate day, const PatternPast& past) const {
  const auto own_end = end_before(past.own, day);
  std::size_t missing =
      _lending.enough_trips - std::min(_lending.enough_trips, count_before(past.own, day));
  std::vector<Trajectory> chosen;
  for (const std::vector<Trajectory>& relative : past.lent) {
    const std::size_t taken = std::min(missing, count_before(relative, day));
    const auto end = end_before(relative, day);
    chosen.insert(chosen.end(), end - static_cast<std::ptrdiff_t>(taken), end);
    missing -= taken;
  }
  std::stable_sort(chosen.begin(), chosen.end(), [](const Trajectory& a, const Trajectory& b) {
    return std::tie(a.trip.day, a.finished, a.trip, a.vehicle) <
           std::tie(b.trip.day, b.finished, b.trip, b.vehicle);
  });
  chosen.insert(chosen.end(), past.own.begin(), own_end);
  return chosen;
}

std::vector<Trajectory> RecordedRuns::before(ServiceDate day, PatternIndex pattern,
                                             const Grid& grid, Rejections* rejections) const {
  return before(day, past(pattern, grid, day, rejections));
}

std::vector<const TripRun*> RecordedRuns::on(ServiceDate day, PatternIndex pattern) const {
  std::vector<const TripRun*> found;
  for (const auto& [run, calls, followed] : runs_of(_network.pattern(pattern).ref)) {
    if (run.trip.day == day) found.push_back(&run);
  }
  return found;
}

std::vector<ServiceDate> RecordedRuns::days() const {
  std::set<ServiceDate> days;
  for (const auto& [pattern, runs] : _runs) {
    if (!_network.find_pattern(pattern)) continue;
    for (const ArchivedRun& run : runs) days.insert(run.run.trip.day);
  }
  return {days.begin(), days.end()};
}

}  // namespace qiv
