#include "learn/error_sums.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace qiv {
namespace {

constexpr std::size_t fewest_days = 3;

struct Record {
  std::int64_t day = 0;
  ErrorSums errors;
};

}  // namespace

void ErrorSums::add(double ahead_s, double error_s) {
  if (const auto bucket = bucket_of(Seconds(std::llround(ahead_s)))) {
    sum_s[*bucket] += std::abs(error_s);
    n[*bucket] += 1.0;
  }
}

void ErrorSums::add(const ErrorSums& other) {
  for (std::size_t i = 0; i < bucket_count; ++i) {
    sum_s[i] += other.sum_s[i];
    n[i] += other.n[i];
  }
}

double ErrorSums::mean_mae_s() const {
  double total = 0.0;
  double filled = 0.0;
  for (std::size_t i = 0; i < bucket_count; ++i) {
    if (n[i] == 0.0) continue;
    total += sum_s[i] / n[i];
    filled += 1.0;
  }
  return filled == 0.0 ? 0.0 : total / filled;
}

std::size_t ErrorSums::predictions() const {
  double total = 0.0;
  for (const double count : n) total += count;
  return static_cast<std::size_t>(total);
}

ErrorSums total(const DailyErrors& errors) {
  ErrorSums sums;
  for (const auto& [day, of_day] : errors) sums.add(of_day);
  return sums;
}

bool clearly_better(const DailyErrors& a, const DailyErrors& b, const ChoiceRule& rule) {
  const double a_s = total(a).mean_mae_s();
  const double b_s = total(b).mean_mae_s();
  std::vector<double> gains_s;
  for (const auto& [day, errors] : a) {
    const auto other = b.find(day);
    if (other == b.end() || errors.predictions() == 0) continue;
    gains_s.push_back(other->second.mean_mae_s() - errors.mean_mae_s());
  }
  if (gains_s.size() < fewest_days) return a_s < b_s * (1.0 - rule.least_gain_few_days);
  const auto days = static_cast<double>(gains_s.size());
  double mean_s = 0.0;
  for (const double gain_s : gains_s) mean_s += gain_s / days;
  double squares_s2 = 0.0;
  for (const double gain_s : gains_s) squares_s2 += (gain_s - mean_s) * (gain_s - mean_s);
  const double standard_error_s = std::sqrt(squares_s2 / (days - 1.0) / days);
  return a_s < b_s * (1.0 - rule.least_gain) && mean_s > standard_error_s;
}

std::string to_bytes(const DailyErrors& errors) {
  std::string bytes;
  for (const auto& [day, of_day] : errors) {
    const Record record{day.days().time_since_epoch().count(), of_day};
    bytes.append(reinterpret_cast<const char*>(&record), sizeof record);
  }
  return bytes;
}

std::optional<DailyErrors> daily_errors_from(std::string_view bytes) {
  if (bytes.size() % sizeof(Record) != 0) return std::nullopt;
  DailyErrors errors;
  for (std::size_t at = 0; at < bytes.size(); at += sizeof(Record)) {
    Record record;
    std::memcpy(&record, bytes.data() + at, sizeof record);
    errors[ServiceDate(std::chrono::sys_days(std::chrono::days(record.day)))] = record.errors;
  }
  return errors;
}

}  // namespace qiv
