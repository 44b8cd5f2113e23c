#include "track/trip_guess.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "geo/distance.h"

namespace qiv {
namespace {

/// A vehicle that moved less says nothing new of its course.
constexpr double step_m = 100.0;
/// Odds of each trip that fits, and of none of them, before anything is known.
constexpr double one_trip = 0.25;
constexpr double no_trip = 0.5;
/// What the trip before says, as logs of odds.
constexpr double next_of_block = 3.0;
constexpr double other_block = -1.5;
constexpr double same_route = 1.5;
constexpr double same_trip_again = -4.0;
/// A vehicle that has been seen at one place only may be there for any reason.
constexpr double one_place = -2.5;
/// A course that fits worse than the best by so much is not asked for its trips, ...
constexpr double behind = 6.0;
/// ... and by so much is followed no longer.
constexpr double far_behind = 9.0;
constexpr std::size_t longest_trail = 32;

bool same_statement(const VehiclePosition& a, const VehiclePosition& b) {
  return a.stop == b.stop && a.status == b.status;
}

}  // namespace

TripFinder::TripFinder(const Network& network, const TrackOptions& options)
    : _network(network),
      _options(options),
      _nearby(network,
              std::max(options.widest_distance_m, options.widest_distance_without_shape_m)),
      _candidates(network) {}

const std::optional<TripGuess::Assignment>& TripGuess::take(TripFinder& finder,
                                                            const VehiclePosition& report) {
  if (!report.place) return _assignment;
  _contradicted = false;
  if (counts(report)) {
    follow(finder, report);
    _counted = report;
    weigh(finder, report);
  } else if (stands_at_start()) {
    for (PathCourse& course : _courses) course.stay(report.time);
    weigh(finder, report);
  }
  remember(report);
  _latest = report.time;
  return _assignment;
}

bool TripGuess::stands_at_start() const {
  return std::any_of(_courses.begin(), _courses.end(), [](const PathCourse& course) {
    return std::any_of(course.places().begin(), course.places().end(),
                       [](const CoursePlace& place) { return place.marks.latest().at_start; });
  });
}

bool TripGuess::counts(const VehiclePosition& report) const {
  return !_counted || distance_m(*_counted->place, *report.place) >= step_m ||
         !same_statement(*_counted, report);
}

void TripGuess::follow(TripFinder& finder, const VehiclePosition& report) {
  CourseStep step;
  if (_counted) {
    step = {false, distance_m(*_counted->place, *report.place), report.time - _counted->time};
  }
  std::vector<PathCourse> next;
  auto known = _courses.begin();
  const auto keep = [&](PathCourse&& course) {
    course.take(report, step);
    if (!course.places().empty()) next.push_back(std::move(course));
  };
  for (const PatternIndex pattern : finder.nearby().near(*report.place)) {
    const JourneyPattern& path = finder.network().pattern(pattern);
    for (; known != _courses.end() && known->pattern() < pattern; ++known) keep(std::move(*known));
    if (known != _courses.end() && known->pattern() == pattern) {
      keep(std::move(*known++));
    } else if ((report.route.empty() || path.route == report.route) &&
               (!report.direction || !path.direction || path.direction == report.direction)) {
      keep(PathCourse(finder.network(), pattern, finder.options()));
    }
  }
  for (; known != _courses.end(); ++known) keep(std::move(*known));
  double best = 0.0;
  for (const PathCourse& course : next) best = std::max(best, course.places().front().fit);
  std::erase_if(next, [&](const PathCourse& course) {
    return course.places().front().fit < best - far_behind;
  });
  _courses = std::move(next);
}

bool TripGuess::is_assigned(const TripCandidate& candidate) const {
  return _assignment && _assignment->trip.key == candidate.key();
}

/// What the trip before says of `candidate`: of a vehicle that `stands`, only the block counts.
double TripGuess::continuity(const TripFinder& finder, const TripCandidate& candidate,
                             bool stands) const {
  if (!_before) return 0.0;
  const TripKey key = candidate.key();
  if (key == _before->key) return _before_finished ? same_trip_again : 0.0;
  if (_before->next == key) return next_of_block;
  const auto route = [&](const TripPlan& plan) -> const RouteId& {
    return finder.network().pattern(plan.pattern).route;
  };
  const BlockId& block = _before->plan->block;
  const bool leaves = !block.empty() && block != candidate.plan->block;
  const bool stays = !stands && route(*_before->plan) == route(*candidate.plan);
  return (leaves ? other_block : 0.0) + (stays ? same_route : 0.0);
}

void TripGuess::weigh(TripFinder& finder, const VehiclePosition& report) {
  std::vector<TripCandidate> candidates;
  double best = 0.0;
  for (const PathCourse& course : _courses) best = std::max(best, course.places().front().fit);
  for (const PathCourse& course : _courses) {
    for (const CoursePlace& place : course.places()) {
      if (place.fit > best - behind) {
        find(finder, course.pattern(), place, report, candidates);
      }
    }
  }
  decide(finder, candidates, report.time);
}

/// Appends the trips that `place` on a path may mean, with all that speaks for them.
void TripGuess::find(TripFinder& finder, PatternIndex index, const CoursePlace& place,
                     const VehiclePosition& report, std::vector<TripCandidate>& found) const {
  const JourneyPattern& pattern = finder.network().pattern(index);
  const auto first = static_cast<std::ptrdiff_t>(found.size());
  finder.candidates().find(index, place, report, found);
  if (place.offset_m() >= pattern.stops.back().offset_m - finder.options().end_zone_m) {
    // No trip begins here, but the assigned one ends.
    found.erase(std::remove_if(found.begin() + first, found.end(),
                               [&](const TripCandidate& c) { return !is_assigned(c); }),
                found.end());
  }
  const bool stands = place.marks.size() == 1;
  for (auto candidate = found.begin() + first; candidate != found.end(); ++candidate) {
    candidate->fit += continuity(finder, *candidate, stands) + (stands ? one_place : 0.0);
  }
}

void TripGuess::decide(const TripFinder& finder, const std::vector<TripCandidate>& candidates,
                       Instant now) {
  std::map<TripKey, double> weights;
  double total = no_trip;
  const TripCandidate* best = nullptr;
  for (const TripCandidate& candidate : candidates) {
    const double weight = one_trip * std::exp(candidate.fit);
    weights[candidate.key()] += weight;
    total += weight;
    if (best == nullptr || candidate.fit > best->fit) best = &candidate;
  }
  if (_assignment) {
    const auto held = weights.find(_assignment->trip.key);
    _assignment->confidence = held == weights.end() ? 0.0 : held->second / total;
  }
  const double confidence = best == nullptr ? 0.0 : weights[best->key()] / total;
  const bool other = best != nullptr && !is_assigned(*best);
  const bool begins = other && confidence >= finder.options().assign_confidence;
  const bool lost = _assignment && _assignment->confidence < finder.options().withdraw_confidence;
  if (_assignment && (begins || lost)) {
    _contradicted = other && confidence > _assignment->confidence && best->since <= _assigned;
    if (!_contradicted) {
      _before = _assignment->trip;
      _before_finished = false;
    }
    _assignment.reset();
  }
  if (begins) {
    _assignment = {finder.network().schedule(*best->plan, best->day), confidence};
    _since = best->since;
    _assigned = now;
  }
}

void TripGuess::ended(const ScheduledTrip& trip, bool finished) {
  _before = trip;
  _before_finished = finished;
  _assignment.reset();
  _courses.clear();
  _counted.reset();
  _trail.clear();
}

void TripGuess::remember(const VehiclePosition& report) {
  const auto there = [&](const VehiclePosition& other) {
    return same_statement(other, report) && distance_m(*other.place, *report.place) < 20.0;
  };
  if (_trail.size() >= 2 && there(_trail.back()) && there(_trail[_trail.size() - 2])) {
    _trail.back() = report;
    return;
  }
  if (_trail.size() == longest_trail) {
    for (std::size_t i = 1; 2 * i < _trail.size(); ++i) _trail[i] = std::move(_trail[2 * i]);
    _trail.resize(longest_trail / 2);
  }
  _trail.push_back(report);
}

std::vector<VehiclePosition> TripGuess::course() const {
  std::vector<VehiclePosition> reports;
  for (const VehiclePosition& report : _trail) {
    if (report.time >= _since && report.time < _latest) reports.push_back(report);
  }
  return reports;
}

}  // namespace qiv
