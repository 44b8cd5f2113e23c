#include "serve/live_scores.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "evaluate/error_stats.h"
#include "evaluate/other_producer.h"

namespace qiv {
namespace {

constexpr Seconds horizon = std::chrono::hours(1);
constexpr Seconds longest_trip = std::chrono::hours(8);
constexpr Seconds bin_width = std::chrono::minutes(5);
constexpr Seconds hour = std::chrono::hours(1);
constexpr Seconds day = std::chrono::hours(24);

/// The same for a name on every machine (FNV-1a).
std::uint64_t hash_of(const std::string& text) {
  std::uint64_t hash = 14695981039346656037ULL;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
  return hash;
}

/// Whether an error counts as on time in the ETA benchmark.
bool is_on_time(std::size_t bucket, Seconds error) {
  return bucket < eta_benchmark.size() && eta_benchmark[bucket].early_s <= error.count() &&
         error.count() <= eta_benchmark[bucket].late_s;
}

/// Whether an event may come of what is predicted: something lies within the hours around `now`.
bool may_be_scored(const PredictedArrivals& arrivals, Instant now) {
  return std::any_of(arrivals.begin(), arrivals.end(), [&](const std::optional<Instant>& arrival) {
    return arrival && now - 2 * horizon <= *arrival && *arrival <= now + 2 * horizon;
  });
}

double magnitude(Seconds error) {
  return std::abs(static_cast<double>(error.count()));
}

/// Timetable plus present delay; before the first report plus what it is late by now.
Instant with_delay(Instant scheduled, Instant departure, std::optional<double> delay_s,
                   Instant now) {
  const Seconds delay =
      delay_s ? Seconds(std::llround(*delay_s)) : std::max(Seconds(0), Seconds(now - departure));
  return std::max(scheduled + delay, now);
}

}  // namespace

LiveScores::Sums& LiveScores::Sums::operator+=(const Sums& other) {
  n += other.n;
  absolute_s += other.absolute_s;
  error_s += other.error_s;
  timetable_s += other.timetable_s;
  timetable_delay_s += other.timetable_delay_s;
  on_time += other.on_time;
  bounded += other.bounded;
  inside_68 += other.inside_68;
  inside_90 += other.inside_90;
  agency_n += other.agency_n;
  agency_absolute_s += other.agency_absolute_s;
  agency_error_s += other.agency_error_s;
  agency_on_time += other.agency_on_time;
  agency_own_n += other.agency_own_n;
  agency_own_s += other.agency_own_s;
  forecast_on_agency_s += other.forecast_on_agency_s;
  return *this;
}

LiveScores::Bin& LiveScores::Bin::operator+=(const Bin& other) {
  arrivals += other.arrivals;
  for (std::size_t i = 0; i < bucket_count; ++i) sums[i] += other.sums[i];
  return *this;
}

bool LiveScores::is_scored(const TripKey& trip) const {
  return _parts <= 1 || _trips.contains(trip) || hash_of(to_string(trip)) % _parts == 0;
}

void LiveScores::take(const VehiclePosition& position, const Network& network) {
  const auto trip = stated_trip(network, position);
  if (!trip || !is_scored(*trip)) return;
  Scored& scored = _trips[*trip];
  scored.positions.push_back(position);
  scored.last_heard = position.received;
}

void LiveScores::take(const AgencyReport& report, const Network& network) {
  if (report.content->kind != AgencyContent::Kind::trip_updates) return;
  if (!_agency_since) _agency_since = report.time();
  AgencyDisplay& display = _agency[report.source];
  if (display.report.content != report.content) {
    Rejections not_used;
    display.arrivals = arrivals_of(report.content->updates, network, not_used);
  }
  display.report = report;
}

bool LiveScores::is_due(Instant now) const {
  return _moments.empty() || now - _moments.back() >= _options.interval;
}

void LiveScores::sample(Instant now, const std::vector<TripForecast>& shown,
                        const DelayOf& delay_of, const Network& network) {
  _now = now;
  _moments.push_back(now);
  while (now - _moments.front() > longest_trip) _moments.pop_front();
  _parts = shown.size() / std::max<std::size_t>(1, _options.most_trips) + 1;
  for (const TripForecast& forecast : shown) {
    if (forecast.stops.empty() || !(forecast.confidence > 0.0) || !is_scored(forecast.trip)) {
      continue;
    }
    Scored& scored = _trips[forecast.trip];
    scored.last_heard = now;
    Sample& sample = scored.samples[now];
    sample.delay_s = delay_of(forecast.trip);
    for (const StopForecast& stop : forecast.stops) {
      sample.arrivals.push_back(stop.arrival);
      sample.observed.push_back(stop.observed);
    }
  }
  sample_agency(now);
  for (auto trip = _trips.begin(); trip != _trips.end();) {
    const bool over = now - trip->second.last_heard > _options.patience;
    if (over) score(trip->first, trip->second, network);
    trip = over ? _trips.erase(trip) : std::next(trip);
  }
}

void LiveScores::sample_agency(Instant now) {
  for (const auto& [source, display] : _agency) {
    if (now - display.report.time() > longest_snapshot_age) continue;
    for (const auto& [trip, arrivals] : display.arrivals) {
      if (!is_scored(trip) || !may_be_scored(arrivals, now)) continue;
      Scored& scored = _trips[trip];
      if (scored.positions.empty()) scored.last_heard = now;
      Sample& sample = scored.samples[now];
      if (sample.agency.empty()) sample.agency = arrivals;
    }
  }
}

void LiveScores::finish(const Network& network) {
  for (const auto& [key, scored] : _trips) score(key, scored, network);
  _trips.clear();
}

void LiveScores::score(const TripKey& key, const Scored& scored, const Network& network) {
  const auto trip = network.schedule(key);
  if (scored.positions.empty() || !trip) return;
  const Truth truth = observe(network, scored.positions, _options.truth);
  const auto seen = truth.find(key);
  if (seen == truth.end()) return;
  Bin bin;
  for (std::size_t j = 1; j < seen->second.arrivals.size(); ++j) {
    if (!seen->second.arrivals[j]) continue;
    ++bin.arrivals;
    score_stop(*trip, scored, j, seen->second.arrivals[j]->time, bin);
  }
  _all += bin;
  if (_bins.empty() || _now - _bins.back().begin >= bin_width) {
    _bins.emplace_back();
    _bins.back().begin = _now;
  }
  _bins.back() += bin;
  while (_now - _bins.front().begin > day) _bins.pop_front();
}

void LiveScores::score_stop(const ScheduledTrip& trip, const Scored& scored, std::size_t stop,
                            Instant actual, Bin& bin) const {
  const auto after = std::lower_bound(_moments.begin(), _moments.end(), actual);
  auto moment = std::lower_bound(_moments.begin(), after, actual - horizon + Seconds(1));
  for (; moment != after; ++moment) {
    const auto bucket = bucket_of(actual - *moment);
    if (!bucket) continue;
    const Instant scheduled = trip.arrival(stop);
    const auto entry = scored.samples.find(*moment);
    const bool was_shown = entry != scored.samples.end() && stop < entry->second.arrivals.size();
    const Sample* const sample = was_shown ? &entry->second : nullptr;
    const Seconds error = actual - (sample != nullptr ? sample->arrivals[stop].time : scheduled);
    Sums& sums = bin.sums[*bucket];
    ++sums.n;
    sums.absolute_s += magnitude(error);
    sums.error_s += static_cast<double>(error.count());
    sums.timetable_s += magnitude(actual - scheduled);
    const auto delay_s = sample != nullptr ? sample->delay_s : std::nullopt;
    sums.timetable_delay_s +=
        magnitude(actual - with_delay(scheduled, trip.first_departure(), delay_s, *moment));
    if (is_on_time(*bucket, error)) ++sums.on_time;
    if (_agency_since && *moment >= *_agency_since) {
      const Sample* const heard = entry != scored.samples.end() ? &entry->second : nullptr;
      score_agency(heard, stop, {actual, scheduled, error, *bucket}, sums);
    }
    if (sample == nullptr || sample->observed[stop]) continue;
    const BoundedTime& bounds = sample->arrivals[stop];
    ++sums.bounded;
    if (bounds.lower_68 <= actual && actual <= bounds.upper_68) ++sums.inside_68;
    if (bounds.lower_90 <= actual && actual <= bounds.upper_90) ++sums.inside_90;
  }
}

void LiveScores::score_agency(const Sample* sample, std::size_t stop, const Event& event,
                              Sums& sums) {
  const bool is_own =
      sample != nullptr && stop < sample->agency.size() && sample->agency[stop].has_value();
  const Seconds error = event.actual - (is_own ? *sample->agency[stop] : event.scheduled);
  ++sums.agency_n;
  sums.agency_absolute_s += magnitude(error);
  sums.agency_error_s += static_cast<double>(error.count());
  if (is_on_time(event.bucket, error)) ++sums.agency_on_time;
  if (!is_own) return;
  ++sums.agency_own_n;
  sums.agency_own_s += magnitude(error);
  sums.forecast_on_agency_s += magnitude(event.forecast_error);
}

std::vector<LiveScore> LiveScores::scores() const {
  const auto of_last = [&](Seconds span) {
    Bin sum;
    for (const Bin& bin : _bins) {
      if (_now - bin.begin <= span) sum += bin;
    }
    return summary(sum, span);
  };
  return {of_last(hour), of_last(day), summary(_all, Seconds(0))};
}

LiveScore LiveScores::summary(const Bin& bin, Seconds span) {
  LiveScore score;
  score.span = span;
  score.arrivals = bin.arrivals;
  const auto ratio = [](double part, std::uint64_t whole) {
    return whole == 0 ? 0.0 : part / static_cast<double>(whole);
  };
  double shares = 0.0;
  double agency_shares = 0.0;
  std::uint64_t agency_n = 0;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    const Sums& sums = bin.sums[i];
    LiveScoreBucket bucket;
    bucket.from_min = bucket_edges_min[i];
    bucket.to_min = bucket_edges_min[i + 1];
    bucket.n = sums.n;
    bucket.mae_s = ratio(sums.absolute_s, sums.n);
    bucket.bias_s = ratio(sums.error_s, sums.n);
    bucket.coverage_68 = ratio(static_cast<double>(sums.inside_68), sums.bounded);
    bucket.coverage_90 = ratio(static_cast<double>(sums.inside_90), sums.bounded);
    bucket.timetable_mae_s = ratio(sums.timetable_s, sums.n);
    bucket.timetable_delay_mae_s = ratio(sums.timetable_delay_s, sums.n);
    if (sums.agency_n > 0) {
      bucket.agency = {ratio(sums.agency_absolute_s, sums.agency_n),
                       ratio(sums.agency_error_s, sums.agency_n), sums.agency_own_n,
                       ratio(sums.agency_own_s, sums.agency_own_n),
                       ratio(sums.forecast_on_agency_s, sums.agency_own_n)};
    }
    score.buckets.push_back(bucket);
    agency_n += sums.agency_n;
    if (i >= eta_benchmark.size()) continue;
    shares += ratio(static_cast<double>(sums.on_time), sums.n);
    agency_shares += ratio(static_cast<double>(sums.agency_on_time), sums.agency_n);
  }
  const auto parts = static_cast<double>(eta_benchmark.size());
  score.eta_score = 100.0 * shares / parts;
  if (agency_n > 0) score.agency_eta_score = 100.0 * agency_shares / parts;
  return score;
}

}  // namespace qiv
