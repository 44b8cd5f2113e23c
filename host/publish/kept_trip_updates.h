#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "gtfs-realtime.pb.h"
#include "model/rejections.h"
#include "model/trip_forecast.h"
#include "network/network.h"
#include "publish/check.h"
#include "publish/trip_entity.h"
#include "publish/trip_updates.h"

namespace qiv {

/// Trip updates as checked bytes, feed after feed. Each trip's entity is kept with what its check
/// found, and is made anew only when the trip says something else: what a feed costs goes by the
/// trips that changed. A message is its header's bytes and then those of its entities. Costs least
/// when forecasts come in the order of their keys.
///
/// The feeds are those of the plain way, byte by byte: `trip_updates`, `check_feed`, without the
/// entities that fail, `to_bytes`.
class KeptTripUpdates {
 public:
  explicit KeptTripUpdates(TripUpdateOptions options = {}) : _options(options) {}

  struct Feed {
    std::string bytes;
    std::size_t made = 0;   ///< trips before the check
    std::size_t trips = 0;  ///< in the message
    /// What `trip_updates` withholds, and the trips that fail the check: "fails the check: " and
    /// the rule.
    Rejections withheld;
    std::vector<FeedViolation> header_violations;
  };

  /// The next feed; see `trip_updates` and `check_feed` for the arguments.
  Feed next(std::span<const TripForecast> forecasts, std::shared_ptr<const Network> network,
            Instant time, const FeedCheckOptions& check = {});

 private:
  /// The entity of a trip, and what it was made from.
  struct Kept {
    VehicleId vehicle;
    TripState state = TripState::not_begun;
    SharedList<StopForecast> stops;
    std::vector<StopNews> news;            ///< what is published of `stops`
    Instant since = Instant::max();        ///< it is the same for feeds from here ...
    Instant until = Instant::min();        ///< ... to here
    std::string bytes;                     ///< empty when there is nothing to say
    std::uint64_t timestamp = 0;           ///< in `bytes`
    std::unique_ptr<FeedViolation> fault;  ///< whatever its timestamp
    std::uint64_t feed = 0;                ///< the last one that it was accepted for
  };

  std::vector<FeedViolation> begin(std::shared_ptr<const Network> network, Instant time,
                                   const FeedCheckOptions& check);
  const Kept* take(Kept& kept, const TripForecast& forecast, Instant time, Rejections& withheld);
  static bool is_current(const Kept& kept, const TripForecast& forecast, Instant time);
  static void restamp(Kept& kept, std::uint64_t timestamp);
  bool make(Kept& kept, const TripForecast& forecast, Instant time, Rejections& withheld);
  std::optional<FeedViolation> fault_of(const Kept& kept, const TripKey& trip, Instant time,
                                        const FeedCheckOptions& check) const;

  TripUpdateOptions _options;
  std::shared_ptr<const Network> _network;
  std::map<TripKey, Kept> _kept;
  std::uint64_t _feed = 0;  ///< one more with every feed
  /// The entity that is being made, and no header: one after the other in the same memory.
  transit_realtime::FeedMessage _message;
  std::string _header;  ///< as bytes
};

}  // namespace qiv
