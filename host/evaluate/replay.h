#pragma once

#include <functional>
#include <span>
#include <vector>

#include "engine/engine.h"
#include "model/settings.h"
#include "model/vehicle_position.h"
#include "network/network.h"
#include "track/tracker.h"

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
  /// The forecast of a trip right after one of its reports was passed on.
  std::function<void(const Progress& progress, const TripForecast& shown)> on_report;
  /// A trip that has ended, before the histories take it.
  std::function<void(const TripRun& run)> on_finished;
};

/// Drives tracker and engine over recorded positions, in order of receipt, as the live service
/// does: trips that finish join the histories at once.
class Replay {
 public:
  /// `network` and `settings` must outlive the replay.
  Replay(const Network& network, const LearnedSettings& settings, HistorySource history,
         ReplayOptions options = {});

  /// Replays `positions` (in order of receipt), from the first to the last of them.
  void run(std::span<const VehiclePosition> positions, const ReplayObserver& observer);

  const Engine& engine() const { return _engine; }
  Engine& engine() { return _engine; }
  const Tracker& tracker() const { return _tracker; }

 private:
  void take(const std::vector<TrackEvent>& events, const ReplayObserver& observer);
  void take_finished(Instant now, const ReplayObserver& observer);

  ReplayOptions _options;
  Tracker _tracker;
  Engine _engine;
  std::vector<TrackEvent> _events;
};

}  // namespace qiv
