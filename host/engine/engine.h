#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "engine/forecast_library.h"
#include "engine/live_trip.h"
#include "engine/pattern_desk.h"
#include "history/trajectory.h"
#include "model/rejections.h"
#include "model/settings.h"
#include "model/trip_forecast.h"
#include "network/network.h"
#include "track/events.h"

namespace qiv {

struct DisplayInput;

struct EngineOptions {
  /// Trips are announced so long before their scheduled departure.
  Seconds announce{3600};
  /// A trip that no vehicle has begun so long after its scheduled departure is announced no more.
  Seconds ghost_patience{600};
  /// What a position may be off at most before the library rejects it, beside its own error.
  double least_error_m = 50.0;
  /// What is forecast: the arrival at every stop, or the travel time of every leg.
  ForecastMode mode = ForecastMode::arrival;
};

/// The earlier trips of a pattern on a grid, in the order of finishing.
using HistorySource = std::function<std::vector<Trajectory>(PatternIndex, const Grid&)>;

/// Turns what the tracker says into forecasts. Deterministic: time comes in with the events and
/// with each question; nothing is stored but in memory.
class Engine {
 public:
  /// `network` and `settings` must outlive the engine. `history` is asked once for each pattern,
  /// when its first trip is met.
  Engine(const Network& network, const LearnedSettings& settings, HistorySource history,
         EngineOptions options = {});
  ~Engine();

  /// Takes one event, in order.
  void apply(const TrackEvent& event);

  /// What is on display at `now`: the trips under way, those that wait at their first stop, and
  /// those that are announced, in the order of their keys. Costs no call of the library but for
  /// categories that are asked for the first time.
  std::vector<TripForecast> forecasts(Instant now);

  /// The same for one trip; nothing when it is not on display.
  std::optional<TripForecast> forecast(const TripKey& trip, Instant now);

  /// The trips that have ended since the last call, for the caller to store.
  std::vector<TripRun> take_finished();

  /// Adds a finished trip to the histories. Returns false, and counts why, when it is no trip to
  /// learn from.
  bool learn_from(const TripRun& run, Instant finished);

  /// The trip with its vehicle; null when it has none.
  const LiveTrip* live(const TripKey& trip) const;

  /// The pattern at work; opened if it is not yet.
  PatternDesk& desk_of(PatternIndex pattern);

  /// What the library and the rules for trajectories did not take, with the first case of each.
  Rejections rejections() const;

 private:
  void on(const TripAssigned& event);
  void on(const Waiting& event);
  void on(const Progress& event);
  void on(const StillThere& event);
  void on(const Corrected& event);
  void on(const TripEnded& event);

  LiveTrip* find(const VehicleId& vehicle, const TripKey& trip);
  void report(LiveTrip& trip, const Progress& progress);
  TripForecast display(LiveTrip& trip, Instant now);
  void fill(TripForecast& result, const DisplayInput& input, Instant now) const;
  std::optional<TripForecast> display_announced(const ScheduledTrip& schedule, Instant now);
  Instant expected_departure(const ScheduledTrip& schedule, Category category, Instant not_before,
                             Instant now);
  std::vector<ScheduledTrip> announced(Instant now);

  const Network& _network;
  const LearnedSettings& _settings;
  HistorySource _history;
  EngineOptions _options;
  ForecastLibrary _library;
  std::map<PatternIndex, std::unique_ptr<PatternDesk>> _desks;
  std::map<TripKey, LiveTrip> _live;
  std::set<TripKey> _begun;  ///< trips that have had a vehicle under way
  std::map<ServiceDate, std::vector<TripIndex>> _trips_on;
  std::vector<TripRun> _finished;
  Rejections _rejections;
};

}  // namespace qiv
