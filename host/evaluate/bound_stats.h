#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "evaluate/error_stats.h"
#include "evaluate/scorecard.h"
#include "model/trip_forecast.h"

namespace qiv {

/// How often published bounds held, in rows (buckets of predicted lead, hours, ...).
class BoundTable {
 public:
  explicit BoundTable(std::size_t rows) : _rows(rows) {}

  void add(std::size_t row, const BoundedTime& published, Instant actual);

  /// The rows, with the limits that `edges` gives for each.
  std::vector<BoundScore> scores(
      const std::function<std::pair<int, int>(std::size_t)>& edges) const;

 private:
  struct Row {
    std::uint64_t inside = 0;
    std::uint64_t inside_90 = 0;
    double half_width_sum_s = 0.0;
    double half_width_90_sum_s = 0.0;
    double pinball_sum_s = 0.0;
    ErrorStats errors;
  };

  std::vector<Row> _rows;
};

}  // namespace qiv
