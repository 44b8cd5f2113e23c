#include "learn/recorded_days.h"

#include <algorithm>
#include <set>
#include <variant>

namespace qiv {
namespace {

Instant finished_at(const TripRun& run) {
  return run.progress.back().received;
}

}  // namespace

void RecordedRuns::add(const TripRun& run) {
  const std::optional<PatternIndex> pattern = _network.find_pattern(run.pattern);
  if (!pattern || run.progress.empty()) return;
  std::vector<TripRun>& runs = _runs[*pattern][run.trip.day];
  const auto later = std::upper_bound(
      runs.begin(), runs.end(), run,
      [](const TripRun& a, const TripRun& b) { return finished_at(a) < finished_at(b); });
  runs.insert(later, run);
}

std::vector<Trajectory> RecordedRuns::before(ServiceDate day, PatternIndex pattern,
                                             const Grid& grid, Rejections* rejections) const {
  std::vector<Trajectory> trajectories;
  const auto days = _runs.find(pattern);
  if (days == _runs.end()) return trajectories;
  for (const auto& [other, runs] : days->second) {
    if (other >= day) break;
    for (const TripRun& run : runs) {
      auto made = make_trajectory(run, _network.pattern(pattern), grid.milestones_m);
      if (const auto* reason = std::get_if<std::string_view>(&made)) {
        if (rejections != nullptr) rejections->add(*reason, [&] { return to_string(run.trip); });
      } else {
        trajectories.push_back(std::move(std::get<Trajectory>(made)));
      }
    }
  }
  return trajectories;
}

std::vector<const TripRun*> RecordedRuns::on(ServiceDate day, PatternIndex pattern) const {
  std::vector<const TripRun*> found;
  const auto days = _runs.find(pattern);
  if (days == _runs.end()) return found;
  const auto runs = days->second.find(day);
  if (runs == days->second.end()) return found;
  for (const TripRun& run : runs->second) found.push_back(&run);
  return found;
}

std::vector<ServiceDate> RecordedRuns::days() const {
  std::set<ServiceDate> days;
  for (const auto& [pattern, by_day] : _runs) {
    for (const auto& [day, runs] : by_day) days.insert(day);
  }
  return {days.begin(), days.end()};
}

}  // namespace qiv
