#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "engine/engine_shard.h"
#include "engine/trip_roster.h"
#include "worker/finished_codec.h"
#include "worker/forecast_codec.h"

namespace qiv {

/// What is on display, made from the forecasts' topic: of several vehicles on one trip the one that
/// leads, and the trips that no vehicle has begun, which are forecast here. The same message twice,
/// or an older one after a newer, changes nothing.
class ForecastBoard {
 public:
  /// `network` and `settings` must outlive it; `history` is asked as `EngineShard` says.
  ForecastBoard(const Network& network, const LearnedSettings& settings, HistorySource history,
                const EngineOptions& options = {});

  /// Takes a message of the forecasts' topic. Returns why it was not used; nothing for one that was
  /// used, or had been before.
  std::optional<Undecodable> take(const StreamMessage& message);

  /// Adds a finished trip to the histories of the trips that are announced.
  void learn_from(const FinishedTrip& trip) { _shard.learn_from(trip.run, trip.finished); }

  /// What is on display at `now`, in the order of the trips' keys. A forecast is as its worker made
  /// it; those of vehicles that have not been heard of for `silence` are left out.
  std::vector<TripForecast> show(Instant now, Seconds silence);

  /// The last forecast of each vehicle that is on a trip.
  const std::map<VehicleId, VehicleForecast>& vehicles() const { return _vehicles; }
  bool leads(const VehicleId& vehicle, const TripKey& trip) const {
    return _roster.leads(vehicle, trip);
  }

  /// The newest moment that a forecast was made at.
  Instant newest() const { return _newest; }
  std::uint64_t taken() const { return _taken; }
  std::uint64_t repeated() const { return _repeated; }

 private:
  /// Where the position behind a message lies: partition and offset.
  using Origin = std::pair<std::int32_t, std::int64_t>;

  bool is_repeated(const VehicleId& vehicle, const StreamMessage& message);
  void take(VehicleForecast&& forecast);
  void take(const LeftTrip& left);
  std::optional<TripForecast> announce(const ScheduledTrip& trip,
                                       const std::map<TripKey, TripForecast>& shown, Instant now);

  const Network& _network;
  const LearnedSettings& _settings;
  TripRoster _roster;
  EngineShard _shard;
  std::map<VehicleId, VehicleForecast> _vehicles;
  std::map<VehicleId, Origin> _origins;
  Instant _newest{};
  std::uint64_t _taken = 0;
  std::uint64_t _repeated = 0;
};

}  // namespace qiv
