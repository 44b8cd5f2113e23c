#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "evaluate/predicted_arrivals.h"
#include "evaluate/scorecard.h"
#include "evaluate/truth.h"
#include "model/trip_forecast.h"
#include "model/vehicle_position.h"
#include "network/network.h"
#include "serve/agency/agency_report.h"
#include "serve/snapshot.h"

namespace qiv {

struct LiveScoreOptions {
  /// The display is sampled so often.
  Seconds interval{30};
  /// A trip is scored when its vehicle has been silent on it, and nothing was shown of it, for so
  /// long.
  Seconds patience{1800};
  /// About so many trips are scored at a time; of more, a fixed part by name.
  std::size_t most_trips = 2000;
  TruthOptions truth;
};

/// Scores what is on display against what then happens, as the evaluation of recorded days does:
/// the same samples, the same truth out of the vehicle's positions, the same events. A trip counts
/// once it is over.
///
/// Where the agency predicts too, its predictions are scored on the same events, as the evaluation
/// scores another producer: by the rules of the standard between its stops, the timetable in the
/// place of what it does not predict, from the first of its reports on.
class LiveScores {
 public:
  /// How far a trip is behind its timetable, in seconds; nothing before its first report.
  using DelayOf = std::function<std::optional<double>(const TripKey& trip)>;

  explicit LiveScores(LiveScoreOptions options = {}) : _options(options) {}

  /// Takes a position, in order of receipt.
  void take(const VehiclePosition& position, const Network& network);

  /// Takes what the agency's own feeds say; predictions of several sources stand in for each other
  /// in the order of their names.
  void take(const AgencyReport& report, const Network& network);

  /// True when the display of `now` is to be sampled.
  bool is_due(Instant now) const;

  /// Samples the display, and scores the trips that are over.
  void sample(Instant now, const std::vector<TripForecast>& shown, const DelayOf& delay_of,
              const Network& network);

  /// Scores every trip that is left, as at the end of a recording.
  void finish(const Network& network);

  /// The last hour, the last day, and all since the beginning (span 0), as of the last sample.
  std::vector<LiveScore> scores() const;

 private:
  /// What was on display for a trip at one moment.
  struct Sample {
    std::vector<BoundedTime> arrivals;  ///< one for each stop; empty: not on display
    std::vector<bool> observed;
    std::optional<double> delay_s;
    PredictedArrivals agency;  ///< what the agency predicts; empty: nothing
  };
  /// What one of the agency's sources has on display.
  struct AgencyDisplay {
    AgencyReport report;
    std::map<TripKey, PredictedArrivals> arrivals;
  };
  /// A trip that is followed for its score.
  struct Scored {
    std::vector<VehiclePosition> positions;
    std::map<Instant, Sample> samples;
    Instant last_heard{};  ///< last position, or last time on display
  };
  struct Sums {
    std::uint64_t n = 0;
    double absolute_s = 0.0;
    double error_s = 0.0;
    double timetable_s = 0.0;
    double timetable_delay_s = 0.0;
    std::uint64_t on_time = 0;  ///< within the window of the ETA benchmark
    std::uint64_t bounded = 0;
    std::uint64_t inside_68 = 0;
    std::uint64_t inside_90 = 0;
    std::uint64_t agency_n = 0;
    double agency_absolute_s = 0.0;
    double agency_error_s = 0.0;
    std::uint64_t agency_on_time = 0;
    std::uint64_t agency_own_n = 0;
    double agency_own_s = 0.0;          ///< absolute error on its own predictions
    double forecast_on_agency_s = 0.0;  ///< ours on the same

    Sums& operator+=(const Sums& other);
  };
  /// An arrival as seen from one moment before it.
  struct Event {
    Instant actual{};
    Instant scheduled{};
    Seconds forecast_error{0};  ///< ours
    std::size_t bucket = 0;
  };
  struct Bin {
    Instant begin{};
    std::uint64_t arrivals = 0;
    std::array<Sums, bucket_count> sums{};

    Bin& operator+=(const Bin& other);
  };

  bool is_scored(const TripKey& trip) const;
  void sample_agency(Instant now);
  void score(const TripKey& key, const Scored& scored, const Network& network);
  void score_stop(const ScheduledTrip& trip, const Scored& scored, std::size_t stop, Instant actual,
                  Bin& bin) const;
  static void score_agency(const Sample* sample, std::size_t stop, const Event& event, Sums& sums);
  static LiveScore summary(const Bin& bin, Seconds span);

  LiveScoreOptions _options;
  std::map<TripKey, Scored> _trips;
  std::deque<Instant> _moments;  ///< of the last samples
  std::deque<Bin> _bins;         ///< of the last day
  Bin _all;
  Instant _now{};
  std::map<std::string, AgencyDisplay> _agency;  ///< by source
  std::optional<Instant> _agency_since;          ///< the first report of predictions
  std::size_t _parts = 1;                        ///< one trip in so many is scored
};

}  // namespace qiv
