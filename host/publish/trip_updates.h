#pragma once

#include <optional>
#include <span>
#include <string>

#include "gtfs-realtime.pb.h"
#include "model/rejections.h"
#include "model/trip_forecast.h"
#include "network/network.h"

namespace qiv {

struct TripUpdateOptions {
  /// Stops whose forecast arrival is later than this after the feed's time are NO_DATA. Empty: the
  /// horizon is the end of the trip.
  std::optional<Seconds> horizon;
};

/// A message and what did not get into it.
struct TripUpdateFeed {
  transit_realtime::FeedMessage message;
  Rejections withheld;
};

/// GTFS-realtime TripUpdates, version 2.0, as a full data set: one entity for each trip, in the
/// order of `forecasts`. `time` is that of the header; `network` must be the one behind the
/// forecasts.
///
/// - The entity's id is the trip's key, the same from one message to the next.
/// - The timestamp is the forecast's `position_time`, or `made` where there is none, and never
/// later
///   than the header's.
/// - Each stop has its sequence number and id, the time of arrival and of departure and the delay
///   against the timetable; no arrival at the first stop and no departure from the last. Times
///   never decrease along the trip.
/// - `uncertainty` is half the width of the interval that holds 68 % of the arrivals, in whole
///   seconds, rounded up; at least 1 for a forecast, and 0 for what was observed. The departure has
///   that of the arrival.
/// - A stop that has been passed stays, with its observed time, until its scheduled time: without
///   it a consumer would have to guess that an early vehicle has left.
/// - From the first stop beyond the horizon on there is no data: one NO_DATA, which the standard
///   carries on to the end of the trip.
/// - A canceled trip is CANCELED, without stops; a stop that is skipped is SKIPPED, without times.
/// - A forecast of travel times is counted and left out: the message has no place for them.
/// - A trip with nothing to say (all stops passed, or all beyond the horizon) is left out.
///
/// What cannot be published (see `withheld`) and a second forecast for a trip are counted.
TripUpdateFeed trip_updates(std::span<const TripForecast> forecasts, const Network& network,
                            Instant time, const TripUpdateOptions& options = {});

/// The message as bytes, as feeds serve it. Equal messages give equal bytes.
std::string to_bytes(const transit_realtime::FeedMessage& message);

/// The message in protobuf's text format, for people.
std::string to_text(const transit_realtime::FeedMessage& message);

}  // namespace qiv
