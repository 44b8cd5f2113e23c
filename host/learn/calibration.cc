#include "learn/calibration.h"

#include <algorithm>
#include <cmath>

namespace qiv {
namespace {

constexpr std::array<double, 5> floors_s = {20.0, 60.0, 120.0, 300.0, 3000.0};
/// So many samples of a cell, evenly drawn, are enough to place its quantiles.
constexpr std::size_t samples_used = 100'000;
constexpr std::array<double, 4> shares = {0.05, 0.16, 0.84, 0.95};

double quantile(const std::vector<float>& ascending, double share) {
  const double at = share * static_cast<double>(ascending.size() - 1);
  const auto below = static_cast<std::size_t>(at);
  const std::size_t above = std::min(below + 1, ascending.size() - 1);
  const double part = at - static_cast<double>(below);
  return (1.0 - part) * static_cast<double>(ascending[below]) +
         part * static_cast<double>(ascending[above]);
}

double pinball(double share, double excess) {
  return excess >= 0.0 ? share * excess : (share - 1.0) * excess;
}

}  // namespace

void Calibrator::add(const DisplayedError& error) {
  const auto state = static_cast<std::size_t>(error.state);
  if (state >= Calibration::states || error.lead < Seconds(0)) return;
  _samples[state][Calibration::lead_bucket(error.lead)].push_back(
      {static_cast<float>(error.error_s), static_cast<float>(error.spread_s)});
}

BoundQuantiles Calibrator::fit(const Samples& all) {
  BoundQuantiles best;
  if (all.empty()) return best;
  Samples samples;
  for (std::size_t i = 0; i < all.size(); i += all.size() / samples_used + 1) {
    samples.push_back(all[i]);
  }
  double least_loss = HUGE_VAL;
  std::vector<float> ratios(samples.size());
  for (const double floor_s : floors_s) {
    std::vector<double> scales;
    scales.reserve(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
      scales.push_back(std::hypot(static_cast<double>(samples[i].spread_s), floor_s));
      ratios[i] = static_cast<float>(static_cast<double>(samples[i].error_s) / scales[i]);
    }
    std::sort(ratios.begin(), ratios.end());
    std::array<double, shares.size()> quantiles{};
    double loss = 0.0;
    for (std::size_t q = 0; q < shares.size(); ++q) {
      quantiles[q] = quantile(ratios, shares[q]);
      for (std::size_t i = 0; i < samples.size(); ++i) {
        loss +=
            pinball(shares[q], static_cast<double>(samples[i].error_s) - quantiles[q] * scales[i]);
      }
    }
    if (loss >= least_loss) continue;
    least_loss = loss;
    best = {floor_s, quantiles[0], quantiles[1], quantiles[2], quantiles[3], all.size()};
  }
  return best;
}

Calibration Calibrator::calibration(std::size_t least_samples) const {
  Calibration result;
  std::array<BoundQuantiles, Calibration::leads> pooled{};
  for (std::size_t lead = 0; lead < Calibration::leads; ++lead) {
    Samples all;
    for (const auto& row : _samples) all.insert(all.end(), row[lead].begin(), row[lead].end());
    pooled[lead] = all.empty() && lead > 0 ? pooled[lead - 1] : fit(all);
  }
  for (std::size_t state = 0; state < Calibration::states; ++state) {
    for (std::size_t lead = 0; lead < Calibration::leads; ++lead) {
      const Samples& samples = _samples[state][lead];
      result.quantiles[state][lead] = samples.size() < least_samples ? pooled[lead] : fit(samples);
    }
  }
  return result;
}

}  // namespace qiv
