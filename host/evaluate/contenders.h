#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "network/network.h"

namespace qiv {

/// Who else predicts, from the same reports and the same histories as the forecast.
enum class Contender : std::uint8_t {
  timetable,        ///< the timetable
  timetable_delay,  ///< the timetable plus the delay at the last report
  historical_mean,  ///< last report plus the mean of all earlier trips of the pattern from there
  category_mean,    ///< the same over the trips of the forecast's own category
  last_vehicle,     ///< last report plus what the trip that finished last took from there
};

inline constexpr std::size_t contender_count = 5;
const char* to_string(Contender contender);

/// What the contenders predict for a trip.
struct ContenderPredictions {
  std::array<std::vector<double>, contender_count> arrivals_s;  ///< at each stop, Unix seconds
  /// False where there are no earlier trips, so that the timetable's times stand in.
  std::array<bool, contender_count> is_own{};
};

/// Arrival at each stop of a trip as each contender predicts it. A prediction is never before the
/// moment that it is made for, except the timetable's, which stands as it is printed.
class Contenders {
 public:
  Contenders(const Network& network, Engine& engine) : _network(network), _engine(engine) {}

  /// Predictions for `trip` at `now`. Valid until the next call.
  const ContenderPredictions& predict(const ScheduledTrip& trip, Instant now);

 private:
  /// Predictions that stand until the trip's next report.
  struct Standing {
    std::size_t reports = 0;
    ContenderPredictions predictions;
  };

  Standing compute(const ScheduledTrip& trip, const LiveTrip& live);
  const Standing& fresh(const ScheduledTrip& trip);

  const Network& _network;
  Engine& _engine;
  std::map<TripKey, Standing> _standing;
  std::map<TripKey, Standing> _fresh;
  ContenderPredictions _predicted;
};

}  // namespace qiv
