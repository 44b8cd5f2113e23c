#include "engine/display.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "engine/bounds.h"

namespace qiv {
namespace {

Instant to_instant(double time_s) {
  return from_unix_seconds(std::llround(time_s));
}

/// The library's rows on the timetable's clock, moved on when the vehicle is overdue.
class PlaceTimes {
 public:
  explicit PlaceTimes(const DisplayInput& input) : _input(input) {
    const LibraryForecast& forecast = input.forecast;
    if (forecast.first >= forecast.rows.size()) return;
    const double overdue_s =
        static_cast<double>(unix_seconds(input.last_seen)) - time_s(forecast.first);
    if (overdue_s > 0.0) _shift_s = overdue_s;
  }

  bool observed(std::size_t place) const { return place < _input.forecast.first; }

  double time_s(std::size_t place) const {
    const double shift_s = observed(place) ? 0.0 : _shift_s;
    return on_clock(place, static_cast<double>(_input.forecast.rows[place].time_s)) + shift_s;
  }

  Instant lower(std::size_t place) const {
    return to_instant(on_clock(place, static_cast<double>(_input.forecast.rows[place].lower_s)) +
                      _shift_s);
  }
  Instant upper(std::size_t place) const {
    return to_instant(on_clock(place, static_cast<double>(_input.forecast.rows[place].upper_s)) +
                      _shift_s);
  }
  RawTime raw(std::size_t place) const {
    return {time_s(place), std::max(0.0, _input.forecast.rows[place].variance_s2)};
  }
  double shift_s() const { return _shift_s; }
  /// A vehicle that was seen no later than then is not overdue; the beginning of time where it is.
  Instant overdue_after() const {
    if (_shift_s > 0.0) return Instant::min();
    if (_input.forecast.first >= _input.forecast.rows.size()) return Instant::max();
    return from_unix_seconds(static_cast<long long>(std::floor(time_s(_input.forecast.first))));
  }

 private:
  double on_clock(std::size_t place, double library_s) const {
    return _input.origin_s + library_s + _input.clock.lag_at_place_s(place);
  }

  const DisplayInput& _input;
  double _shift_s = 0.0;
};

void set_observed(StopForecast& stop, Instant time) {
  stop.observed = true;
  stop.arrival = {time, time, time, time, time};
  stop.departure = time;
  stop.library_lower = stop.library_upper = time;
}

}  // namespace

DisplayHold fill_stops(TripForecast& result, const DisplayInput& input, Instant now) {
  const PlaceTimes times(input);
  DisplayHold hold{Instant::max(), times.overdue_after()};
  result.state = input.state;
  if (input.state == TripState::under_way && times.shift_s() > 0.0) {
    result.state = TripState::overdue;
  }
  const std::size_t last = input.pattern.stops.size() - 1;
  std::vector<StopForecast> stops;
  stops.reserve(last + 1);
  for (std::size_t j = 0; j <= last; ++j) {
    const std::size_t arrival = Grid::arrival_place(j);
    StopForecast stop;
    stop.stop = input.pattern.stops[j].stop;
    stop.stop_sequence = input.schedule.plan->call(j).sequence;
    if (times.observed(arrival)) {
      set_observed(stop, to_instant(times.time_s(arrival)));
    } else {
      const RawTime raw = times.raw(arrival);
      stop.arrival = bound(raw, result.state, now, input.calibration, hold.now);
      stop.spread_s = std::sqrt(raw.variance_s2);
      stop.library_lower = times.lower(arrival);
      stop.library_upper = times.upper(arrival);
      stop.departure = stop.arrival.time;
    }
    if (j < last) {
      const Instant departure = to_instant(times.time_s(Grid::departure_place(j)));
      stop.departure = std::max(stop.departure, departure);
    }
    stops.push_back(stop);
  }
  make_monotone(stops);
  result.stops = std::move(stops);
  return hold;
}

}  // namespace qiv
