#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "evaluate/evaluation.h"
#include "model/settings.h"

namespace qiv {

/// Collects displayed errors and makes of them the quantiles at which published bounds lie.
class Calibrator {
 public:
  void add(const DisplayedError& error);

  /// For each state and bucket of predicted lead the quantiles of error / sqrt(spread^2 + floor^2),
  /// with the floor, out of a few, that gives the smallest pinball loss: so the spread of the
  /// earlier trips counts as much as it makes the bounds sharper. A cell with fewer than
  /// `least_samples` takes those of all states at this lead, and a lead without samples those of
  /// the one before.
  Calibration calibration(std::size_t least_samples = 400) const;

 private:
  struct Sample {
    float error_s;
    float spread_s;
  };
  using Samples = std::vector<Sample>;

  static BoundQuantiles fit(const Samples& all);

  std::array<std::array<Samples, Calibration::leads>, Calibration::states> _samples;
};

}  // namespace qiv
