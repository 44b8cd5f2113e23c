#include "evaluate/evaluation.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <set>

#include "evaluate/bound_stats.h"

namespace qiv {
namespace {

constexpr std::size_t worst_trips_listed = 12;
constexpr unsigned bootstrap_rounds = 1000;
constexpr unsigned bootstrap_seed = 20250918;
constexpr Seconds horizon = std::chrono::hours(1);

/// Sums of absolute errors of one run, for the bootstrap.
struct RunSums {
  std::array<double, bucket_count> forecast_s{};
  std::array<double, bucket_count> delay_s{};
  std::array<double, bucket_count> n{};
};

double mean_of_buckets(const std::array<double, bucket_count>& sums,
                       const std::array<double, bucket_count>& counts) {
  double total = 0.0;
  std::size_t filled = 0;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    if (counts[i] == 0.0) continue;
    total += sums[i] / counts[i];
    ++filled;
  }
  return filled == 0 ? 0.0 : total / static_cast<double>(filled);
}

/// The 95 % interval of the difference of the two means, by drawing runs with replacement.
std::pair<double, double> bootstrap(const std::vector<RunSums>& runs) {
  if (runs.empty()) return {0.0, 0.0};
  std::mt19937 random(bootstrap_seed);
  std::vector<double> differences_s;
  for (unsigned round = 0; round < bootstrap_rounds; ++round) {
    RunSums drawn;
    for (std::size_t i = 0; i < runs.size(); ++i) {
      const RunSums& run = runs[random() % runs.size()];
      for (std::size_t b = 0; b < bucket_count; ++b) {
        drawn.forecast_s[b] += run.forecast_s[b];
        drawn.delay_s[b] += run.delay_s[b];
        drawn.n[b] += run.n[b];
      }
    }
    differences_s.push_back(mean_of_buckets(drawn.forecast_s, drawn.n) -
                            mean_of_buckets(drawn.delay_s, drawn.n));
  }
  std::sort(differences_s.begin(), differences_s.end());
  return {differences_s[bootstrap_rounds / 40],
          differences_s[bootstrap_rounds - bootstrap_rounds / 40 - 1]};
}

long long whole_seconds(double time_s) {
  return std::llround(time_s);
}

}  // namespace

/// Everything that is counted over all days.
struct Evaluation::Totals {
  std::vector<ServiceDate> days;
  std::uint64_t scheduled = 0, observed = 0, ghosts = 0, arrivals = 0, positions = 0;
  ProducerStats forecast, forecast_at_reports;
  ErrorStats own, own_at_reports;
  std::array<ProducerStats, contender_count> contenders, contenders_at_reports;
  BoundTable by_lead{bucket_count};
  BoundTable by_hour{24};
  std::map<std::string, BoundTable> by_state;
  std::array<ErrorStats, 24> error_by_hour;
  std::map<std::uint32_t, ErrorStats> error_by_stop;
  std::map<TripKey, std::pair<VehicleId, ErrorStats>> error_by_trip;
  std::vector<RunSums> runs;
  std::uint64_t inside_90 = 0, missed = 0, bounded = 0;
  double wobble_sum_s = 0.0;
  std::uint64_t wobbles = 0;
  std::uint64_t reporting = 0, reporting_shown = 0;
  std::uint64_t wanted = 0, wanted_shown = 0;
  Rejections rejections;
};

/// One day under way.
struct Evaluation::Day {
  Day(Evaluation& e, ServiceDate d, std::span<const VehiclePosition> positions,
      HistorySource history)
      : evaluation(e),
        totals(*e._totals),
        network(e._network),
        day(d),
        truth(observe(network, positions, e._options.truth)),
        replay(network, e._settings, std::move(history), e._options.replay),
        contenders(network, replay.engine()) {
    for (const auto& [key, seen] : truth) {
      if (const auto trip = network.schedule(key)) trips.emplace(key, *trip);
    }
  }

  void display(Instant now, const std::vector<TripForecast>& shown);
  void score_trip(const TripKey& key, const TripTruth& seen, const TripForecast* forecast,
                  Instant now);
  void score_bounds(const StopForecast& stop, TripState state, Instant actual, Instant now);
  void note_wobble(const TripKey& key, std::size_t j, const StopForecast& stop);
  void report(const Progress& progress, const TripForecast& shown);
  void close();

  Evaluation& evaluation;
  Totals& totals;
  const Network& network;
  ServiceDate day;
  Truth truth;
  std::map<TripKey, ScheduledTrip> trips;
  Replay replay;
  Contenders contenders;
  std::map<TripKey, RunSums> sums;
  std::map<TripKey, std::vector<Instant>> previous;
  std::set<TripKey> promised;
};

void Evaluation::Day::display(Instant now, const std::vector<TripForecast>& shown) {
  std::map<TripKey, const TripForecast*> by_trip;
  for (const TripForecast& forecast : shown) {
    if (forecast.stops.empty() || !(forecast.confidence > 0.0)) continue;
    by_trip.emplace(forecast.trip, &forecast);
    if (forecast.state == TripState::not_begun && !truth.contains(forecast.trip)) {
      promised.insert(forecast.trip);
    }
  }
  for (const auto& [key, seen] : truth) {
    const auto entry = by_trip.find(key);
    const TripForecast* const forecast = entry == by_trip.end() ? nullptr : entry->second;
    if (seen.first_report <= now && now <= seen.last_report) {
      ++totals.reporting;
      if (forecast != nullptr) ++totals.reporting_shown;
    }
    score_trip(key, seen, forecast, now);
  }
}

void Evaluation::Day::score_trip(const TripKey& key, const TripTruth& seen,
                                 const TripForecast* forecast, Instant now) {
  const bool due = std::any_of(seen.arrivals.begin(), seen.arrivals.end(), [&](const auto& a) {
    return a && a->time > now && a->time - now < horizon;
  });
  const auto trip = trips.find(key);
  if (!due || trip == trips.end()) return;
  const auto& predicted = contenders.predict(trip->second, now);
  RunSums& run = sums[key];
  for (std::size_t j = 1; j < seen.arrivals.size(); ++j) {
    if (!seen.arrivals[j]) continue;
    const Instant actual = seen.arrivals[j]->time;
    const auto bucket = actual > now ? bucket_of(actual - now) : std::nullopt;
    if (!bucket) continue;
    const auto error_of = [&](Instant time) { return (actual - time).count(); };
    std::array<long long, contender_count> errors_s{};
    for (std::size_t c = 0; c < contender_count; ++c) {
      const Instant time = from_unix_seconds(whole_seconds(predicted[c][j]));
      errors_s[c] = error_of(time);
      totals.contenders[c].add(actual - now, time - now, errors_s[c]);
    }
    ++totals.wanted;
    long long error_s = errors_s[static_cast<std::size_t>(Contender::timetable)];
    Seconds lead = trip->second.arrival(j) - now;
    if (forecast != nullptr) {
      const StopForecast& stop = forecast->stops[j];
      error_s = error_of(stop.arrival.time);
      lead = stop.arrival.time - now;
      ++totals.wanted_shown;
      totals.own.add(error_s);
      totals.error_by_stop[stop.stop].add(error_s);
      auto& worst = totals.error_by_trip[key];
      worst.first = forecast->vehicle;
      worst.second.add(error_s);
      note_wobble(key, j, stop);
      if (!stop.observed) score_bounds(stop, forecast->state, actual, now);
    }
    totals.forecast.add(actual - now, lead, error_s);
    const Seconds local = network.clock().local_time(now);
    totals.error_by_hour[static_cast<std::size_t>(local / std::chrono::hours(1)) % 24].add(error_s);
    run.forecast_s[*bucket] += std::abs(static_cast<double>(error_s));
    run.delay_s[*bucket] += std::abs(
        static_cast<double>(errors_s[static_cast<std::size_t>(Contender::timetable_delay)]));
    run.n[*bucket] += 1.0;
  }
}

void Evaluation::Day::score_bounds(const StopForecast& stop, TripState state, Instant actual,
                                   Instant now) {
  const Seconds lead = stop.arrival.time - now;
  const auto error_s = static_cast<double>((actual - stop.arrival.time).count());
  if (evaluation.on_displayed_error) {
    evaluation.on_displayed_error({state, lead, error_s, stop.spread_s});
  }
  ++totals.bounded;
  if (stop.arrival.lower_90 <= actual && actual <= stop.arrival.upper_90) ++totals.inside_90;
  if (actual < stop.arrival.lower_90) ++totals.missed;
  const auto bucket = bucket_of(lead);
  if (!bucket) return;
  totals.by_lead.add(*bucket, stop.arrival, actual);
  totals.by_state.try_emplace(to_string(state), bucket_count)
      .first->second.add(*bucket, stop.arrival, actual);
  const Seconds local = network.clock().local_time(now);
  totals.by_hour.add(static_cast<std::size_t>(local / std::chrono::hours(1)) % 24, stop.arrival,
                     actual);
}

void Evaluation::Day::note_wobble(const TripKey& key, std::size_t j, const StopForecast& stop) {
  std::vector<Instant>& before = previous[key];
  if (before.size() <= j) before.resize(j + 1);
  if (before[j] != Instant{}) {
    totals.wobble_sum_s += std::abs(static_cast<double>((stop.arrival.time - before[j]).count()));
    ++totals.wobbles;
  }
  before[j] = stop.arrival.time;
}

void Evaluation::Day::report(const Progress& progress, const TripForecast& shown) {
  const auto seen = truth.find(progress.trip);
  const auto trip = trips.find(progress.trip);
  if (seen == truth.end() || trip == trips.end() || shown.stops.empty()) return;
  const Instant now = progress.received;
  const auto& predicted = contenders.predict(trip->second, now);
  for (std::size_t j = 1; j < seen->second.arrivals.size(); ++j) {
    const auto& arrival = seen->second.arrivals[j];
    if (!arrival || arrival->time <= now || !bucket_of(arrival->time - now)) continue;
    if (shown.stops[j].observed) continue;
    for (std::size_t c = 0; c < contender_count; ++c) {
      const Instant time = from_unix_seconds(whole_seconds(predicted[c][j]));
      totals.contenders_at_reports[c].add(arrival->time - now, time - now,
                                          (arrival->time - time).count());
    }
    const Instant time = shown.stops[j].arrival.time;
    totals.forecast_at_reports.add(arrival->time - now, time - now, (arrival->time - time).count());
    totals.own_at_reports.add((arrival->time - time).count());
  }
}

void Evaluation::Day::close() {
  totals.days.push_back(day);
  totals.scheduled += network.trips_on(day).size();
  totals.observed += truth.size();
  for (const auto& [key, seen] : truth) {
    totals.arrivals += static_cast<std::uint64_t>(std::count_if(
        seen.arrivals.begin(), seen.arrivals.end(), [](const auto& a) { return !!a; }));
  }
  for (const auto& [key, run] : sums) totals.runs.push_back(run);
  totals.ghosts += promised.size();
  totals.rejections.merge(replay.engine().rejections());
  totals.rejections.merge(replay.tracker().rejections());
}

Evaluation::Evaluation(const Network& network, const LearnedSettings& settings,
                       EvaluationOptions options)
    : _network(network),
      _settings(settings),
      _options(options),
      _totals(std::make_unique<Totals>()) {}

Evaluation::~Evaluation() = default;

void Evaluation::add_day(ServiceDate day, std::span<const VehiclePosition> positions,
                         HistorySource history) {
  Day under_way(*this, day, positions, std::move(history));
  ReplayObserver observer;
  observer.on_display = [&](Instant now, const std::vector<TripForecast>& shown) {
    under_way.display(now, shown);
  };
  observer.on_report = [&](const Progress& progress, const TripForecast& shown) {
    under_way.report(progress, shown);
  };
  under_way.replay.run(positions, observer);
  _totals->positions += positions.size();
  under_way.close();
}

Scorecard Evaluation::scorecard() const {
  const Totals& totals = *_totals;
  Scorecard card;
  card.timetable_version = _network.version();
  if (!totals.days.empty()) {
    card.first_day = totals.days.front();
    card.last_day = totals.days.back();
  }
  card.trips_scheduled = totals.scheduled;
  card.trips_observed = totals.observed;
  card.trips_ghost = totals.ghosts;
  card.arrivals_observed = totals.arrivals;
  card.positions = totals.positions;
  const auto list = [](std::vector<ContenderScore>& scores, const ProducerStats& forecast,
                       const ErrorStats& own,
                       const std::array<ProducerStats, contender_count>& contenders) {
    ContenderScore score;
    score.name = "forecast";
    score.own_mae_s = own.mae_s();
    score.own_n = own.n();
    forecast.score(score);
    scores.push_back(score);
    for (std::size_t c = 0; c < contender_count; ++c) {
      ContenderScore other;
      other.name = to_string(static_cast<Contender>(c));
      contenders[c].score(other);
      scores.push_back(other);
    }
  };
  list(card.on_display, totals.forecast, totals.own, totals.contenders);
  list(card.at_reports, totals.forecast_at_reports, totals.own_at_reports,
       totals.contenders_at_reports);
  const auto edges = [](std::size_t i) {
    return std::pair(bucket_edges_min[i], bucket_edges_min[i + 1]);
  };
  card.bounds = totals.by_lead.scores(edges);
  for (const auto& [state, table] : totals.by_state)
    card.bounds_by_state[state] = table.scores(edges);
  card.bounds_by_hour = totals.by_hour.scores([](std::size_t hour) {
    return std::pair(static_cast<int>(hour), static_cast<int>(hour) + 1);
  });
  const auto share = [](std::uint64_t part, std::uint64_t whole) {
    return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
  };
  card.coverage_90 = share(totals.inside_90, totals.bounded);
  card.missed_share = share(totals.missed, totals.bounded);
  card.availability = share(totals.reporting_shown, totals.reporting);
  card.availability_scheduled = share(totals.wanted_shown, totals.wanted);
  card.wobble_s =
      totals.wobbles == 0 ? 0.0 : totals.wobble_sum_s / static_cast<double>(totals.wobbles);
  for (std::size_t hour = 0; hour < 24; ++hour) {
    card.by_hour[hour] =
        totals.error_by_hour[hour].score(static_cast<int>(hour), static_cast<int>(hour) + 1);
  }
  for (const auto& [stop, errors] : totals.error_by_stop) {
    card.by_stop[stop] = errors.score(0, bucket_edges_min.back());
  }
  for (const auto& [key, entry] : totals.error_by_trip) {
    card.worst_trips.push_back({key, entry.first, entry.second.mae_s(), entry.second.n()});
  }
  std::stable_sort(card.worst_trips.begin(), card.worst_trips.end(),
                   [](const WorstTrip& a, const WorstTrip& b) { return a.mae_s > b.mae_s; });
  if (card.worst_trips.size() > worst_trips_listed) card.worst_trips.resize(worst_trips_listed);
  std::tie(card.advantage_low_s, card.advantage_high_s) = bootstrap(totals.runs);
  card.rejections = totals.rejections;
  return card;
}

}  // namespace qiv
