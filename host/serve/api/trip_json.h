#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "publish/published_trip.h"
#include "publish/siri_sm.h"
#include "serve/api/json_writer.h"
#include "serve/api/outputs.h"

namespace qiv {

// The JSON of what is on display. openapi.json describes the members. Times are the same as in the
// trip updates.

/// The forecast as outputs show it; nothing for one that cannot be published.
std::optional<PublishedTrip> shown(const TripForecast& forecast, const NetworkIndex& index);

/// NextStop, or null when all have been passed.
void write_next_stop(JsonWriter& json, const PublishedTrip& trip, const NetworkIndex& index);

/// One object: TripSummary.
void write_trip_summary(JsonWriter& json, const PublishedTrip& trip, const Outputs& outputs);

/// One object: Trip.
void write_trip(JsonWriter& json, const PublishedTrip& trip, const Outputs& outputs);

/// Which arrivals at a stop are asked for.
struct ArrivalFilter {
  std::size_t limit = 20;
  std::optional<Seconds> within;
  RouteId route;  ///< empty: all
};

/// The members `stop` and `arrivals` of Arrivals.
void write_arrivals(JsonWriter& json, const Outputs& outputs, std::uint32_t stop,
                    const ArrivalFilter& filter);

/// Reads "TRIP@YYYYMMDD" or "TRIP@YYYYMMDD#HH:MM:SS"; nothing for any other text.
std::optional<TripKey> parse_trip_key(const std::string& text);

}  // namespace qiv
