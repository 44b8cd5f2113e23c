#pragma once

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "engine/announced_trip.h"
#include "engine/engine_options.h"
#include "engine/followed_trip.h"
#include "engine/forecast_library.h"
#include "engine/kept_display.h"
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

/// The vehicles of one part of an engine, each forecast alone: from its own reports and the
/// histories, whoever else is on the road. Has a registry of the library of its own, so that
/// several shards may work at the same time, each in a thread.
class EngineShard {
 public:
  /// As `Engine`'s.
  EngineShard(const Network& network, const LearnedSettings& settings, HistorySource history,
              const EngineOptions& options);
  ~EngineShard();

  /// Takes one event of a vehicle of this shard, in order. Returns whether it may change who leads
  /// on a trip, or which trips are announced.
  bool apply(const TrackEvent& event);

  /// Takes what another program's shard says of the trip that the vehicle is on, in the place of
  /// its reports: the trip is shown here as it is there. Returns whether all of its places are
  /// known; not where some that came before have not been told. Precondition: what the library
  /// answered has the rows of the pattern, and comes with places.
  bool follow(const VehicleId& vehicle, const TripKey& trip, const FollowedTrip& told);

  /// What is to be told of the trip that the vehicle is on, with its places from number `from` on;
  /// nothing when it is on none.
  std::optional<FollowedTrip> told_of(const VehicleId& vehicle, std::size_t from);

  /// What is forecast for the trip that the vehicle is on; nothing when it is on none.
  std::optional<TripForecast> forecast(const VehicleId& vehicle, Instant now);

  /// Brings `trip.shown` up to `now`. Precondition: the vehicle is one of this shard.
  void show(LiveTrip& trip, Instant now);

  /// The same for a trip without a vehicle, which cannot depart before `earliest`. It shows nothing
  /// when the library gives no forecast.
  void show(AnnouncedTrip& trip, Instant earliest, Instant now);

  /// Adds a finished trip to the histories. Returns false, and counts why, when it is no trip to
  /// learn from.
  bool learn_from(const TripRun& run, Instant finished);

  /// The same where the history source grows with every finished trip: a pattern that has not been
  /// met yet will find the trip there, and is left alone.
  bool learn_at_work(const TripRun& run, Instant finished);

  /// The trip that the vehicle is on; null when it is on none.
  const LiveTrip* live(const VehicleId& vehicle) const { return shared_live(vehicle).get(); }
  /// The same, to be kept; `left` tells when the vehicle is on it no more.
  std::shared_ptr<LiveTrip> shared_live(const VehicleId& vehicle) const;

  /// The pattern at work; opened if it is not yet.
  PatternDesk& desk_of(PatternIndex pattern);

  /// Reports that the library did not take; and trips that were not learned from, which are the
  /// same in every shard.
  const Rejections& rejected_reports() const { return _library.rejected_reports(); }
  Rejections rejected_trips() const;

 private:
  bool on(const TripAssigned& event);
  bool on(const Waiting& event);
  bool on(const Progress& event);
  bool on(const StillThere& event);
  bool on(const Corrected& event);
  bool on(const TripEnded& event);

  LiveTrip* find(const VehicleId& vehicle, const TripKey& trip);
  void release(const LiveTrip& trip);
  void report(LiveTrip& trip, const Progress& progress);
  void note(LiveTrip& trip, const Progress& progress) const;
  void show_anew(LiveTrip& trip, const KeptDisplay::Basis& basis, Instant now) const;
  void show_anew(AnnouncedTrip& trip, const PatternDesk& desk, const LibraryForecast& fresh,
                 const KeptDisplay::Basis& basis) const;
  DisplayHold fill(TripForecast& result, const DisplayInput& input, Instant now) const;
  static Instant expected_departure(const ScheduledTrip& schedule, const PatternDesk& desk,
                                    Category category, Instant not_before);

  const Network& _network;
  const LearnedSettings& _settings;
  HistorySource _history;
  EngineOptions _options;
  ForecastLibrary _library;
  std::vector<std::unique_ptr<PatternDesk>> _desks;  ///< by pattern; null where not yet at work
  std::unordered_map<VehicleId, std::shared_ptr<LiveTrip>> _live;
  std::uint64_t _keys = 0;  ///< of the library, given so far
  Rejections _rejected_trips;
};

}  // namespace qiv
