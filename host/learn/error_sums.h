#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "evaluate/scorecard.h"
#include "model/time.h"

namespace qiv {

/// Sums of absolute errors by time to the arrival.
struct ErrorSums {
  std::array<double, bucket_count> sum_s{};
  std::array<double, bucket_count> n{};

  /// Adds an error at `ahead_s` before the arrival, if that lies in a bucket.
  void add(double ahead_s, double error_s);
  void add(const ErrorSums& other);

  /// Plain mean of the mean absolute errors in the buckets that have predictions.
  double mean_mae_s() const;
  std::size_t predictions() const;

  friend bool operator==(const ErrorSums&, const ErrorSums&) = default;
};

/// The errors of each day of service.
using DailyErrors = std::map<ServiceDate, ErrorSums>;

ErrorSums total(const DailyErrors& errors);

/// How a setting must be better to be taken.
struct ChoiceRule {
  /// By this share of the error ...
  double least_gain = 0.005;
  /// ... and by more than one standard error of the daily differences. Where fewer than three days
  /// tell, by this share instead of both.
  double least_gain_few_days = 0.02;
};

/// Whether errors `a` are clearly smaller than errors `b`.
bool clearly_better(const DailyErrors& a, const DailyErrors& b, const ChoiceRule& rule);

/// The errors in bytes, exactly, to be read by the same program.
std::string to_bytes(const DailyErrors& errors);
/// Reads what `to_bytes` wrote; nothing for any other length.
std::optional<DailyErrors> daily_errors_from(std::string_view bytes);

}  // namespace qiv
