#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "evaluate/evaluation.h"
#include "model/settings.h"

namespace qiv {

/// Displayed errors of one day by state and bucket of predicted lead: of each cell up to some
/// thousands, evenly drawn.
class DisplayedErrors {
 public:
  struct Sample {
    float error_s = 0.0F;
    float spread_s = 0.0F;
  };
  struct Cell {
    std::uint64_t count = 0;   ///< errors that were added
    std::uint64_t stride = 1;  ///< every so-manieth of them is kept; a power of two
    std::vector<Sample> samples;
  };

  void add(const DisplayedError& error);
  const Cell& cell(std::size_t state, std::size_t lead) const { return _cells[state][lead]; }

  /// All of it in bytes, exactly, to be read by the same program.
  std::string to_bytes() const;
  /// Reads what `to_bytes` wrote; nothing for other bytes.
  static std::optional<DisplayedErrors> from_bytes(std::string_view bytes);

 private:
  std::array<std::array<Cell, Calibration::leads>, Calibration::states> _cells;
};

/// For each state and bucket of predicted lead the quantiles of error / sqrt(spread^2 + floor^2),
/// with the floor, out of a few, that gives the smallest pinball loss: so the spread of the earlier
/// trips counts as much as it makes the bounds sharper. A cell with fewer than `least_samples`
/// errors takes those of all states at this lead, and a lead without errors those of the one
/// before.
Calibration calibrate(std::span<const DisplayedErrors> days, std::size_t least_samples = 400);

}  // namespace qiv
