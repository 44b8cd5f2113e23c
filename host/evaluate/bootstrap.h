#pragma once

#include <array>
#include <utility>
#include <vector>

#include "evaluate/scorecard.h"

namespace qiv {

/// Sums of the absolute errors on one run, by bucket of time to the actual arrival.
struct RunSums {
  std::array<double, bucket_count> forecast_s{};
  std::array<double, bucket_count> delay_s{};  ///< of the timetable plus delay
  std::array<double, bucket_count> n{};
};

/// The 95 % interval of the mean of the buckets' errors of the forecast minus that of the timetable
/// plus delay: a bootstrap (Efron 1979) that draws whole runs, since the errors of one run are
/// alike. The same runs give the same interval. Zeros without any.
std::pair<double, double> advantage_interval_s(const std::vector<RunSums>& runs);

}  // namespace qiv
