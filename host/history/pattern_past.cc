#include "history/pattern_past.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>
#include <variant>

#include "model/settings.h"

namespace qiv {
namespace {

/// A pattern that can lend, and how alike it is.
struct Relative {
  const PatternOutline* outline = nullptr;
  double kinship = 0.0;
};

std::vector<Relative> relatives(const PatternOutline& to, const PatternOutlines& all) {
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

/// A run of a relative as a trajectory of `pattern`; nothing if it makes none.
std::optional<Trajectory> lent_trajectory(const ArchivedRun& run, const PatternOutline& from,
                                          const PatternOutline& to, const JourneyPattern& pattern,
                                          const Grid& grid) {
  const auto moved = reproject(run.run, from, to);
  if (!moved) return std::nullopt;
  auto made = make_trajectory(*moved, pattern, grid.milestones_m);
  auto* const trajectory = std::get_if<Trajectory>(&made);
  if (trajectory == nullptr) return std::nullopt;
  trajectory->lent = true;
  const auto kept = as_scheduled(run, from);
  set_schedule(*trajectory, kept ? reproject(*kept, from, to) : std::nullopt, pattern, grid);
  return std::move(*trajectory);
}

}  // namespace

PatternOutlines outlines_of(const Network& network) {
  PatternOutlines outlines;
  for (const JourneyPattern& pattern : network.patterns()) {
    outlines[pattern.ref] = outline(pattern, network.stops());
  }
  return outlines;
}

PastReader::PastReader(const Network& network, const PatternOutlines& outlines, ReadRuns runs)
    : _network(network), _outlines(outlines), _runs(std::move(runs)) {}

std::vector<Trajectory> PastReader::own(PatternIndex index, const Grid& grid,
                                        Rejections* rejections) const {
  std::vector<Trajectory> found;
  const JourneyPattern& pattern = _network.pattern(index);
  _runs(pattern.ref, [&](const ArchivedRun& archived) {
    const TripRun& run = archived.run;
    auto made = make_trajectory(run, pattern, grid.milestones_m);
    if (const auto* reason = std::get_if<std::string_view>(&made)) {
      if (rejections != nullptr) rejections->add(*reason, [&] { return to_string(run.trip); });
      return;
    }
    found.push_back(std::get<Trajectory>(std::move(made)));
    const TripPlan* const plan = _network.find_trip(run.trip.trip, run.trip.start);
    if (plan != nullptr && plan->pattern == index) return;
    set_schedule(found.back(), as_scheduled(archived, _outlines.at(pattern.ref)), pattern, grid);
  });
  return found;
}

std::vector<std::vector<Trajectory>> PastReader::lent(PatternIndex index, const Grid& grid) const {
  std::vector<std::vector<Trajectory>> found;
  const JourneyPattern& pattern = _network.pattern(index);
  const PatternOutline& to = _outlines.at(pattern.ref);
  for (const Relative& relative : relatives(to, _outlines)) {
    std::vector<Trajectory> made;
    _runs(relative.outline->ref, [&](const ArchivedRun& run) {
      auto trajectory = lent_trajectory(run, *relative.outline, to, pattern, grid);
      if (trajectory) made.push_back(std::move(*trajectory));
    });
    if (!made.empty()) found.push_back(std::move(made));
  }
  return found;
}

std::vector<Trajectory> chosen_past(const PatternPast& past, const LendingOptions& lending,
                                    const CountUsable& usable) {
  const auto end_of = [&](const std::vector<Trajectory>& trips) {
    return trips.begin() + static_cast<std::ptrdiff_t>(usable(trips));
  };
  std::size_t missing = lending.enough_trips - std::min(lending.enough_trips, usable(past.own));
  std::vector<Trajectory> chosen;
  for (const std::vector<Trajectory>& relative : past.lent) {
    const std::size_t taken = std::min(missing, usable(relative));
    chosen.insert(chosen.end(), end_of(relative) - static_cast<std::ptrdiff_t>(taken),
                  end_of(relative));
    missing -= taken;
  }
  std::stable_sort(chosen.begin(), chosen.end(), [](const Trajectory& a, const Trajectory& b) {
    return std::tie(a.trip.day, a.finished, a.trip, a.vehicle) <
           std::tie(b.trip.day, b.finished, b.trip, b.vehicle);
  });
  chosen.insert(chosen.end(), past.own.begin(), end_of(past.own));
  return chosen;
}

}  // namespace qiv
