#pragma once

#include <functional>
#include <span>
#include <vector>

#include "engine/tracked_engine.h"
#include "model/settings.h"
#include "model/vehicle_position.h"
#include "network/network.h"

namespace qiv {

struct ReplayOptions {
  Seconds display_interval{30};  ///< how often the display is sampled
  TrackOptions track;
  EngineOptions engine;
};

/// What a replay tells while it runs.
struct ReplayObserver {
  /// The display, every `display_interval`.
  std::function<void(Instant now, const std::vector<TripForecast>& shown)> on_display;
  /// The forecast of a trip right after one of its reports was passed on; of several vehicles on
  /// the trip, that of the one that leads.
  std::function<void(const Progress& progress, const TripForecast& shown)> on_report;
  /// A trip that has ended, before the histories take it.
  std::function<void(const TripRun& run)> on_finished;
};

/// Drives tracker and engine over recorded positions, in order of receipt, as the live service
/// does.
class Replay {
 public:
  /// `network` and `settings` must outlive the replay.
  Replay(const Network& network, const LearnedSettings& settings, HistorySource history,
         const ReplayOptions& options = {});

  /// Replays `positions` (in order of receipt), from the first to the last of them.
  void run(std::span<const VehiclePosition> positions, const ReplayObserver& observer);

  const Engine& engine() const { return _tracked.engine(); }
  Engine& engine() { return _tracked.engine(); }
  Rejections rejections() const { return _tracked.rejections(); }

 private:
  Seconds _display_interval;
  TrackedEngine _tracked;
};

}  // namespace qiv
