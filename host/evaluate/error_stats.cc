#include "evaluate/error_stats.h"

#include <algorithm>
#include <cmath>

namespace qiv {
namespace {

bool is_reliable(double minutes_ahead, double error_s) {
  return -60.0 * std::log(minutes_ahead + 1.3) < error_s &&
         error_s < 60.0 * std::log(minutes_ahead + 1.5);
}

}  // namespace

std::optional<std::size_t> bucket_of(Seconds lead) {
  if (lead < Seconds(0)) return std::nullopt;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    if (lead < std::chrono::minutes(bucket_edges_min[i + 1])) return i;
  }
  return std::nullopt;
}

std::uint32_t& ErrorStats::counter(long long error_s) {
  constexpr long long step_s = 64;
  const auto size = static_cast<long long>(_histogram.size());
  if (_histogram.empty()) {
    _first_s = error_s - step_s / 2;
    _histogram.resize(step_s);
  } else if (error_s < _first_s) {
    const long long added = (_first_s - error_s + step_s - 1) / step_s * step_s;
    _histogram.insert(_histogram.begin(), static_cast<std::size_t>(added), 0U);
    _first_s -= added;
  } else if (error_s >= _first_s + size) {
    _histogram.resize(static_cast<std::size_t>(error_s - _first_s + step_s));
  }
  return _histogram[static_cast<std::size_t>(error_s - _first_s)];
}

std::uint32_t ErrorStats::count(long long error_s) const {
  const long long at = error_s - _first_s;
  return at < 0 || at >= static_cast<long long>(_histogram.size())
             ? 0U
             : _histogram[static_cast<std::size_t>(at)];
}

void ErrorStats::add(long long error_s) {
  ++counter(std::clamp(error_s, -limit_s, limit_s));
  ++_n;
  _sum += static_cast<double>(error_s);
  _absolute_sum += std::abs(static_cast<double>(error_s));
}

double ErrorStats::quantile_s(double share) const {
  const double wanted = share * static_cast<double>(_n);
  std::uint64_t seen = 0;
  for (std::size_t i = 0; i < _histogram.size(); ++i) {
    seen += _histogram[i];
    if (seen > 0 && static_cast<double>(seen) >= wanted) {
      return static_cast<double>(static_cast<long long>(i) + _first_s);
    }
  }
  return 0.0;
}

double ErrorStats::absolute_quantile_s(double share) const {
  const double wanted = share * static_cast<double>(_n);
  std::uint64_t seen = 0;
  for (long long error_s = 0; error_s <= limit_s && _n > 0; ++error_s) {
    seen += count(error_s);
    if (error_s > 0) seen += count(-error_s);
    if (static_cast<double>(seen) >= wanted) return static_cast<double>(error_s);
  }
  return 0.0;
}

double ErrorStats::share_within(long long from_s, long long to_s) const {
  if (_n == 0) return 0.0;
  std::uint64_t inside = 0;
  for (long long error_s = std::max(from_s, -limit_s); error_s <= std::min(to_s, limit_s);
       ++error_s) {
    inside += count(error_s);
  }
  return static_cast<double>(inside) / static_cast<double>(_n);
}

BucketScore ErrorStats::score(int from_min, int to_min) const {
  return {from_min, to_min, _n, mae_s(), bias_s(), quantile_s(0.5), absolute_quantile_s(0.9)};
}

void ProducerStats::add(Seconds ahead, Seconds lead, long long error_s) {
  if (const auto bucket = bucket_of(ahead)) {
    _by_ahead[*bucket].add(error_s);
    if (ahead < std::chrono::minutes(30)) {
      ++_reliable_of;
      const double minutes = static_cast<double>(ahead.count()) / 60.0;
      if (is_reliable(minutes, static_cast<double>(error_s))) ++_reliable;
    }
  }
  if (const auto bucket = bucket_of(lead)) _by_lead[*bucket].add(error_s);
}

void ProducerStats::score(ContenderScore& score) const {
  double sum_s = 0.0;
  std::size_t filled = 0;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    const int from = bucket_edges_min[i];
    const int to = bucket_edges_min[i + 1];
    score.buckets.push_back(_by_ahead[i].score(from, to));
    score.buckets_by_lead.push_back(_by_lead[i].score(from, to));
    if (_by_ahead[i].n() == 0) continue;
    sum_s += _by_ahead[i].mae_s();
    ++filled;
  }
  score.mean_mae_s = filled == 0 ? 0.0 : sum_s / static_cast<double>(filled);
  double shares = 0.0;
  for (std::size_t i = 0; i < eta_benchmark.size(); ++i) {
    shares += _by_ahead[i].share_within(eta_benchmark[i].early_s, eta_benchmark[i].late_s);
  }
  score.eta_score = 100.0 * shares / static_cast<double>(eta_benchmark.size());
  score.reliable_share =
      _reliable_of == 0 ? 0.0 : static_cast<double>(_reliable) / static_cast<double>(_reliable_of);
}

void ContenderStats::add(Seconds ahead, Seconds lead, long long error_s, bool is_own) {
  _common.add(ahead, lead, error_s);
  if (is_own) _own.add(ahead, lead, error_s);
}

ContenderScore ContenderStats::score(const std::string& name) const {
  ContenderScore score;
  score.name = name;
  _common.score(score);
  double sum_s = 0.0;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    const ErrorStats& own = _own.bucket(i);
    score.own_by_ahead.push_back({own.n(), own.mae_s()});
    score.own_by_lead.push_back({_own.lead_bucket(i).n(), _own.lead_bucket(i).mae_s()});
    score.own_n += own.n();
    sum_s += own.absolute_sum_s();
  }
  score.own_mae_s = score.own_n == 0 ? 0.0 : sum_s / static_cast<double>(score.own_n);
  return score;
}

}  // namespace qiv
