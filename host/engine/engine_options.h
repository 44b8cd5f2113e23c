#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "engine/forecast_library.h"
#include "history/grid.h"
#include "history/trajectory.h"
#include "model/time.h"

namespace qiv {

struct EngineOptions {
  /// Trips are announced so long before their scheduled departure.
  Seconds announce{3600};
  /// A trip that no vehicle has begun so long after its scheduled departure is announced no more.
  Seconds ghost_patience{600};
  /// What a position may be off at most before the library rejects it, beside its own error.
  double least_error_m = 50.0;
  /// What is forecast: the arrival at every stop, or the travel time of every leg.
  ForecastMode mode = ForecastMode::arrival;
  /// Number of parts, each with its vehicles and a thread. No forecast depends on it.
  std::size_t shards = 1;
};

/// The earlier trips of a pattern on a grid, in the order of finishing.
using HistorySource = std::function<std::vector<Trajectory>(PatternIndex, const Grid&)>;

}  // namespace qiv
