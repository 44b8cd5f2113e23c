#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "gtfs-realtime.pb.h"
#include "publish/published_trip.h"
#include "publish/trip_updates.h"

namespace qiv {

/// All that an entity says of one stop.
struct StopNews {
  std::uint32_t stop = 0;
  std::uint32_t stop_sequence = 0;
  bool observed = false;
  bool skipped = false;
  Instant arrival{};
  Instant departure{};
  Seconds uncertainty{0};

  friend bool operator==(const StopNews&, const StopNews&) = default;
};

/// The same of all stops of a trip, given in order.
std::vector<StopNews> news_of(const std::vector<StopForecast>& stops);

/// Writes one trip as `trip_updates` publishes it into `entity`, which must be empty. Nothing when
/// there is nothing to say: all stops passed, or all beyond the horizon.
///
/// Returns until when, as time goes on from `time`, the same forecast gives the same entity but for
/// its timestamp.
std::optional<Instant> write_entity(const PublishedTrip& trip, const Network& network, Instant time,
                                    const TripUpdateOptions& options,
                                    transit_realtime::FeedEntity& entity);

/// The timestamp of the trip's update in a message of `time`.
std::uint64_t entity_timestamp(const TripForecast& forecast, Instant time);

/// Writes the header of a message of `time`.
void write_header(const Network& network, Instant time, transit_realtime::FeedHeader& header);

}  // namespace qiv
