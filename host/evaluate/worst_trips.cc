#include "evaluate/worst_trips.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "evaluate/report_words.h"

namespace qiv {
namespace {

constexpr int moments_drawn = 4;

std::optional<Instant> last_arrival(const TripTruth& seen) {
  for (auto arrival = seen.arrivals.rbegin(); arrival != seen.arrivals.rend(); ++arrival) {
    if (*arrival) return (*arrival)->time;
  }
  return std::nullopt;
}

/// When the moment of this number is due. A trip that ends before it should begin is shown, too.
Instant moment_due(const ScheduledTrip& trip, Instant end, std::size_t moment) {
  const Instant start = std::min(trip.first_departure(), end - std::chrono::minutes(15));
  return start + (end - start) * static_cast<int>(moment) / moments_drawn;
}

/// What was forecast for the stops ahead; for a trip that has not set out, for the departure, too.
TripPlotMoment moment_of(const JourneyPattern& pattern, const TripForecast& shown, Instant now) {
  TripPlotMoment moment{now, shown.offset_m, {}};
  for (std::size_t i = 0; i < shown.stops.size(); ++i) {
    const StopForecast& stop = shown.stops[i];
    if (stop.observed) continue;
    BoundedTime arrival = stop.arrival;
    if (i == 0) {
      arrival = {stop.departure, stop.departure, stop.departure, stop.departure, stop.departure};
    }
    moment.ahead.push_back({pattern.stops[i].offset_m, arrival});
  }
  return moment;
}

}  // namespace

void WorstTrips::add_error(const TripKey& trip, const VehicleId& vehicle, long long error_s) {
  Sum& sum = _sums[trip];
  sum.vehicle = vehicle;
  ++sum.n;
  sum.absolute_sum_s += std::abs(static_cast<double>(error_s));
}

void WorstTrips::show(const ScheduledTrip& trip, const TripTruth& seen, const TripForecast& shown,
                      Instant now) {
  const auto end = last_arrival(seen);
  if (!end) return;
  OnTheRoad& road = _on_the_road[trip.key];
  if (road.next_moment == moments_drawn || now < moment_due(trip, *end, road.next_moment)) return;
  while (road.next_moment < moments_drawn && moment_due(trip, *end, road.next_moment) <= now) {
    ++road.next_moment;
  }
  road.moments.push_back(moment_of(_network.pattern(trip.pattern()), shown, now));
}

void WorstTrips::report(const Progress& progress) {
  const auto road = _on_the_road.find(progress.trip);
  if (road == _on_the_road.end() || road->second.start) return;
  road->second.start = TripPlotPoint{progress.time, progress.offset_m};
}

void WorstTrips::settle(const ScheduledTrip& trip, const TripTruth& seen) {
  const auto road = _on_the_road.find(trip.key);
  if (road == _on_the_road.end()) return;
  const auto sum = _sums.find(trip.key);
  if (sum != _sums.end()) {
    Picture picture{trip.key, sum->second.mae_s(), {}};
    const auto place = std::find_if(_pictures.begin(), _pictures.end(), [&](const Picture& other) {
      return picture.is_worse_than(other);
    });
    if (place != _pictures.end() || _pictures.size() < _most) {
      picture.plot = draw(trip, seen, sum->second, std::move(road->second));
      _pictures.insert(place, std::move(picture));
      if (_pictures.size() > _most) _pictures.pop_back();
    }
  }
  _on_the_road.erase(road);
}

TripPlot WorstTrips::draw(const ScheduledTrip& trip, const TripTruth& seen, const Sum& sum,
                          OnTheRoad&& road) const {
  const JourneyPattern& pattern = _network.pattern(trip.pattern());
  TripPlot plot;
  plot.title = title_of(trip);
  plot.note = "Trip " + to_string(trip.key) +
              (sum.vehicle.empty() ? "" : ", vehicle " + sum.vehicle.text()) + ": off by " +
              fixed(sum.mae_s(), 0) + " s on the mean of " + std::to_string(sum.n) + " forecasts";
  plot.zero = trip.zero;
  for (std::size_t i = 0; i < pattern.stops.size(); ++i) {
    const double offset_m = pattern.stops[i].offset_m;
    plot.stops.push_back({name_of(pattern.stops[i]), offset_m});
    if (i > 0) plot.scheduled.push_back({trip.arrival(i), offset_m});
    if (i + 1 < pattern.stops.size()) plot.scheduled.push_back({trip.departure(i), offset_m});
    const auto& arrival = seen.arrivals[i];
    if (!arrival) continue;
    if (plot.observed.empty() && road.start && road.start->time < arrival->time &&
        road.start->offset_m < offset_m) {
      plot.observed.push_back(*road.start);
    }
    plot.observed.push_back({arrival->time, offset_m});
  }
  plot.moments = std::move(road.moments);
  return plot;
}

std::string WorstTrips::title_of(const ScheduledTrip& trip) const {
  const JourneyPattern& pattern = _network.pattern(trip.pattern());
  const Route* const route = _network.find_route(pattern.route);
  std::string name = pattern.route.text();
  if (route != nullptr && !route->long_name.empty()) name = route->long_name;
  if (route != nullptr && !route->short_name.empty()) name = route->short_name;
  const std::string& headsign = trip.plan->headsign;
  return name + " to " + (headsign.empty() ? name_of(pattern.stops.back()) : headsign) + ", " +
         format_time_of_day(trip.plan->departure()).substr(0, 5) + ", " +
         trip.key.day.to_iso_string();
}

std::string WorstTrips::name_of(const PatternStop& planned) const {
  const Stop& stop = _network.stops()[planned.stop];
  return stop.name.empty() ? stop.id.text() : stop.name;
}

std::vector<WorstTrip> WorstTrips::list(std::size_t most) const {
  std::vector<WorstTrip> trips;
  trips.reserve(_sums.size());
  for (const auto& [trip, sum] : _sums) trips.push_back({trip, sum.vehicle, sum.mae_s(), sum.n});
  std::stable_sort(trips.begin(), trips.end(),
                   [](const WorstTrip& a, const WorstTrip& b) { return a.mae_s > b.mae_s; });
  if (trips.size() > most) trips.resize(most);
  return trips;
}

std::vector<TripPlot> WorstTrips::plots() const {
  std::vector<TripPlot> plots;
  plots.reserve(_pictures.size());
  for (const Picture& picture : _pictures) plots.push_back(picture.plot);
  return plots;
}

}  // namespace qiv
