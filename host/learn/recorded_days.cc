#include "learn/recorded_days.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <utility>

namespace qiv {
namespace {

auto order_of(const ArchivedRun& run) {
  return std::tie(run.run.trip.day, run.run.progress.back().received, run.run.trip,
                  run.run.vehicle);
}

bool comes_before(const ArchivedRun& a, const ArchivedRun& b) {
  return order_of(a) < order_of(b);
}

std::size_t count_before(const std::vector<Trajectory>& trips, ServiceDate day) {
  const auto end = std::partition_point(
      trips.begin(), trips.end(), [day](const Trajectory& trip) { return trip.trip.day < day; });
  return static_cast<std::size_t>(end - trips.begin());
}

}  // namespace

RecordedRuns::RecordedRuns(const Network& network, LendingOptions lending)
    : _network(network), _lending(lending), _outlines(outlines_of(network)) {}

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

PastReader RecordedRuns::reader() const {
  return {_network, _outlines,
          [this](const PatternRef& pattern, const std::function<void(const ArchivedRun&)>& take) {
            for (const ArchivedRun& run : runs_of(pattern)) take(run);
          }};
}

PatternPast RecordedRuns::past(PatternIndex pattern, const Grid& grid, ServiceDate first_day,
                               Rejections* rejections) const {
  PatternPast past;
  past.own = reader().own(pattern, grid, rejections);
  if (count_before(past.own, first_day) < _lending.enough_trips) {
    past.lent = reader().lent(pattern, grid);
  }
  return past;
}

HistorySource RecordedRuns::source_before(ServiceDate day) const {
  return [this, day](PatternIndex pattern, const Grid& grid) { return before(day, pattern, grid); };
}

std::vector<Trajectory> RecordedRuns::before(ServiceDate day, const PatternPast& past) const {
  return chosen_past(past, _lending, [day](const std::vector<Trajectory>& trips) {
    return count_before(trips, day);
  });
}

std::vector<Trajectory> RecordedRuns::before(ServiceDate day, PatternIndex pattern,
                                             const Grid& grid, Rejections* rejections) const {
  return before(day, past(pattern, grid, day, rejections));
}

std::vector<const TripRun*> RecordedRuns::on(ServiceDate day, PatternIndex pattern) const {
  std::vector<const TripRun*> found;
  for (const ArchivedRun& archived : runs_of(_network.pattern(pattern).ref)) {
    if (archived.run.trip.day == day) found.push_back(&archived.run);
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
