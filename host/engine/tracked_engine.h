#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "engine/engine.h"
#include "track/tracker.h"

namespace qiv {

/// What a tracked engine tells while it works. Members that are not set are not called.
struct TrackedEngineObserver {
  /// Each of the tracker's events, before the engine takes it.
  std::function<void(const TrackEvent& event)> on_event;
  /// The forecast of a trip right after one of its reports was passed on.
  std::function<void(const Progress& progress, const TripForecast& shown)> on_report;
  /// A trip that has ended, before the histories take it; `now` is by the clock of receipt.
  std::function<void(const TripRun& run, Instant now)> on_finished;
};

/// Tracker and engine in step: positions and time go in, forecasts are on display. Replay, explain
/// and the live service all drive this; trips that finish join the histories at once.
/// Deterministic: time comes in with the positions.
class TrackedEngine {
 public:
  /// `network` and `settings` must outlive it; `history` is asked as `Engine` says.
  TrackedEngine(const Network& network, const LearnedSettings& settings, HistorySource history,
                const TrackOptions& track = {}, const EngineOptions& engine = {});

  void observe(TrackedEngineObserver observer);

  /// Takes one position. Positions come in order of receipt.
  void take(const VehiclePosition& position);

  /// Lets time pass until `now`, by the clock of receipt: vehicles that have been silent for too
  /// long leave their trips.
  void advance(Instant now);

  /// Ends the trip of one vehicle, if it is on one, which goes on elsewhere.
  void release(const VehicleId& vehicle, Instant now);

  /// Ends every trip at `now`, as at the end of a recording.
  void finish(Instant now);

  const Engine& engine() const { return _engine; }
  Engine& engine() { return _engine; }
  const Tracker& tracker() const { return _tracker; }
  /// Number of finished trips that joined the histories.
  std::uint64_t learned() const { return _learned; }

 private:
  void pass_on(Instant now);

  Tracker _tracker;
  Engine _engine;
  TrackedEngineObserver _observer;
  std::vector<TrackEvent> _events;
  std::uint64_t _learned = 0;
};

}  // namespace qiv
