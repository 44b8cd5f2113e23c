#include "track/locate.h"

#include <algorithm>
#include <cmath>

#include "geo/distance.h"
#include "model/settings.h"

namespace qiv {
namespace {

constexpr double typical_fix_error_m = 20.0;
constexpr double typical_heading_error_deg = 40.0;
constexpr double typical_deviation_s = 600.0;

double seconds_between(Instant from, Instant to) {
  return static_cast<double>((to - from).count());
}

/// The offset at which the timetable has the trip at `time`.
double scheduled_offset_m(const JourneyPattern& pattern, const ScheduledTrip& trip, Instant time) {
  std::size_t next = 0;
  while (next < pattern.stops.size() && trip.arrival(next) < time) ++next;
  if (next == 0) return pattern.stops.front().offset_m;
  if (next == pattern.stops.size()) return pattern.stops.back().offset_m;
  const double share =
      std::clamp(seconds_between(trip.departure(next - 1), time) /
                     std::max(1.0, seconds_between(trip.departure(next - 1), trip.arrival(next))),
                 0.0, 1.0);
  const double from_m = pattern.stops[next - 1].offset_m;
  return from_m + share * (pattern.stops[next].offset_m - from_m);
}

double mean_speed_mps(const JourneyPattern& pattern, const ScheduledTrip& trip) {
  const double duration_s = seconds_between(trip.first_departure(), trip.last_arrival());
  return std::clamp(pattern.length_m() / std::max(duration_s, 60.0), 2.0, 30.0);
}

double squared(double x) {
  return x * x;
}

/// How far ahead of its timetable a vehicle at `offset_m` is, by the trip's mean speed; before and
/// after the trip's span, by the clock as well.
double deviation_s(const JourneyPattern& pattern, const ScheduledTrip& trip, double offset_m,
                   Instant time) {
  const double early_s = std::max(0.0, seconds_between(time, trip.first_departure()));
  const double late_s = std::max(0.0, seconds_between(trip.last_arrival(), time));
  const double ahead_m = offset_m - scheduled_offset_m(pattern, trip, time);
  return ahead_m / mean_speed_mps(pattern, trip) + early_s - late_s;
}

double widest_distance_m(const JourneyPattern& pattern, const TrackOptions& options) {
  return pattern.has_shape ? options.widest_distance_m : options.widest_distance_without_shape_m;
}

/// How badly an offset fits what the vehicle did before, or the timetable on its first report.
double motion_cost(const JourneyPattern& pattern, const ScheduledTrip& trip, double offset_m,
                   const Expectation& expected) {
  const double speed_mps = mean_speed_mps(pattern, trip);
  if (!expected.last) {
    return squared(deviation_s(pattern, trip, offset_m, expected.time) / typical_deviation_s);
  }
  const double elapsed_s = std::max(0.0, seconds_between(expected.last->time, expected.time));
  const double moved_m = offset_m - expected.last->offset_m;
  const double usual_m = speed_mps * elapsed_s;
  const double slack_m = typical_fix_error_m + expected.last->error_m + 0.5 * usual_m;
  return moved_m < 0.0 ? squared(moved_m / (typical_fix_error_m + expected.last->error_m))
                       : squared((moved_m - usual_m) / (slack_m + usual_m));
}

/// The pattern's stop that the report names: by its sequence, or by its identifier, then the next
/// one from where the vehicle was.
std::optional<std::size_t> named_stop(const Network& network, const ScheduledTrip& trip,
                                      const VehiclePosition& report, const Expectation& expected) {
  const JourneyPattern& pattern = network.pattern(trip.pattern());
  const auto names = [&](std::size_t j) {
    return report.stop.empty() || network.stops()[pattern.stops[j].stop].id == report.stop;
  };
  if (report.stop_sequence) {
    const auto stop = trip.plan->find_sequence(*report.stop_sequence);
    if (stop && names(*stop)) return stop;
  }
  if (report.stop.empty()) return std::nullopt;
  const double from_m = expected.last ? expected.last->offset_m : -1.0;
  for (std::size_t j = 0; j < pattern.stops.size(); ++j) {
    if (pattern.stops[j].offset_m + dwell_length_m >= from_m && names(j)) return j;
  }
  return std::nullopt;
}

}  // namespace

std::optional<Sighting> stated_place(const Network& network, const ScheduledTrip& trip,
                                     const VehiclePosition& report, const Expectation& expected,
                                     const TrackOptions& options) {
  if (!report.status) return std::nullopt;
  const std::optional<std::size_t> named = named_stop(network, trip, report, expected);
  if (!named) return std::nullopt;
  const JourneyPattern& pattern = network.pattern(trip.pattern());
  const auto distance_to_stop_m = [&](std::size_t j) {
    return report.place ? distance_m(*report.place, network.stops()[pattern.stops[j].stop].place)
                        : 0.0;
  };
  if (*report.status == StopStatus::stopped_at) {
    if (distance_to_stop_m(*named) > widest_distance_m(pattern, options)) return std::nullopt;
    return Sighting{pattern.stops[*named].offset_m, 0.0, Evidence::arrival, 0.0, 0.0};
  }
  if (*named == 0) {
    return Sighting{pattern.stops.front().offset_m, 0.0, Evidence::arrival, 0.0, 0.0};
  }
  if (distance_to_stop_m(*named - 1) > options.station_zone_m) return std::nullopt;
  return Sighting{pattern.stops[*named - 1].offset_m + dwell_length_m, 0.0, Evidence::departure,
                  0.0, 0.0};
}

std::vector<Sighting> matched_places(const Network& network, const ScheduledTrip& trip,
                                     const VehiclePosition& report, const Expectation& expected,
                                     const TrackOptions& options) {
  std::vector<Sighting> places;
  if (!report.place) return places;
  const JourneyPattern& pattern = network.pattern(trip.pattern());
  const Polyline& line = network.polyline(trip.pattern());
  for (const LineMatch& match :
       line.candidates(*report.place, widest_distance_m(pattern, options))) {
    Sighting place;
    place.offset_m = match.offset_m;
    place.error_m = typical_fix_error_m + match.distance_m;
    place.cost = squared(match.distance_m / (2.0 * typical_fix_error_m)) +
                 motion_cost(pattern, trip, match.offset_m, expected);
    place.deviation_s = deviation_s(pattern, trip, match.offset_m, expected.time);
    if (report.bearing_deg && report.speed_mps.value_or(5.0) > 1.0) {
      place.cost += squared(angle_between_deg(*report.bearing_deg, match.heading_deg) /
                            typical_heading_error_deg);
    }
    places.push_back(place);
  }
  std::stable_sort(places.begin(), places.end(),
                   [](const Sighting& a, const Sighting& b) { return a.cost < b.cost; });
  return places;
}

}  // namespace qiv
