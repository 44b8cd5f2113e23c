#include "evaluate/bootstrap.h"

#include <algorithm>
#include <random>

namespace qiv {
namespace {

constexpr unsigned rounds = 1000;
constexpr unsigned seed = 20250918;

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

}  // namespace

std::pair<double, double> advantage_interval_s(const std::vector<RunSums>& runs) {
  if (runs.empty()) return {0.0, 0.0};
  std::mt19937 random(seed);
  std::vector<double> differences_s;
  for (unsigned round = 0; round < rounds; ++round) {
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
  return {differences_s[rounds / 40], differences_s[rounds - rounds / 40 - 1]};
}

}  // namespace qiv
