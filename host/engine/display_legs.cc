#include "engine/display_legs.h"

#include <algorithm>
#include <cmath>

namespace qiv {
namespace {

double arrival_m(const Grid& grid, std::size_t stop) {
  return grid.places_m[Grid::arrival_place(stop)];
}

/// When the vehicle was at `place_m` by its reports, or when it was first seen behind it.
Instant seen_behind(const LiveTrip& trip, double place_m) {
  std::size_t i = 0;
  while (trip.reports[i].offset_m < place_m && i + 1 < trip.reports.size()) ++i;
  const Instant after = trip.places[i].time;
  if (i == 0) return after;
  const Instant before = trip.places[i - 1].time;
  const double before_m = trip.reports[i - 1].offset_m;
  const double share = (place_m - before_m) / (trip.reports[i].offset_m - before_m);
  return before + Seconds(std::llround(share * static_cast<double>((after - before).count())));
}

/// The library's row of a leg, on the clock of the trip.
LegForecast leg_forecast(const DisplayInput& input, std::size_t j) {
  const LibraryRow& row = input.forecast.rows[j];
  const double lag_s =
      input.clock.lag_s(arrival_m(input.grid, j + 1)) - input.clock.lag_s(arrival_m(input.grid, j));
  const auto on_clock = [&](long long library_s) {
    return Seconds(std::max(0LL, std::llround(static_cast<double>(library_s) + lag_s)));
  };
  LegForecast leg;
  leg.from = input.pattern.stops[j].stop;
  leg.to = input.pattern.stops[j + 1].stop;
  leg.from_sequence = input.schedule.plan->call(j).sequence;
  leg.to_sequence = input.schedule.plan->call(j + 1).sequence;
  leg.observed = j < input.forecast.first;
  leg.travel_time = on_clock(row.time_s);
  leg.library_lower = on_clock(row.lower_s);
  leg.library_upper = on_clock(row.upper_s);
  if (!leg.observed) leg.spread_s = std::sqrt(std::max(0.0, row.variance_s2));
  return leg;
}

}  // namespace

void fill_legs(TripForecast& result, const DisplayInput& input) {
  result.state = input.state;
  result.legs.clear();
  result.legs.reserve(input.forecast.rows.size());
  for (std::size_t j = 0; j < input.forecast.rows.size(); ++j) {
    result.legs.push_back(leg_forecast(input, j));
  }
  if (input.trip == nullptr || input.forecast.first >= result.legs.size()) return;
  LegForecast& under_way = result.legs[input.forecast.first];
  const Instant since = seen_behind(*input.trip, arrival_m(input.grid, input.forecast.first));
  under_way.elapsed = std::max(input.last_seen - since, Seconds(0));
  if (*under_way.elapsed <= under_way.travel_time) return;
  under_way.travel_time = *under_way.elapsed;
  result.state = TripState::overdue;
}

}  // namespace qiv
