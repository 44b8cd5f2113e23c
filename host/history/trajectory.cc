#include "history/trajectory.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "model/settings.h"

namespace qiv {
namespace {

/// A report of the run, its time counted from the run's first report.
struct Point {
  double time_s = 0.0;
  double offset_m = 0.0;
};

bool goes_back(std::span<const Progress> progress) {
  for (std::size_t i = 0; i < progress.size(); ++i) {
    if (!std::isfinite(progress[i].offset_m)) return true;
    if (i > 0 && (progress[i].time < progress[i - 1].time ||
                  progress[i].offset_m < progress[i - 1].offset_m)) {
      return true;
    }
  }
  return false;
}

double first_stop_reach_m(const JourneyPattern& pattern, const TrajectoryRules& rules) {
  const double second_stop_m = pattern.stops[1].offset_m - pattern.stops[0].offset_m;
  return std::min(rules.start_radius_m, second_stop_m / 2.0);
}

double median_step_m(std::span<const Progress> progress) {
  std::vector<double> steps_m;
  for (std::size_t i = 1; i < progress.size(); ++i) {
    steps_m.push_back(progress[i].offset_m - progress[i - 1].offset_m);
  }
  if (steps_m.empty()) return 0.0;
  const auto middle = steps_m.begin() + static_cast<std::ptrdiff_t>(steps_m.size() / 2);
  std::nth_element(steps_m.begin(), middle, steps_m.end());
  return *middle;
}

/// How far from its stop the first or the last report of a run, `end`, may lie. A feed that states
/// arrivals and departures would have stated them there; fixes come when they come.
double end_tolerance_m(const Progress& end, std::span<const Progress> progress, double length_m,
                       const TrajectoryRules& rules) {
  if (end.evidence != Evidence::fix) return rules.end_tolerance_m;
  return std::max(rules.end_tolerance_m,
                  std::min(median_step_m(progress), rules.widest_end_share * length_m));
}

/// Index of the report with which the vehicle leaves the first stop, or nothing if none is there.
std::optional<std::size_t> departing_report(std::span<const Progress> progress, double origin_m,
                                            double reach_m) {
  std::optional<std::size_t> last_there;
  std::optional<std::size_t> last_departure;
  for (std::size_t i = 0; i < progress.size(); ++i) {
    const bool departure = progress[i].evidence == Evidence::departure;
    const double at_m = departure ? progress[i].offset_m - dwell_length_m : progress[i].offset_m;
    if (at_m > origin_m + reach_m) break;
    last_there = i;
    if (departure) last_departure = i;
  }
  return last_departure ? last_departure : last_there;
}

/// Speed of the leg that starts (or, backwards, ends) at the given end of `points` and is at least
/// `length_m` long, within what the rules allow.
template <class Iterator>
double leg_speed_mps(Iterator from, Iterator end, double length_m, const TrajectoryRules& rules) {
  Iterator to = from;
  while (to != end && std::abs(to->offset_m - from->offset_m) < length_m) ++to;
  if (to == end) --to;
  const double distance_m = std::abs(to->offset_m - from->offset_m);
  const double time_s = std::abs(to->time_s - from->time_s);
  const double speed_mps = time_s > 0.0 ? distance_m / time_s : rules.highest_speed_mps;
  return std::clamp(speed_mps, rules.slowest_mps, rules.highest_speed_mps);
}

/// The points of a trip from its departure on, or why there is no departure.
std::variant<std::vector<Point>, std::string_view> course(std::span<const Progress> progress,
                                                          const JourneyPattern& pattern,
                                                          const TrajectoryRules& rules) {
  const double origin_m = pattern.stops.front().offset_m;
  const auto departing = departing_report(progress, origin_m, first_stop_reach_m(pattern, rules));
  std::vector<Point> points;
  for (const Progress& p : progress.subspan(departing.value_or(0))) {
    points.push_back({static_cast<double>((p.time - progress.front().time).count()),
                      std::max(p.offset_m, origin_m)});
  }
  if (points.size() < 2) return std::string_view("too few reports");

  if (!departing) {
    const Point first = points.front();
    const double missing_m = first.offset_m - origin_m;
    if (missing_m > end_tolerance_m(progress.front(), progress, pattern.length_m(), rules)) {
      return std::string_view("begins late");
    }
    const double speed_mps =
        leg_speed_mps(points.begin(), points.end(), rules.end_tolerance_m, rules);
    points.insert(points.begin(), {first.time_s - missing_m / speed_mps, origin_m});
  } else if (progress[*departing].evidence == Evidence::arrival &&
             points[1].time_s - points[0].time_s >
                 static_cast<double>(rules.longest_unseen_departure.count())) {
    return std::string_view("departure unseen");
  }
  return points;
}

/// Whether a stop lies strictly between two offsets, its two places counted as one.
bool stop_between(const JourneyPattern& pattern, double from_m, double to_m) {
  return std::any_of(pattern.stops.begin(), pattern.stops.end(), [&](const PatternStop& stop) {
    return stop.offset_m > from_m && stop.offset_m + dwell_length_m < to_m;
  });
}

/// Why two neighbouring points make no trip; empty if all do.
std::string_view fault(const std::vector<Point>& points, const JourneyPattern& pattern,
                       const TrajectoryRules& rules) {
  for (std::size_t i = 1; i < points.size(); ++i) {
    const double time_s = points[i].time_s - points[i - 1].time_s;
    const double distance_m = points[i].offset_m - points[i - 1].offset_m;
    if (time_s > static_cast<double>(rules.longest_gap.count()) &&
        distance_m > rules.start_radius_m) {
      return "gap too long";
    }
    if (distance_m > rules.widest_gap_share * pattern.length_m() &&
        stop_between(pattern, points[i - 1].offset_m, points[i].offset_m)) {
      return "gap too wide";
    }
    if (distance_m > rules.highest_speed_mps * time_s + rules.end_tolerance_m) return "too fast";
  }
  return {};
}

/// The time at which the course first reaches `offset_m`; `next` is the first point that may be
/// there, and moves on with ascending offsets.
double reaching_s(const std::vector<Point>& points, double offset_m, double last_speed_mps,
                  std::size_t& next) {
  while (next < points.size() && points[next].offset_m < offset_m) ++next;
  if (next == 0) return points.front().time_s;
  const Point& before = points[next - 1];
  if (next == points.size()) {
    return before.time_s + (offset_m - before.offset_m) / last_speed_mps;
  }
  const Point& after = points[next];
  const double share = (offset_m - before.offset_m) / (after.offset_m - before.offset_m);
  return before.time_s + share * (after.time_s - before.time_s);
}

/// When the report that reaches `end_m`, or else the last one, was received.
Instant completion(std::span<const Progress> progress, double end_m) {
  Instant received = progress.front().received;
  for (const Progress& p : progress) {
    received = std::max(received, p.received);
    if (p.offset_m >= end_m) break;
  }
  return received;
}

}  // namespace

std::variant<Trajectory, std::string_view> make_trajectory(const TripRun& run,
                                                           const JourneyPattern& pattern,
                                                           std::span<const double> milestones_m,
                                                           const TrajectoryRules& rules) {
  if (run.progress.size() < 2) return std::string_view("too few reports");
  if (goes_back(run.progress)) return std::string_view("goes back");
  const auto departed = course(run.progress, pattern, rules);
  if (const auto* reason = std::get_if<std::string_view>(&departed)) return *reason;
  const auto& points = std::get<std::vector<Point>>(departed);
  const double missing_m = pattern.stops.back().offset_m - points.back().offset_m;
  if (missing_m > end_tolerance_m(run.progress.back(), run.progress, pattern.length_m(), rules)) {
    return std::string_view("ends early");
  }
  if (const auto reason = fault(points, pattern, rules); !reason.empty()) return reason;

  const double departed_s = points.front().time_s;
  const double last_speed_mps =
      leg_speed_mps(points.rbegin(), points.rend(), rules.end_tolerance_m, rules);
  const auto longest_s = static_cast<double>(rules.longest_trip.count());

  Trajectory trajectory;
  trajectory.trip = run.trip;
  trajectory.vehicle = run.vehicle;
  trajectory.times_s.reserve(milestones_m.size());
  std::size_t next = 0;
  for (const double milestone_m : milestones_m) {
    const double time_s = reaching_s(points, milestone_m, last_speed_mps, next) - departed_s;
    if (time_s > longest_s) return std::string_view("lasts too long");
    trajectory.times_s.push_back(static_cast<int>(std::lround(time_s)));
  }
  trajectory.departed = run.progress.front().time + Seconds(std::llround(departed_s));
  trajectory.finished =
      completion(run.progress, milestones_m.empty() ? HUGE_VAL : milestones_m.back());
  return trajectory;
}

std::vector<std::optional<double>> passing_times_s(const TripRun& run,
                                                   std::span<const double> offsets_m) {
  const auto& progress = run.progress;
  const auto time_s = [](const Progress& p) { return static_cast<double>(unix_seconds(p.time)); };
  std::vector<std::optional<double>> times_s(offsets_m.size());
  std::size_t next = 0;
  for (std::size_t i = 0; i < offsets_m.size(); ++i) {
    while (next < progress.size() && progress[next].offset_m < offsets_m[i]) ++next;
    if (next == progress.size()) break;
    const Progress& after = progress[next];
    if (after.offset_m == offsets_m[i]) {
      times_s[i] = time_s(after);
    } else if (next > 0) {
      const Progress& before = progress[next - 1];
      const double share = (offsets_m[i] - before.offset_m) / (after.offset_m - before.offset_m);
      times_s[i] = time_s(before) + share * (time_s(after) - time_s(before));
    }
  }
  return times_s;
}

}  // namespace qiv
