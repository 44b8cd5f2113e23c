#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "engine/crew.h"
#include "engine/engine_options.h"
#include "engine/engine_shard.h"
#include "engine/explain.h"
#include "engine/trip_board.h"
#include "engine/trip_roster.h"
#include "model/rejections.h"
#include "model/settings.h"
#include "model/trip_forecast.h"
#include "network/network.h"
#include "track/events.h"

namespace qiv {

/// Turns what the tracker says into forecasts. Deterministic: time comes in with the events and
/// with each question; nothing is stored but in memory.
///
/// The vehicles are dealt out to shards by their names. A forecast depends on its own vehicle's
/// reports and on the histories, which every shard has whole; so nothing that is said here depends
/// on the number of shards.
class Engine {
 public:
  /// `network` and `settings` must outlive the engine. `history` is asked once for each pattern
  /// and shard, when its first trip is met, by one thread at a time.
  Engine(const Network& network, const LearnedSettings& settings, HistorySource history,
         EngineOptions options = {});

  /// Takes one event, in order.
  void apply(const TrackEvent& event);

  /// The same in two steps, for several threads. First each shard takes the events of its vehicles
  /// in a thread of its own, in order; then one thread tells those here for which the shard said
  /// that they matter, in order. To tell others too changes nothing.
  void note(const TrackEvent& event);
  std::size_t shard_of(const VehicleId& vehicle) const;
  EngineShard& shard(std::size_t number) { return *_shards[number]; }
  /// The threads of the shards.
  Crew& crew() { return _crew; }

  /// What is on display at `now`: the trips under way, those that wait at their first stop, and
  /// those that are announced, in the order of their keys. Of several vehicles on one trip the one
  /// that leads is shown.
  std::vector<TripForecast> forecasts(Instant now);

  /// The same for one trip; nothing when it is not on display.
  std::optional<TripForecast> forecast(const TripKey& trip, Instant now);

  /// Adds a finished trip to the histories. Returns false, and counts why, when it is no trip to
  /// learn from.
  bool learn_from(const TripRun& run, Instant finished);

  /// Whether the vehicle is the one that is shown on the trip.
  bool leads(const VehicleId& vehicle, const TripKey& trip) const {
    return _roster.leads(vehicle, trip);
  }

  /// The trip with the vehicle that leads on it; null when it has none.
  const LiveTrip* live(const TripKey& trip) const;

  /// What is behind the last forecast of a trip under way; nothing for any other trip.
  std::optional<Explanation> explain_trip(const TripKey& trip);

  /// How far a trip under way is behind its timetable at its last progress, in seconds; nothing for
  /// any other trip.
  std::optional<double> delay_s(const TripKey& trip);

  /// The pattern at work, for a trip without a vehicle; opened if it is not yet.
  PatternDesk& desk_of(PatternIndex pattern) { return _shards.front()->desk_of(pattern); }

  /// What the library and the rules for trajectories did not take, with the first case of each.
  Rejections rejections() const;

 private:
  void place(const TripKey& trip, Instant now);
  void bring_up_to(Instant now);
  std::shared_ptr<LiveTrip> shared_live(const TripKey& trip) const;
  std::size_t shard_of_announced(const ScheduledTrip& trip) const;
  Instant turned_around(const ScheduledTrip& trip, const TripForecast& previous) const;

  const LearnedSettings& _settings;
  EngineOptions _options;
  TripRoster _roster;
  TripBoard _board;
  std::mutex _history_mutex;
  std::vector<std::unique_ptr<EngineShard>> _shards;
  Crew _crew;
};

}  // namespace qiv
