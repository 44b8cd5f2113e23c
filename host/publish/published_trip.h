#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "model/rejections.h"
#include "model/trip_forecast.h"
#include "network/network.h"

namespace qiv {

namespace withheld {
inline constexpr std::string_view unknown_trip = "trip is not in the timetable";
inline constexpr std::string_view not_in_service = "trip does not run on its day";
inline constexpr std::string_view other_stops = "stops are not those of the trip";
inline constexpr std::string_view no_arrivals = "forecast holds travel times, not arrivals";
inline constexpr std::string_view second_forecast = "trip has been published already";
}  // namespace withheld

/// A forecast with its place in the timetable, in the shape in which every output shows it.
struct PublishedTrip {
  const TripForecast& forecast;
  ScheduledTrip schedule;
  std::vector<StopForecast> stops;  ///< those of `forecast`, put in order; none when it has legs
};

/// Nothing, and counted in `withheld` under its reason, for a trip that `network` does not know or
/// does not run on that day, for one whose stops are not those of its plan, and for a forecast of
/// travel times. Nothing, and not counted, for a forecast without stops.
std::optional<PublishedTrip> published_trip(const TripForecast& forecast, const Network& network,
                                            Rejections& withheld);

/// The same, but a forecast of travel times is not withheld if its legs are those of the trip.
std::optional<PublishedTrip> published_trip_or_legs(const TripForecast& forecast,
                                                    const Network& network, Rejections& withheld);

/// The same stops with times that never decrease from arrival to departure and from stop to stop,
/// each bound on its own side of its time: a time that is too early is moved up to the one before.
std::vector<StopForecast> in_order(std::vector<StopForecast> stops);

/// True where the outputs name the start time of a trip: it is one of several repetitions.
bool is_repetition(const TripKey& trip, const Network& network);

}  // namespace qiv
