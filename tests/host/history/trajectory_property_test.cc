#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>

#include "history/trajectory.h"
#include "host/history/samples.h"

namespace qiv {
namespace {

/// Any run, most often in order and from about the first stop to about the last.
TripRun any_run(double length_m) {
  const auto count = *rc::gen::inRange<std::size_t>(0, 40);
  std::vector<int> times_s;
  std::vector<double> offsets_m;
  for (std::size_t i = 0; i < count; ++i) {
    times_s.push_back(*rc::gen::inRange(0, 3600));
    offsets_m.push_back(length_m * *rc::gen::inRange(-10, 1011) / 1000.0);
  }
  if (*rc::gen::weightedElement<bool>({{9, true}, {1, false}})) {
    std::sort(times_s.begin(), times_s.end());
    std::sort(offsets_m.begin(), offsets_m.end());
    if (count > 0) {
      offsets_m.front() = *rc::gen::inRange(-10, 250);
      offsets_m.back() = length_m - *rc::gen::inRange(-10, 200);
      std::sort(offsets_m.begin(), offsets_m.end());
    }
  }
  TripRun run{VehicleId("V"), {TripId("T"), samples::sample_day, {}}, PatternRef("P"), {}};
  for (std::size_t i = 0; i < count; ++i) {
    const Instant time = samples::at("08:00:00") + Seconds(times_s[i]);
    const auto evidence = *rc::gen::element(Evidence::fix, Evidence::arrival, Evidence::departure);
    run.progress.push_back({run.vehicle, run.trip, 0, time,
                            time + Seconds(*rc::gen::inRange(0, 90)), offsets_m[i], 10.0,
                            evidence});
  }
  return run;
}

JourneyPattern any_pattern() {
  std::vector<double> offsets_m = {0.0};
  const auto legs = *rc::gen::inRange<std::size_t>(1, 8);
  for (std::size_t i = 0; i < legs; ++i) {
    offsets_m.push_back(offsets_m.back() + *rc::gen::inRange(1, 1500));
  }
  return samples::pattern_with_stops("P", offsets_m);
}

std::vector<double> any_milestones(double length_m) {
  std::vector<double> milestones_m = {0.0, length_m};
  for (const int share : *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 1000))) {
    milestones_m.push_back(length_m * share / 1000.0);
  }
  std::sort(milestones_m.begin(), milestones_m.end());
  return milestones_m;
}

RC_GTEST_PROP(TrajectoryProperty, StartsAtZeroNeverDecreasesAndHasATimeForEachMilestone, ()) {
  const JourneyPattern pattern = any_pattern();
  const auto milestones_m = any_milestones(pattern.length_m());
  const TripRun run = any_run(pattern.length_m());
  TrajectoryRules rules;
  rules.widest_gap_share = 1.0;
  rules.highest_speed_mps = 1000.0;
  rules.longest_unseen_departure = Seconds(3600);
  const auto made = make_trajectory(run, pattern, milestones_m, rules);
  const auto* trajectory = std::get_if<Trajectory>(&made);
  RC_CLASSIFY(trajectory != nullptr, "made");
  if (trajectory == nullptr) {
    RC_ASSERT(!std::get<std::string_view>(made).empty());
    return;
  }
  RC_ASSERT(trajectory->times_s.size() == milestones_m.size());
  RC_ASSERT(trajectory->times_s.front() == 0);
  RC_ASSERT(std::is_sorted(trajectory->times_s.begin(), trajectory->times_s.end()));
  RC_ASSERT(trajectory->finished >= trajectory->departed);
}

RC_GTEST_PROP(TrajectoryProperty, PassingTimesLieWithinTheRunAndNeverDecrease, ()) {
  TripRun run = any_run(1000.0);
  std::sort(run.progress.begin(), run.progress.end(),
            [](const Progress& a, const Progress& b) { return a.offset_m < b.offset_m; });
  std::vector<Instant> times;
  for (const Progress& p : run.progress) times.push_back(p.time);
  std::sort(times.begin(), times.end());
  for (std::size_t i = 0; i < times.size(); ++i) run.progress[i].time = times[i];

  std::optional<double> last_s;
  for (const auto& time_s : passing_times_s(run, any_milestones(1000.0))) {
    if (!time_s) continue;
    RC_ASSERT(*time_s >= static_cast<double>(unix_seconds(times.front())));
    RC_ASSERT(*time_s <= static_cast<double>(unix_seconds(times.back())));
    RC_ASSERT(!last_s || *time_s >= *last_s - 1e-6);
    last_s = time_s;
  }
}

}  // namespace
}  // namespace qiv
