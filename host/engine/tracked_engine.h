#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "engine/engine.h"
#include "track/tracker.h"

namespace qiv {

/// What a tracked engine tells while it works. Members that are not set are not called.
struct TrackedEngineObserver {
  /// Each of the tracker's events.
  std::function<void(const TrackEvent& event)> on_event;
  /// The forecast of the vehicle's trip right after one of its reports was passed on. Of each
  /// vehicle, whether it leads on its trip or not.
  std::function<void(const Progress& progress, const TripForecast& shown)> on_report;
  /// A trip that has ended, before the histories take it; `now` is its end by the clock of receipt.
  std::function<void(const TripRun& run, Instant now)> on_finished;
};

/// Tracker and engine in step: positions and time go in, forecasts are on display. Replay, explain
/// and the live service all drive this. Deterministic: time comes in with the positions.
///
/// What is received in one second is handled as of one moment: first the vehicles whose silence has
/// become too long leave their trips, then the positions are taken, then the trips that ended join
/// the histories, in the order of their end, ties by trip and vehicle. With more than one shard
/// each works in a thread of its own; what comes of it, and the order in which it is told, is the
/// same.
class TrackedEngine {
 public:
  /// `network` and `settings` must outlive it; `history` is asked as `Engine` says.
  TrackedEngine(const Network& network, const LearnedSettings& settings, HistorySource history,
                const TrackOptions& track = {}, const EngineOptions& engine = {});

  void observe(TrackedEngineObserver observer);

  /// False: trips that end join no histories, which are the caller's to keep. True at first.
  void learn_by_itself(bool learns) { _learns = learns; }

  /// Takes positions that were received in the same second, in order. Precondition: no earlier than
  /// those before, nor than the time that has passed.
  void take(std::span<const VehiclePosition> together);
  void take(const VehiclePosition& position) { take(std::span(&position, 1)); }

  /// Lets time pass until `now`, by the clock of receipt: vehicles that have been silent for too
  /// long leave their trips.
  void advance(Instant now);

  /// Ends the trip of one vehicle, if it is on one, which goes on elsewhere.
  void release(const VehicleId& vehicle, Instant now);

  /// Ends every trip at `now`, as at the end of a recording.
  void finish(Instant now);

  const Engine& engine() const { return _engine; }
  Engine& engine() { return _engine; }

  /// What is said of each vehicle, in the order of their identifiers. Of a vehicle on a trip that
  /// another one leads on, just that.
  std::vector<Tracker::VehicleReport> vehicles() const;

  /// What neither tracker nor engine used.
  Rejections rejections() const;

  /// Number of finished trips that joined the histories.
  std::uint64_t learned() const { return _learned; }

 private:
  /// An event, and what was forecast right after it if that is to be told.
  struct Happened {
    Instant when{};          ///< by the clock of receipt
    std::size_t serial = 0;  ///< of the position behind it; 0: none, time has passed
    TrackEvent event;
    bool matters_to_all = false;  ///< as `EngineShard::apply` says
    std::optional<TripForecast> shown;
  };
  struct Shard {
    Tracker tracker;
    std::vector<TrackEvent> events;
    std::vector<Happened> happened;
  };

  void pass(Shard& shard, EngineShard& engine, Instant when, std::size_t serial);
  void tell_all();
  void tell(const Happened& happened, std::vector<const TripEnded*>& ended);

  std::vector<Shard> _shards;
  Engine _engine;
  TrackedEngineObserver _observer;
  bool _learns = true;
  std::uint64_t _learned = 0;
};

/// Of a vehicle on a trip that another one leads on, says just that.
void show_doubled(Tracker::VehicleReport& said, const Engine& engine);

/// Calls `use` for each stretch of positions that were received in the same second.
/// Precondition: `positions` is in order of receipt.
void for_each_second(std::span<const VehiclePosition> positions,
                     const std::function<void(std::span<const VehiclePosition> together)>& use);

}  // namespace qiv
