#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/engine.h"
#include "track/tracker.h"
#include "worker/finished_codec.h"
#include "worker/forecast_basis.h"
#include "worker/forecast_codec.h"
#include "worker/vehicle_codec.h"

namespace qiv {

/// What is on display, made from the forecasts' topic by the same engine that one process has: it
/// is told what the library answered in the place of being asked. So a forecast moves on with the
/// clock, of several vehicles on one trip the one that leads is shown, and trips that no vehicle
/// has begun are announced. The same message twice, or an older one after a newer, changes nothing.
class ForecastBoard {
 public:
  /// `network` and `settings` must outlive it; `history` is asked as `Engine` says. Works in one
  /// shard, whatever the options say.
  ForecastBoard(const Network& network, const LearnedSettings& settings, HistorySource history,
                const EngineOptions& options = {});

  /// Takes a message of the forecasts' topic. Returns why it was not used; nothing for one that was
  /// used, or had been before.
  std::optional<Undecodable> take(const StreamMessage& message);

  /// Adds a finished trip, which `history` has by now, to the histories.
  void learn_from(const FinishedTrip& trip) {
    _engine.shard(0).learn_at_work(trip.run, trip.finished);
  }

  /// What is on display at `now`, in the order of the trips' keys. A forecast that does not say
  /// what it was made from is shown as its worker made it; those of vehicles that have not been
  /// heard of for `silence` are left out.
  std::vector<TripForecast> show(Instant now, Seconds silence);

  /// What the workers make of the vehicles, in the order of their identifiers: those that were told
  /// of, and those on a trip. Of a vehicle on a trip that another one leads on, just that.
  std::vector<VehicleState> vehicles() const;

  /// Forgets what was told of vehicles that are on no trip, where `is_forgotten` says so.
  void forget(const std::function<bool(const VehicleState&)>& is_forgotten);

  /// The earlier trips behind the present forecast of a trip under way, or why they cannot be told.
  ForecastBasisFound why(const TripKey& trip);

  /// How far a trip under way is behind its timetable, in seconds; nothing for any other trip.
  std::optional<double> delay_s(const TripKey& trip) { return _engine.delay_s(trip); }

  /// All that has been told of the vehicles, to be told to another board, which may have another
  /// timetable. Patterns that this board's timetable lacks are not among it.
  std::vector<StreamMessage> told_again();

  /// The newest moment that a forecast was made at.
  Instant newest() const { return _newest; }
  std::uint64_t taken() const { return _taken; }
  std::uint64_t repeated() const { return _repeated; }

 private:
  /// Where the position behind a message lies: partition and offset.
  using Origin = std::pair<std::int32_t, std::int64_t>;
  /// The trip that a vehicle is on, as its last message said it.
  struct OnTrip {
    VehicleForecast last;  ///< without the places
    std::optional<Origin> origin;
    bool as_made = false;  ///< it does not say what it was made from
    bool whole = false;    ///< all places of the trip are known
  };

  /// The last message of a key.
  struct LastOf {
    Origin origin;
    Instant when{};
  };

  bool is_repeated(const StreamMessage& message, const std::optional<Origin>& origin);
  void forget_messages();
  void take(VehicleForecast&& forecast, const std::optional<Origin>& origin);
  void take(const LeftTrip& left);
  void take(VehicleState&& state);
  bool is_usable(const VehicleForecast& forecast) const;

  const Network& _network;
  const LearnedSettings& _settings;
  HistorySource _history;
  EngineOptions _options;
  Engine _engine;
  std::map<VehicleId, OnTrip> _on_trip;
  std::map<VehicleId, VehicleState> _states;
  std::unordered_map<std::string, LastOf> _last;  ///< message of each key
  Instant _forgot{};
  Instant _newest{};
  std::uint64_t _taken = 0;
  std::uint64_t _repeated = 0;
};

}  // namespace qiv
