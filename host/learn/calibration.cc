#include "learn/calibration.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qiv {
namespace {

using Sample = DisplayedErrors::Sample;
using Cell = DisplayedErrors::Cell;

constexpr std::array<double, 5> floors_s = {20.0, 60.0, 120.0, 300.0, 3000.0};
constexpr std::array<double, 4> shares = {0.05, 0.16, 0.84, 0.95};
/// So many errors of a day and a cell are kept at most; at least half as many once that was
/// reached.
constexpr std::size_t most_samples = 8192;

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

/// Cells of several days and states as one: every error counts alike.
struct Pool {
  std::vector<const Cell*> cells;

  std::uint64_t count() const {
    std::uint64_t total = 0;
    for (const Cell* cell : cells) total += cell->count;
    return total;
  }

  /// Drawn as thinly as the cell that was drawn most thinly.
  std::vector<Sample> samples() const {
    std::uint64_t stride = 1;
    for (const Cell* cell : cells) stride = std::max(stride, cell->stride);
    std::vector<Sample> drawn;
    for (const Cell* cell : cells) {
      const std::uint64_t step = stride / cell->stride;
      for (std::size_t i = 0; i < cell->samples.size(); i += step) {
        drawn.push_back(cell->samples[i]);
      }
    }
    return drawn;
  }
};

BoundQuantiles fit(const Pool& pool) {
  BoundQuantiles best;
  const std::vector<Sample> samples = pool.samples();
  if (samples.empty()) return best;
  double least_loss = HUGE_VAL;
  std::vector<double> scales(samples.size());
  std::vector<float> ratios(samples.size());
  for (const double floor_s : floors_s) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      scales[i] = std::hypot(static_cast<double>(samples[i].spread_s), floor_s);
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
    best = {floor_s, quantiles[0], quantiles[1], quantiles[2], quantiles[3], pool.count()};
  }
  return best;
}

template <class Value>
void append(std::string& bytes, const Value& value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

template <class Value>
bool take(std::string_view& bytes, Value& value) {
  if (bytes.size() < sizeof value) return false;
  std::memcpy(&value, bytes.data(), sizeof value);
  bytes.remove_prefix(sizeof value);
  return true;
}

}  // namespace

void DisplayedErrors::add(const DisplayedError& error) {
  const auto state = static_cast<std::size_t>(error.state);
  if (state >= Calibration::states || error.lead < Seconds(0)) return;
  Cell& cell = _cells[state][Calibration::lead_bucket(error.lead)];
  if (cell.count++ % cell.stride != 0) return;
  cell.samples.push_back({static_cast<float>(error.error_s), static_cast<float>(error.spread_s)});
  if (cell.samples.size() < most_samples) return;
  for (std::size_t i = 0; i < most_samples / 2; ++i) cell.samples[i] = cell.samples[2 * i];
  cell.samples.resize(most_samples / 2);
  cell.stride *= 2;
}

std::string DisplayedErrors::to_bytes() const {
  std::string bytes;
  for (const auto& row : _cells) {
    for (const Cell& cell : row) {
      append(bytes, cell.count);
      append(bytes, cell.stride);
      append(bytes, std::uint64_t{cell.samples.size()});
      for (const Sample& sample : cell.samples) append(bytes, sample);
    }
  }
  return bytes;
}

std::optional<DisplayedErrors> DisplayedErrors::from_bytes(std::string_view bytes) {
  DisplayedErrors errors;
  for (auto& row : errors._cells) {
    for (Cell& cell : row) {
      std::uint64_t size = 0;
      if (!take(bytes, cell.count) || !take(bytes, cell.stride) || !take(bytes, size) ||
          cell.stride == 0 || size > bytes.size() / sizeof(Sample)) {
        return std::nullopt;
      }
      cell.samples.resize(size);
      for (Sample& sample : cell.samples) take(bytes, sample);
    }
  }
  if (!bytes.empty()) return std::nullopt;
  return errors;
}

Calibration calibrate(std::span<const DisplayedErrors> days, std::size_t least_samples) {
  Calibration result;
  BoundQuantiles pooled;
  for (std::size_t lead = 0; lead < Calibration::leads; ++lead) {
    std::array<Pool, Calibration::states> of_state;
    Pool all;
    for (std::size_t state = 0; state < Calibration::states; ++state) {
      for (const DisplayedErrors& day : days) {
        of_state[state].cells.push_back(&day.cell(state, lead));
        all.cells.push_back(&day.cell(state, lead));
      }
    }
    if (lead == 0 || all.count() > 0) pooled = fit(all);
    for (std::size_t state = 0; state < Calibration::states; ++state) {
      result.quantiles[state][lead] =
          of_state[state].count() < least_samples ? pooled : fit(of_state[state]);
    }
  }
  return result;
}

}  // namespace qiv
