#pragma once

#include <map>
#include <unordered_map>
#include <variant>
#include <vector>

#include "engine/engine_shard.h"
#include "track/tracker.h"
#include "worker/finished_codec.h"
#include "worker/forecast_codec.h"
#include "worker/vehicle_codec.h"

namespace qiv {

/// What comes of one message of the positions: the forecast of a vehicle's trip, the end of one, a
/// trip for the histories, and what is made of a vehicle when that has changed. Agencies are the
/// caller's to fill in.
using PartitionOutput = std::variant<VehicleForecast, LeftTrip, FinishedTrip, VehicleState>;

/// The vehicles of one partition of the positions, followed and forecast. Time is that of the
/// partition's messages. Deterministic: what comes of a vehicle depends on its own messages and on
/// the histories.
class PartitionEngine {
 public:
  /// `network` and `settings` must outlive it; `history` is asked as `EngineShard` says.
  PartitionEngine(const Network& network, const LearnedSettings& settings, HistorySource history,
                  const TrackOptions& track = {}, const EngineOptions& engine = {});

  /// Takes one position. One that claims to have been received before the partition's time was
  /// received at that time. Appends to `output`: what ended because time passed; then what is made
  /// of the vehicle, if that has changed or was not told for an hour; then, if the report says
  /// anything of a trip, the forecast of it after each place that was accepted.
  void take(VehiclePosition position, std::vector<PartitionOutput>& output);

  /// Lets time pass until `now`.
  void advance(Instant now, std::vector<PartitionOutput>& output);

  /// Adds a finished trip, of any partition, to the histories.
  void learn_from(const FinishedTrip& trip) { _shard.learn_at_work(trip.run, trip.finished); }

  /// How far time has passed.
  Instant now() const { return _now; }
  /// The trips that vehicles are on.
  std::map<VehicleId, TripKey> under_way() const;
  /// Number of vehicles that are remembered.
  std::size_t vehicles() const { return _tracker.vehicles().size(); }

 private:
  struct Assignment {
    Instant assigned{};
    bool by_course = false;
    std::size_t told = 0;  ///< places that were told
  };

  void tell(const VehicleId& vehicle, std::vector<PartitionOutput>& output);
  void forget();
  bool pass_on(std::vector<PartitionOutput>& output);
  void note(TripEnded& ended, std::vector<PartitionOutput>& output);
  void forecast(const VehicleId& vehicle, Instant now, std::vector<PartitionOutput>& output);

  Tracker _tracker;
  EngineShard _shard;
  std::unordered_map<VehicleId, Assignment> _assignments;
  std::unordered_map<VehicleId, VehicleState> _told;  ///< of each vehicle, the last
  Instant _now{};
  Instant _forgot{};
  std::vector<TrackEvent> _events;
};

}  // namespace qiv
