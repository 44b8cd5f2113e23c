#include "track/trip_candidates.h"

#include <algorithm>
#include <cmath>

namespace qiv {
namespace {

/// Scales of the distribution of delays, in seconds: exponential on either side.
constexpr double early_scale_s = 90.0;
constexpr double late_scale_s = 260.0;
constexpr double start_early_scale_s = 120.0;  // the last report there comes before the departure
constexpr double start_late_scale_s = 150.0;
constexpr double wait_scale_s = 400.0;
/// A vehicle to which a trip means nothing is at any time of this span equally often.
constexpr double headway_s = 3600.0;
/// Share of delays that can be anything.
constexpr double stray = 0.02;

constexpr Seconds latest(2700);
constexpr Seconds earliest(-600);
constexpr Seconds longest_wait(1800);
constexpr Seconds start_time_noise(90);

double log_density(double scale_s, double other_scale_s, double away_s) {
  const double density = std::exp(-away_s / scale_s) / (scale_s + other_scale_s);
  return std::log((1.0 - stray) * density * headway_s + stray);
}

/// A place between two stops of a pattern, the same for all of its trips.
struct BetweenStops {
  std::size_t next = 1;
  double share = 0.0;

  BetweenStops(const JourneyPattern& pattern, double offset_m) {
    const auto& stops = pattern.stops;
    while (next + 1 < stops.size() && stops[next].offset_m < offset_m) ++next;
    const double from_m = stops[next - 1].offset_m;
    const double leg_m = stops[next].offset_m - from_m;
    share = leg_m > 0.0 ? std::clamp((offset_m - from_m) / leg_m, 0.0, 1.0) : 0.0;
  }

  Seconds scheduled(const TripPlan& trip) const {
    const Seconds from = trip.call(next - 1).departure;
    const Seconds leg = trip.call(next).arrival - from;
    return from + Seconds(std::lround(share * static_cast<double>(leg.count())));
  }
};

}  // namespace

double delay_fit(Seconds late, bool at_start) {
  const auto late_s = static_cast<double>(late.count());
  const double early = at_start ? start_early_scale_s : early_scale_s;
  const double behind = at_start ? start_late_scale_s : late_scale_s;
  return late_s < 0.0 ? log_density(early, behind, -late_s) : log_density(behind, early, late_s);
}

double waiting_fit(Seconds ahead) {
  return log_density(wait_scale_s, start_late_scale_s, static_cast<double>(ahead.count()));
}

TripCandidates::TripCandidates(const Network& network)
    : _network(&network), _longest(network.patterns().size()) {
  for (const TripPlan& trip : network.trips()) {
    _longest[trip.pattern] = std::max(_longest[trip.pattern], trip.arrival() - trip.departure());
  }
}

const TripCandidates::Days& TripCandidates::days_at(Instant now) {
  if (now >= _days.begin && now < _days.end) return _days;
  const ServiceClock& clock = _network->clock();
  const ServiceDate today = clock.local_day(now);
  const std::chrono::days one(1);
  _days.begin = now;
  _days.end = std::max(now + Seconds(1), clock.zero(today + one));
  _days.zeros = {{{today - one, clock.zero(today - one)},
                  {today, clock.zero(today)},
                  {today + one, clock.zero(today + one)}}};
  return _days;
}

void TripCandidates::find(PatternIndex index, const CoursePlace& place,
                          const VehiclePosition& report, std::vector<TripCandidate>& found) {
  const JourneyPattern& pattern = _network->pattern(index);
  const CourseMarks::Mark& here = place.marks.latest();
  std::vector<std::pair<const CourseMarks::Mark*, BetweenStops>> marks;
  for (const CourseMarks::Mark& mark : place.marks) {
    marks.emplace_back(&mark, BetweenStops(pattern, mark.offset_m));
  }
  const auto fit_of = [&](const TripPlan& trip, Instant zero) {
    double sum = 0.0;
    double weight = 0.0;
    for (const auto& [mark, between] : marks) {
      const Seconds late = mark->time - (zero + between.scheduled(trip));
      const bool waits = mark->at_start && mark == &here && late < Seconds(0);
      const double counts = mark->at_start ? 2.0 : 1.0;
      sum += counts * (waits ? waiting_fit(-late) : delay_fit(late, mark->at_start));
      weight += counts;
    }
    return sum / weight;
  };
  const std::span<const TripIndex> trips = _network->trips_of(index);
  const Seconds ahead = here.at_start ? longest_wait : -earliest;
  for (const auto& [day, zero] : days_at(here.time).zeros) {
    if (report.start_date && *report.start_date != day) continue;
    const Seconds now = here.time - zero;
    auto trip = std::lower_bound(
        trips.begin(), trips.end(), now - latest - _longest[index],
        [&](TripIndex i, Seconds wanted) { return _network->trip(i).departure() < wanted; });
    for (; trip != trips.end() && _network->trip(*trip).departure() <= now + ahead; ++trip) {
      const TripPlan& plan = _network->trip(*trip);
      if (report.start_time &&
          std::chrono::abs(plan.departure() - *report.start_time) > start_time_noise) {
        continue;
      }
      const Seconds late = now - marks.back().second.scheduled(plan);
      if (late > latest || late < -ahead || !_network->runs_on(plan, day)) continue;
      found.push_back({&plan, day, place.fit + fit_of(plan, zero), place.since()});
    }
  }
}

}  // namespace qiv
