#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/lat_lon.h"
#include "model/rejections.h"
#include "model/service_changes.h"
#include "model/time.h"
#include "model/trip_forecast.h"
#include "network/network.h"
#include "track/events.h"

namespace qiv {

/// What the service says of one reporting vehicle. Every vehicle that has reported lately has one.
struct VehicleView {
  VehicleId vehicle;
  VehicleStatus status = VehicleStatus::no_trip;
  Instant since{};          ///< of the status
  Instant last_report{};    ///< by the vehicle's own clock
  Instant last_received{};  ///< by ours
  std::optional<LatLon> place;
  std::optional<double> bearing_deg;
  std::optional<double> speed_mps;
  std::optional<TripKey> trip;  ///< that it is followed on
  TripId reported_trip;         ///< that the feed names; empty: none
  /// How sure the assignment of `trip` by the vehicle's course is, 0 to 1; nothing where the feed
  /// names it.
  std::optional<double> confidence;
  RouteId route;                    ///< of the trip, or as reported; may be empty
  std::optional<double> offset_m;   ///< along the pattern of `trip`
  std::optional<Seconds> lateness;  ///< forecast minus timetable at the next stop
  std::string reason;               ///< why the status is what it is, for people; may be empty

  friend bool operator==(const VehicleView&, const VehicleView&) = default;
};

/// How a source of positions, of what the agency says, or of the timetable fares.
enum class SourceHealth : std::uint8_t {
  starting,  ///< nothing has come yet
  good,      ///< the last answer was taken, and its content is fresh
  stale,     ///< answers come, but what they say is old
  failing,   ///< the last attempt failed; the next one is under way
  finished,  ///< a recorded source that has come to its end
};

const char* to_string(SourceHealth health);

/// One source, as of a moment. Counts are since the service began.
struct SourceView {
  std::string name;  ///< from the configuration
  std::string kind;  ///< such as "gtfs-realtime over HTTP"
  SourceHealth health = SourceHealth::starting;
  std::string detail;  ///< for people: why it is not good; empty when it is
  std::optional<Instant> last_success;
  std::optional<Instant> last_failure;
  std::optional<Instant> header_time;         ///< of the last content
  std::optional<Instant> newest_entity_time;  ///< of its newest vehicle or prediction
  std::uint64_t fetches = 0;
  std::uint64_t failures = 0;
  std::uint64_t not_modified = 0;
  std::uint64_t duplicates = 0;    ///< content that was there before
  std::uint64_t out_of_order = 0;  ///< content older than what was there before
  std::uint64_t empty = 0;         ///< content that says nothing
  std::uint64_t time_jumps = 0;    ///< of the header's time
  std::uint64_t positions = 0;     ///< taken
  std::uint64_t statements = 0;    ///< trip updates and alerts taken
  Rejections rejections;           ///< what was in the content and not used
};

/// How the agency's own predictions fare in one bucket, on the events of the forecast's.
struct AgencyScoreBucket {
  double mae_s = 0.0;           ///< where the agency predicts nothing, the timetable stands in
  double bias_s = 0.0;          ///< actual minus predicted
  std::uint64_t own_n = 0;      ///< events for which the agency had a prediction
  double own_mae_s = 0.0;       ///< on these alone
  double forecast_mae_s = 0.0;  ///< ours, on these alone
};

/// Error and coverage of the live forecasts in one bucket of the time to the actual arrival.
struct LiveScoreBucket {
  int from_min = 0;
  int to_min = 0;
  std::uint64_t n = 0;
  double mae_s = 0.0;
  double bias_s = 0.0;       ///< actual minus forecast
  double coverage_68 = 0.0;  ///< share of actual arrivals inside the interval
  double coverage_90 = 0.0;
  double timetable_mae_s = 0.0;             ///< of the timetable, on the same events
  double timetable_delay_mae_s = 0.0;       ///< of timetable plus present delay
  std::optional<AgencyScoreBucket> agency;  ///< where the agency predicts at all
};

/// The live score over one stretch of time that ends now.
struct LiveScore {
  Seconds span{3600};          ///< 0: since the service began
  std::uint64_t arrivals = 0;  ///< observed at stops
  double eta_score = 0.0;      ///< of the ETA accuracy benchmark, in percent; 0 without events
  std::optional<double> agency_eta_score;  ///< the same of the agency's own predictions
  std::vector<LiveScoreBucket> buckets;
};

/// Counts since the service began, for metrics.
struct ServiceCounts {
  std::uint64_t positions_taken = 0;
  std::uint64_t positions_given_up = 0;  ///< that waited when too many did
  std::uint64_t progress_stored = 0;     ///< accepted and in the archive
  std::uint64_t trips_finished = 0;      ///< and in the archive
  std::uint64_t trips_learned = 0;       ///< taken into the histories
  std::uint64_t archive_failures = 0;
  std::uint64_t archive_losses = 0;  ///< rows that could not be stored
  std::uint64_t cycles = 0;
  double last_cycle_s = 0.0;  ///< time that the last cycle took
};

/// All that the service shows, as of one moment: the only thing that its outputs are made from.
/// Immutable once it is made; shared by all readers.
struct Snapshot {
  std::uint64_t serial = 0;  ///< one more with every cycle
  Instant now{};             ///< of the service's clock, which a recorded day moves
  std::string city;          ///< its name, for people
  std::string version;       ///< of the program
  std::shared_ptr<const Network> network;
  std::vector<TripForecast> trips;    ///< on display, in order of their keys
  std::vector<VehicleView> vehicles;  ///< in order of their identifiers
  std::vector<SourceView> sources;    ///< in order of the configuration
  std::vector<LiveScore> scores;      ///< the last hour, the last day, since the beginning
  /// What the agency says of its service; null while no source of it has answered.
  std::shared_ptr<const ServiceChanges> changes;
  ServiceCounts counts;
  Rejections rejections;  ///< of tracker, engine and library
  bool ready = false;     ///< the network is there and the vehicles on the road are rebuilt
  std::string not_ready;  ///< why it is not, for people
};

}  // namespace qiv
