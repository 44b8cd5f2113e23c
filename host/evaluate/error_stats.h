#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "evaluate/scorecard.h"

namespace qiv {

/// The ETA accuracy benchmark: errors, actual minus predicted, that count as right in the first
/// four buckets.
struct ErrorWindow {
  long long early_s;
  long long late_s;
};
inline constexpr std::array<ErrorWindow, 4> eta_benchmark = {
    {{-30, 90}, {-60, 150}, {-60, 210}, {-90, 270}}};

/// Errors in whole seconds, kept as a histogram: quantiles are exact within two hours, what is
/// beyond counts as two hours there, and as it is in the means.
class ErrorStats {
 public:
  void add(long long error_s);

  std::uint64_t n() const { return _n; }
  double absolute_sum_s() const { return _absolute_sum; }
  double mae_s() const { return _n == 0 ? 0.0 : _absolute_sum / static_cast<double>(_n); }
  double bias_s() const { return _n == 0 ? 0.0 : _sum / static_cast<double>(_n); }

  /// The smallest error that the share `share` of all does not exceed.
  double quantile_s(double share) const;
  /// The same of the absolute errors.
  double absolute_quantile_s(double share) const;
  /// Share of the errors in [from_s, to_s].
  double share_within(long long from_s, long long to_s) const;

  BucketScore score(int from_min, int to_min) const;

 private:
  static constexpr long long limit_s = 7200;

  std::uint32_t& counter(long long error_s);
  std::uint32_t count(long long error_s) const;

  std::vector<std::uint32_t> _histogram;  ///< one counter a second, as far as errors reach
  long long _first_s = 0;                 ///< error of the first counter
  std::uint64_t _n = 0;
  double _sum = 0.0;
  double _absolute_sum = 0.0;
};

/// The errors of one producer in all buckets.
class ProducerStats {
 public:
  /// `ahead` is the time to the actual arrival, `lead` the predicted one.
  void add(Seconds ahead, Seconds lead, long long error_s);

  /// Fills buckets, benchmark score and reliable share of `score`.
  void score(ContenderScore& score) const;

  const ErrorStats& bucket(std::size_t i) const { return _by_ahead[i]; }
  const ErrorStats& lead_bucket(std::size_t i) const { return _by_lead[i]; }

 private:
  std::array<ErrorStats, bucket_count> _by_ahead;
  std::array<ErrorStats, bucket_count> _by_lead;
  std::uint64_t _reliable = 0;
  std::uint64_t _reliable_of = 0;
};

/// A contender's errors on the events that all are scored on, and on those among them for which it
/// had a prediction of its own.
class ContenderStats {
 public:
  /// `is_own` is false where another's prediction stands in.
  void add(Seconds ahead, Seconds lead, long long error_s, bool is_own);

  ContenderScore score(const std::string& name) const;

 private:
  ProducerStats _common;
  ProducerStats _own;
};

}  // namespace qiv
