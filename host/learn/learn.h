#pragma once

#include <functional>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "learn/cross_validation.h"
#include "learn/partial_results.h"
#include "learn/recorded_days.h"
#include "model/settings.h"
#include "model/vehicle_position.h"
#include "track/options.h"

namespace qiv {

struct LearnOptions {
  CrossValidationOptions validation;
  /// The last days before the end of learning serve to calibrate the bounds, each forecast from the
  /// days before it.
  std::size_t calibration_days = 7;
  TrackOptions track;
  EngineOptions engine;
  /// Where finished parts are kept, so that learning that was interrupted goes on. Only parts of
  /// the same program, timetable, runs, positions, options and `until` may be found.
  PartialResults partial;
  /// Told the share of the work that is done, and what is under way.
  std::function<void(double share, const std::string& what)> on_progress;
};

/// Positions of a recorded day, in order of receipt. Called by one thread at a time.
using DayOfPositions = std::function<std::vector<VehiclePosition>(ServiceDate)>;

/// Learns from the recorded days up to `until`: the settings of each pattern by cross-validation,
/// then the calibration of the bounds by replaying the last days with these settings.
LearnedSettings learn(const Network& network, const RecordedRuns& runs, ServiceDate until,
                      const DayOfPositions& positions, const LearnOptions& options = {});

}  // namespace qiv
