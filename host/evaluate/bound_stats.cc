#include "evaluate/bound_stats.h"

#include <algorithm>

namespace qiv {
namespace {

double seconds(Seconds duration) {
  return static_cast<double>(duration.count());
}

/// Loss of predicting `bound` for the quantile `share` (Koenker and Bassett 1978).
double pinball_s(double share, Instant bound, Instant actual) {
  const double excess_s = seconds(actual - bound);
  return excess_s >= 0.0 ? share * excess_s : (share - 1.0) * excess_s;
}

}  // namespace

void BoundTable::add(std::size_t row, const BoundedTime& published, Instant actual) {
  Row& r = _rows[row];
  r.errors.add((actual - published.time).count());
  if (published.lower_68 <= actual && actual <= published.upper_68) ++r.inside;
  if (published.lower_90 <= actual && actual <= published.upper_90) ++r.inside_90;
  r.half_width_sum_s += seconds(published.upper_68 - published.lower_68) / 2.0;
  r.half_width_90_sum_s += seconds(published.upper_90 - published.lower_90) / 2.0;
  r.pinball_sum_s +=
      (pinball_s(0.05, published.lower_90, actual) + pinball_s(0.16, published.lower_68, actual) +
       pinball_s(0.84, published.upper_68, actual) + pinball_s(0.95, published.upper_90, actual)) /
      4.0;
}

std::vector<BoundScore> BoundTable::scores(
    const std::function<std::pair<int, int>(std::size_t)>& edges) const {
  std::vector<BoundScore> scores;
  for (std::size_t i = 0; i < _rows.size(); ++i) {
    const Row& row = _rows[i];
    BoundScore score;
    std::tie(score.from_min, score.to_min) = edges(i);
    score.n = row.errors.n();
    const double n = std::max<double>(1.0, static_cast<double>(score.n));
    score.coverage = static_cast<double>(row.inside) / n;
    score.coverage_90 = static_cast<double>(row.inside_90) / n;
    score.mean_half_width_s = row.half_width_sum_s / n;
    score.mean_half_width_90_s = row.half_width_90_sum_s / n;
    score.fixed_half_width_s = row.errors.absolute_quantile_s(score.coverage);
    score.pinball_s = row.pinball_sum_s / n;
    scores.push_back(score);
  }
  return scores;
}

}  // namespace qiv
