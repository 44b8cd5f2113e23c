#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/lat_lon.h"
#include "model/rejections.h"
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
  std::optional<TripKey> trip;      ///< that it is followed on
  TripId reported_trip;             ///< that the feed names; empty: none
  RouteId route;                    ///< of the trip, or as reported; may be empty
  std::optional<double> offset_m;   ///< along the pattern of `trip`
  std::optional<Seconds> lateness;  ///< forecast minus timetable at the next stop
};

/// How a source of positions or of the timetable fares.
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
  std::optional<Instant> newest_entity_time;  ///< of its newest vehicle
  std::uint64_t fetches = 0;
  std::uint64_t failures = 0;
  std::uint64_t not_modified = 0;
  std::uint64_t duplicates = 0;    ///< content that was there before
  std::uint64_t out_of_order = 0;  ///< content older than what was there before
  std::uint64_t empty = 0;         ///< content without a vehicle
  std::uint64_t time_jumps = 0;    ///< of the header's time
  std::uint64_t positions = 0;     ///< taken
  Rejections rejections;           ///< what was in the content and not used
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
  double timetable_mae_s = 0.0;        ///< of the timetable, on the same events
  double timetable_delay_mae_s = 0.0;  ///< of timetable plus present delay
};

/// The live score over one stretch of time that ends now.
struct LiveScore {
  Seconds span{3600};          ///< 0: since the service began
  std::uint64_t arrivals = 0;  ///< observed at stops
  double eta_score = 0.0;      ///< of the ETA accuracy benchmark, in percent; 0 without events
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
  ServiceCounts counts;
  Rejections rejections;  ///< of tracker, engine and library
  bool ready = false;     ///< the network is there and the vehicles on the road are rebuilt
  std::string not_ready;  ///< why it is not, for people
};

}  // namespace qiv
