#include "track/path_course.h"

#include <algorithm>
#include <cmath>

#include "geo/distance.h"

namespace qiv {
namespace {

/// Distances from the path fall off with this scale where the timetable has a shape, ...
constexpr double shape_scale_m = 25.0;
/// ... and where the path goes straight from stop to stop.
constexpr double straight_scale_m = 60.0;
/// A vehicle that is on no trip is as likely at any distance up to this.
constexpr double elsewhere_m = 800.0;
/// Share of reports of a vehicle on its path that lie anywhere.
constexpr double stray = 0.05;
/// Vehicles on no trip use the streets of those that are: what nearness says is weakened by this.
constexpr double nearness_weight = 0.35;
/// A step counts in full from this length on.
constexpr double full_step_m = 400.0;
constexpr double least_step_weight = 0.5;
/// What was learned is forgotten by half over this distance.
constexpr double half_life_m = 3000.0;
constexpr double best_fit = 6.0;
constexpr double hopeless_fit = -3.0;
constexpr double missed_step = -1.5;
/// A vehicle that was on the path, and is on it again without having come forward along it.
constexpr double began_again = -1.5;
constexpr double backward_noise_m = 60.0;
constexpr double heading_scale_deg = 40.0;
constexpr double worst_heading = -3.0;
constexpr double moving_mps = 1.0;
constexpr double stop_agrees = 0.7;
constexpr double stop_disagrees = -2.5;
constexpr double stop_zone_m = 250.0;
constexpr std::size_t most_places = 4;

double step_weight(const CourseStep& step) {
  if (step.first) return 1.0;
  return std::clamp(step.distance_m / full_step_m, least_step_weight, 1.0);
}

double faded(double fit, double distance_m) {
  return fit * std::exp2(-distance_m / half_life_m);
}

}  // namespace

void CourseMarks::add(const Mark& mark) {
  if (_count == _marks.size()) {
    // The first stays, and of the others every second one.
    for (std::size_t i = 1; 2 * i < _count; ++i) _marks[i] = _marks[2 * i];
    _count = (_count + 1) / 2;
  }
  _marks[_count++] = mark;
}

double PathCourse::widest_m() const {
  return _network->pattern(_pattern).has_shape ? _options->widest_distance_m
                                               : _options->widest_distance_without_shape_m;
}

bool PathCourse::at_start(double offset_m) const {
  return offset_m <= _network->pattern(_pattern).stops.front().offset_m + _options->start_zone_m;
}

void PathCourse::take(const VehiclePosition& report, const CourseStep& step) {
  const std::vector<LineMatch> matches =
      _network->polyline(_pattern).candidates(*report.place, widest_m());
  if (matches.empty()) return miss(step);
  std::vector<CoursePlace> next;
  for (const LineMatch& match : matches) {
    const double weight = step_weight(step);
    const double here = nearness(report, match, weight) + stated(report, match.offset_m);
    CoursePlace place = begin(match, report.time);
    double came_with = _places.empty() ? 0.0 : began_again;
    if (const CoursePlace* const before = best_before(match, step, came_with)) {
      place.marks = before->marks;
      if (at_start(match.offset_m) && before->marks.latest().at_start) {
        place.marks.prolong(report.time);
      } else {
        place.marks.add({report.time, match.offset_m, false});
      }
    }
    place.fit = std::min(best_fit, came_with + here);
    if (place.fit > hopeless_fit) next.push_back(place);
  }
  std::stable_sort(next.begin(), next.end(),
                   [](const CoursePlace& a, const CoursePlace& b) { return a.fit > b.fit; });
  if (next.size() > most_places) next.resize(most_places);
  _places = std::move(next);
}

CoursePlace PathCourse::begin(const LineMatch& match, Instant time) const {
  CoursePlace place;
  place.marks.add({time, match.offset_m, at_start(match.offset_m)});
  return place;
}

/// The place from which the vehicle most probably came forward to `match`, and with what fit; null
/// when none explains it better than a course that begins here.
const CoursePlace* PathCourse::best_before(const LineMatch& match, const CourseStep& step,
                                           double& fit) const {
  const CoursePlace* best = nullptr;
  for (const CoursePlace& place : _places) {
    const double moved_m = match.offset_m - place.offset_m();
    const auto elapsed_s = static_cast<double>(std::max(step.elapsed, Seconds(1)).count());
    const bool jumps = moved_m > 300.0 + _options->highest_speed_mps * elapsed_s;
    if (moved_m < -backward_noise_m || jumps) continue;
    const double excess_m = std::abs(moved_m - step.distance_m);
    const double came_with =
        faded(place.fit, step.distance_m) - std::min(2.0, excess_m / (400.0 + step.distance_m));
    if (came_with > fit) {
      fit = came_with;
      best = &place;
    }
  }
  return best;
}

double PathCourse::nearness(const VehiclePosition& report, const LineMatch& match,
                            double weight) const {
  const double scale_m = _network->pattern(_pattern).has_shape ? shape_scale_m : straight_scale_m;
  const double on_path =
      (1.0 - stray) * std::exp(-match.distance_m / scale_m) / scale_m + stray / elsewhere_m;
  double fit = weight * nearness_weight * std::log(on_path * elsewhere_m);
  if (report.bearing_deg && report.speed_mps.value_or(5.0) > moving_mps) {
    const double off =
        angle_between_deg(*report.bearing_deg, match.heading_deg) / heading_scale_deg;
    fit += weight * (0.5 + std::max(worst_heading, -0.5 * off * off));
  }
  return fit;
}

/// Whether the stop that the feed states is the one here, or the next one on the way.
double PathCourse::stated(const VehiclePosition& report, double offset_m) const {
  if (report.stop.empty()) return 0.0;
  const bool stands = report.status == StopStatus::stopped_at;
  for (const PatternStop& stop : _network->pattern(_pattern).stops) {
    if (stop.offset_m < offset_m - stop_zone_m) continue;
    const bool named = _network->stops()[stop.stop].id == report.stop;
    if (named)
      return stands && stop.offset_m > offset_m + stop_zone_m ? stop_disagrees : stop_agrees;
    if (stop.offset_m > offset_m + stop_zone_m) return stop_disagrees;
  }
  return stop_disagrees;
}

void PathCourse::miss(const CourseStep& step) {
  for (CoursePlace& place : _places) {
    place.fit = faded(place.fit, step.distance_m) + missed_step;
  }
  std::erase_if(_places, [](const CoursePlace& place) { return place.fit < hopeless_fit; });
}

void PathCourse::stay(Instant time) {
  for (CoursePlace& place : _places) {
    if (place.marks.latest().at_start) place.marks.prolong(time);
  }
}

}  // namespace qiv
