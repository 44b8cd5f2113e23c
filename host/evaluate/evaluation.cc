#include "evaluate/evaluation.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "evaluate/contenders.h"
#include "evaluate/tally.h"

namespace qiv {
namespace {

constexpr Seconds horizon = std::chrono::hours(1);

Instant to_instant(double time_s) {
  return from_unix_seconds(std::llround(time_s));
}

/// An arrival at a stop of a trip, as seen from a moment before it.
struct Event {
  const ScheduledTrip& trip;
  std::size_t stop;
  Instant actual;
  Instant now;

  Seconds ahead() const { return actual - now; }
  long long error_s(Instant predicted) const { return (actual - predicted).count(); }
};

}  // namespace

/// One day under way.
class Evaluation::Day {
 public:
  Day(Evaluation& evaluation, ServiceDate day, std::span<const VehiclePosition> positions,
      HistorySource history)
      : _evaluation(evaluation),
        _tally(*evaluation._tally),
        _network(evaluation._network),
        _day(day),
        _truth(observe(_network, positions, evaluation._options.truth)),
        _replay(_network, evaluation._settings, std::move(history), evaluation._options.replay),
        _contenders(_network, _replay.engine()) {
    for (const auto& [key, seen] : _truth) {
      if (const auto trip = _network.schedule(key)) _trips.emplace(key, *trip);
    }
  }

  void run(std::span<const VehiclePosition> positions) {
    ReplayObserver observer;
    observer.on_display = [&](Instant now, const std::vector<TripForecast>& shown) {
      display(now, shown);
    };
    observer.on_report = [&](const Progress& progress, const TripForecast& shown) {
      report(progress, shown);
    };
    _replay.run(positions, observer);
    _tally.positions += positions.size();
    close();
  }

 private:
  void display(Instant now, const std::vector<TripForecast>& shown);
  void score_trip(const ScheduledTrip& trip, const TripTruth& seen, const TripForecast* forecast,
                  Instant now);
  void score_others(const Event& event, Instant scheduled);
  void score_forecast(const Event& event, const TripForecast* forecast, Instant scheduled,
                      Instant delayed);
  void note_shown(const Event& event, const TripForecast& forecast, long long error_s);
  void score_bounds(const Event& event, const StopForecast& stop, TripState state);
  void note_wobble(const Event& event, const StopForecast& stop);
  void report(const Progress& progress, const TripForecast& shown);
  void close();

  std::size_t local_hour(Instant now) const {
    return static_cast<std::size_t>(_network.clock().local_time(now) / std::chrono::hours(1)) % 24;
  }

  Evaluation& _evaluation;
  Tally& _tally;
  const Network& _network;
  ServiceDate _day;
  Truth _truth;
  std::map<TripKey, ScheduledTrip> _trips;
  Replay _replay;
  Contenders _contenders;
  std::map<TripKey, RunSums> _sums;
  std::map<TripKey, std::vector<Instant>> _previous;
  std::set<TripKey> _promised;
};

void Evaluation::Day::display(Instant now, const std::vector<TripForecast>& shown) {
  std::map<TripKey, const TripForecast*> by_trip;
  for (const TripForecast& forecast : shown) {
    if (forecast.stops.empty() || !(forecast.confidence > 0.0)) continue;
    by_trip.emplace(forecast.trip, &forecast);
    if (forecast.state == TripState::not_begun && !_truth.contains(forecast.trip)) {
      _promised.insert(forecast.trip);
    }
  }
  for (const auto& [key, seen] : _truth) {
    const auto entry = by_trip.find(key);
    const TripForecast* const forecast = entry == by_trip.end() ? nullptr : entry->second;
    if (seen.first_report <= now && now <= seen.last_report) {
      _tally.reporting.add(forecast != nullptr);
    }
    const auto trip = _trips.find(key);
    if (trip != _trips.end()) score_trip(trip->second, seen, forecast, now);
  }
}

void Evaluation::Day::score_trip(const ScheduledTrip& trip, const TripTruth& seen,
                                 const TripForecast* forecast, Instant now) {
  const auto is_ahead = [now](const auto& arrival) { return arrival && arrival->time > now; };
  if (std::none_of(seen.arrivals.begin(), seen.arrivals.end(), is_ahead)) {
    return _tally.worst_trips.settle(trip, seen);
  }
  const bool due = std::any_of(seen.arrivals.begin(), seen.arrivals.end(), [&](const auto& a) {
    return is_ahead(a) && a->time - now < horizon;
  });
  if (!due) return;
  if (forecast != nullptr) _tally.worst_trips.show(trip, seen, *forecast, now);
  const ContenderPredictions& predicted = _contenders.predict(trip, now);
  for (std::size_t j = 1; j < seen.arrivals.size(); ++j) {
    if (!is_ahead(seen.arrivals[j]) || !bucket_of(seen.arrivals[j]->time - now)) continue;
    const Event event{trip, j, seen.arrivals[j]->time, now};
    std::array<Instant, contender_count> times{};
    for (std::size_t c = 0; c < contender_count; ++c) {
      times[c] = to_instant(predicted.arrivals_s[c][j]);
      _tally.on_display.contenders[c].add(event.ahead(), times[c] - now, event.error_s(times[c]),
                                          predicted.is_own[c]);
    }
    const Instant scheduled = times[static_cast<std::size_t>(Contender::timetable)];
    const Instant delayed = times[static_cast<std::size_t>(Contender::timetable_delay)];
    score_others(event, scheduled);
    score_forecast(event, forecast, scheduled, delayed);
  }
}

void Evaluation::Day::score_others(const Event& event, Instant scheduled) {
  for (std::size_t i = 0; i < _evaluation._others.size(); ++i) {
    const PredictedArrivals* const arrivals =
        _evaluation._others[i].predict(_network, event.trip.key, event.now);
    const bool is_own = arrivals != nullptr && (*arrivals)[event.stop];
    const Instant time = is_own ? *(*arrivals)[event.stop] : scheduled;
    _tally.others[i].add(event.ahead(), time - event.now, event.error_s(time), is_own);
  }
}

void Evaluation::Day::score_forecast(const Event& event, const TripForecast* forecast,
                                     Instant scheduled, Instant delayed) {
  const bool is_own = forecast != nullptr;
  const Instant time = is_own ? forecast->stops[event.stop].arrival.time : scheduled;
  const long long error_s = event.error_s(time);
  _tally.wanted.add(is_own);
  if (is_own) note_shown(event, *forecast, error_s);
  _tally.on_display.forecast.add(event.ahead(), time - event.now, error_s, is_own);
  _tally.error_by_hour[local_hour(event.now)].add(error_s);
  RunSums& run = _sums[event.trip.key];
  const std::size_t bucket = *bucket_of(event.ahead());
  run.forecast_s[bucket] += std::abs(static_cast<double>(error_s));
  run.delay_s[bucket] += std::abs(static_cast<double>(event.error_s(delayed)));
  run.n[bucket] += 1.0;
}

void Evaluation::Day::note_shown(const Event& event, const TripForecast& forecast,
                                 long long error_s) {
  const StopForecast& stop = forecast.stops[event.stop];
  _tally.error_by_stop[stop.stop].add(error_s);
  _tally.worst_trips.add_error(event.trip.key, forecast.vehicle, error_s);
  note_wobble(event, stop);
  if (!stop.observed) score_bounds(event, stop, forecast.state);
}

void Evaluation::Day::score_bounds(const Event& event, const StopForecast& stop, TripState state) {
  const Seconds lead = stop.arrival.time - event.now;
  if (_evaluation.on_displayed_error) {
    const auto error_s = static_cast<double>(event.error_s(stop.arrival.time));
    _evaluation.on_displayed_error({state, lead, error_s, stop.spread_s});
  }
  _tally.inside_90.add(stop.arrival.lower_90 <= event.actual &&
                       event.actual <= stop.arrival.upper_90);
  _tally.missed.add(event.actual < stop.arrival.lower_90);
  _tally.before[0].add(event.actual < stop.arrival.lower_90);
  _tally.before[1].add(event.actual < stop.arrival.lower_68);
  _tally.before[2].add(event.actual <= stop.arrival.upper_68);
  _tally.before[3].add(event.actual <= stop.arrival.upper_90);
  const auto bucket = bucket_of(lead);
  if (!bucket) return;
  _tally.by_lead.add(*bucket, stop.arrival, event.actual);
  _tally.by_state.try_emplace(to_string(state), bucket_count)
      .first->second.add(*bucket, stop.arrival, event.actual);
  _tally.by_hour.add(local_hour(event.now), stop.arrival, event.actual);
}

void Evaluation::Day::note_wobble(const Event& event, const StopForecast& stop) {
  std::vector<Instant>& before = _previous[event.trip.key];
  if (before.size() <= event.stop) before.resize(event.stop + 1);
  if (before[event.stop] != Instant{}) {
    const Seconds change = stop.arrival.time - before[event.stop];
    _tally.wobble_sum_s += std::abs(static_cast<double>(change.count()));
    ++_tally.wobbles;
  }
  before[event.stop] = stop.arrival.time;
}

void Evaluation::Day::report(const Progress& progress, const TripForecast& shown) {
  const auto seen = _truth.find(progress.trip);
  const auto trip = _trips.find(progress.trip);
  _tally.worst_trips.report(progress);
  if (seen == _truth.end() || trip == _trips.end() || shown.stops.empty()) return;
  const Instant now = progress.received;
  const ContenderPredictions& predicted = _contenders.predict(trip->second, now);
  for (std::size_t j = 1; j < seen->second.arrivals.size(); ++j) {
    const auto& arrival = seen->second.arrivals[j];
    if (!arrival || arrival->time <= now || !bucket_of(arrival->time - now)) continue;
    if (shown.stops[j].observed) continue;
    const Event event{trip->second, j, arrival->time, now};
    for (std::size_t c = 0; c < contender_count; ++c) {
      const Instant time = to_instant(predicted.arrivals_s[c][j]);
      _tally.at_reports.contenders[c].add(event.ahead(), time - now, event.error_s(time),
                                          predicted.is_own[c]);
    }
    const Instant time = shown.stops[j].arrival.time;
    _tally.at_reports.forecast.add(event.ahead(), time - now, event.error_s(time), true);
  }
}

void Evaluation::Day::close() {
  _tally.days.push_back(_day);
  _tally.scheduled += _network.trips_on(_day).size();
  _tally.observed += _truth.size();
  for (const auto& [key, seen] : _truth) {
    _tally.arrivals += static_cast<std::uint64_t>(std::count_if(
        seen.arrivals.begin(), seen.arrivals.end(), [](const auto& a) { return !!a; }));
    const auto trip = _trips.find(key);
    if (trip != _trips.end()) _tally.worst_trips.settle(trip->second, seen);
  }
  for (const auto& [key, run] : _sums) _tally.runs.push_back(run);
  _tally.ghosts += _promised.size();
  _tally.rejections.merge(_replay.rejections());
}

Evaluation::Evaluation(const Network& network, const LearnedSettings& settings,
                       EvaluationOptions options)
    : _network(network),
      _settings(settings),
      _options(options),
      _tally(std::make_unique<Tally>(network)) {}

Evaluation::~Evaluation() = default;

void Evaluation::add_producer(OtherProducer producer) {
  _others.push_back(std::move(producer));
  _tally->others.emplace_back();
}

void Evaluation::add_day(ServiceDate day, std::span<const VehiclePosition> positions,
                         HistorySource history) {
  Day(*this, day, positions, std::move(history)).run(positions);
}

Scorecard Evaluation::scorecard() const {
  Scorecard card = _tally->scorecard();
  card.timetable_version = _network.version();
  for (std::size_t i = 0; i < _others.size(); ++i) {
    card.on_display.push_back(_tally->others[i].score(_others[i].name()));
    card.on_display.back().source = _others[i].source();
  }
  return card;
}

std::vector<TripPlot> Evaluation::worst_trips() const {
  return _tally->worst_trips.plots();
}

}  // namespace qiv
