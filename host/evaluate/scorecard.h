#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "model/rejections.h"
#include "model/settings.h"
#include "model/time.h"
#include "model/trip_forecast.h"

namespace qiv {

/// The buckets of minutes, by time to the actual arrival or by predicted lead.
inline constexpr std::array<int, 7> bucket_edges_min = {0, 3, 6, 10, 15, 30, 60};
inline constexpr std::size_t bucket_count = bucket_edges_min.size() - 1;

/// Index of the bucket that holds `lead`; nothing outside [0, 60 min).
std::optional<std::size_t> bucket_of(Seconds lead);

/// Errors of one bucket, actual minus predicted, in seconds.
struct BucketScore {
  int from_min = 0;
  int to_min = 0;
  std::uint64_t n = 0;
  double mae_s = 0.0;
  double bias_s = 0.0;  ///< mean error: positive when vehicles come later than predicted
  double median_s = 0.0;
  double p90_s = 0.0;  ///< nine of ten absolute errors are smaller
};

/// Mean absolute error on the events for which a producer had a prediction of its own.
struct OwnScore {
  std::uint64_t n = 0;
  double mae_s = 0.0;
};

/// What has been read of another producer's recording.
struct RecordedSource {
  std::string recording;              ///< file or folder
  std::uint64_t snapshots = 0;        ///< that it holds
  std::uint64_t snapshots_shown = 0;  ///< that were on display at some moment
  std::uint64_t updates = 0;          ///< trip updates used of those
  Rejections not_used;
};

/// How well one producer predicted.
struct ContenderScore {
  std::string name;
  std::vector<BucketScore> buckets;          ///< by time to the actual arrival
  std::vector<BucketScore> buckets_by_lead;  ///< by predicted lead
  std::vector<OwnScore> own_by_ahead;        ///< on its own events, for each of `buckets`
  std::vector<OwnScore> own_by_lead;         ///< ... and of `buckets_by_lead`
  double mean_mae_s = 0.0;                   ///< plain mean of the buckets' errors
  double eta_score = 0.0;       ///< ETA accuracy benchmark: mean of four shares, in percent
  double reliable_share = 0.0;  ///< -60 ln(m + 1.3) < error < 60 ln(m + 1.5), m minutes ahead
  double own_mae_s = 0.0;       ///< on all events for which it had a forecast of its own
  std::uint64_t own_n = 0;
  std::optional<RecordedSource> source;  ///< of another producer; empty for our own
};

/// How honest the published bounds were, by predicted lead.
struct BoundScore {
  int from_min = 0;
  int to_min = 0;
  std::uint64_t n = 0;
  double coverage = 0.0;  ///< share of actual arrivals inside the 68 % bounds
  double coverage_90 = 0.0;
  double mean_half_width_s = 0.0;  ///< of the 68 % bounds
  double fixed_half_width_s =
      0.0;  ///< the fixed half width around the forecast that covers as much
  double mean_half_width_90_s = 0.0;
  double pinball_s = 0.0;  ///< mean pinball loss over the four quantiles
};

/// How often arrivals came before one of the four published bounds: each side on its own.
struct QuantileScore {
  double promised = 0.0;  ///< share that was to come before it
  double actual = 0.0;    ///< share that did
};

/// A trip that went badly, for the report.
struct WorstTrip {
  TripKey trip;
  VehicleId vehicle;
  double mae_s = 0.0;
  std::uint64_t n = 0;
};

/// The whole result of an evaluation.
struct Scorecard {
  std::string city;
  std::string timetable_version;
  std::string program_version;
  ServiceDate first_day;
  ServiceDate last_day;
  std::optional<ServiceDate> learned_until;
  std::uint64_t trips_scheduled = 0;
  std::uint64_t trips_observed = 0;
  std::uint64_t trips_ghost =
      0;  ///< announced within the last ten minutes before departure, never seen
  std::uint64_t arrivals_observed = 0;
  std::uint64_t positions = 0;

  /// As displayed every `display_interval`: forecast, timetable, timetable_delay, historical_mean,
  /// category_mean, last_vehicle, and any other producer; all on the same events.
  std::vector<ContenderScore> on_display;
  /// Right after each report of trips under way, on the same events.
  std::vector<ContenderScore> at_reports;

  std::vector<BoundScore> bounds;  ///< on display, by predicted lead
  std::map<std::string, std::vector<BoundScore>> bounds_by_state;
  std::vector<BoundScore> bounds_by_hour;  ///< from_min and to_min are hours of the local day
  std::vector<QuantileScore> quantiles;    ///< of all bounds on display, the lowest first
  double coverage_90 = 0.0;
  double missed_share = 0.0;  ///< riders who leave by the leave-by time and come too late
  double wobble_s = 0.0;      ///< mean absolute change of a forecast from one display to the next
  /// Share of the minutes in which a trip's vehicle reports that had a forecast on display.
  double availability = 0.0;
  /// The same over every scheduled trip, stop and minute of the hour before the arrival.
  double availability_scheduled = 0.0;

  /// Mean error of "forecast" on display by local hour, and by stop (index into the timetable).
  std::array<BucketScore, 24> by_hour{};
  std::map<std::uint32_t, BucketScore> by_stop;
  std::vector<WorstTrip> worst_trips;

  /// 95 % interval of `mean_mae_s` of "forecast" minus that of "timetable_delay", by bootstrap over
  /// runs.
  double advantage_low_s = 0.0;
  double advantage_high_s = 0.0;

  Rejections rejections;

  // For the record, all of them the caller's to fill in.
  std::vector<ServiceDate> days;                ///< scored, in order; empty: first to last
  std::map<std::string, std::string> settings;  ///< what the evaluation ran with
  std::string command_line;                     ///< that makes the same report again
};

}  // namespace qiv
