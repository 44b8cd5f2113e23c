#include "publish/published_trip.h"

#include <gmock/gmock.h>

#include "host/publish/small_network.h"

namespace qiv {
namespace {

using testing::at;
using testing::forecast_of;
using testing::small_network;

class PublishedTripTest : public ::testing::Test {
 protected:
  const Network network = small_network();
  TripForecast forecast =
      forecast_of(network, "T1", "08:04:00", {"08:00:10"}, {"08:05:30", "08:15:00", "08:26:00"});
  Rejections withheld;
};

TEST_F(PublishedTripTest, HasItsPlaceInTheTimetable) {
  const auto trip = published_trip(forecast, network, withheld);
  ASSERT_TRUE(trip);
  EXPECT_EQ(trip->schedule.arrival(1), at("08:05:00"));
  EXPECT_EQ(trip->stops.size(), 4U);
  EXPECT_TRUE(withheld.empty());
}

TEST_F(PublishedTripTest, UnknownTripIsCountedAndQuoted) {
  forecast.trip.trip = TripId("T99");
  EXPECT_FALSE(published_trip(forecast, network, withheld));
  EXPECT_EQ(withheld.count(withheld::unknown_trip), 1U);
  EXPECT_EQ(withheld.entries().begin()->second.first, "T99@20251001");
}

TEST_F(PublishedTripTest, TripOutOfServiceIsWithheld) {
  forecast.trip.day = testing::first_of_october + std::chrono::days(3);  // Saturday
  EXPECT_FALSE(published_trip(forecast, network, withheld));
  EXPECT_EQ(withheld.count(withheld::not_in_service), 1U);
}

TEST_F(PublishedTripTest, MissingAndForeignStopsAreWithheld) {
  TripForecast shorter = forecast;
  shorter.stops.edit().pop_back();
  EXPECT_FALSE(published_trip(shorter, network, withheld));
  TripForecast foreign = forecast;
  foreign.stops.edit()[2].stop = 0;
  EXPECT_FALSE(published_trip(foreign, network, withheld));
  TripForecast renumbered = forecast;
  renumbered.stops.edit()[2].stop_sequence = 3;
  EXPECT_FALSE(published_trip(renumbered, network, withheld));
  EXPECT_EQ(withheld.count(withheld::other_stops), 3U);
}

TEST_F(PublishedTripTest, LegsMustBeThoseOfTheTripToo) {
  const TripForecast legs = testing::legs_of(network, "T1", "08:04:00", 0, {300, 600, 600});
  const auto trip = published_trip_or_legs(legs, network, withheld);
  ASSERT_TRUE(trip);
  EXPECT_TRUE(trip->stops.empty());
  TripForecast shorter = legs;
  shorter.legs.pop_back();
  EXPECT_FALSE(published_trip_or_legs(shorter, network, withheld));
  TripForecast foreign = legs;
  foreign.legs[1].to = 0;
  EXPECT_FALSE(published_trip_or_legs(foreign, network, withheld));
  TripForecast renumbered = legs;
  renumbered.legs[1].from_sequence = 3;
  EXPECT_FALSE(published_trip_or_legs(renumbered, network, withheld));
  EXPECT_EQ(withheld.count(withheld::other_stops), 3U);
  EXPECT_FALSE(published_trip(legs, network, withheld)) << "an output of arrivals";
  EXPECT_EQ(withheld.count(withheld::no_arrivals), 1U);
}

TEST_F(PublishedTripTest, NothingForecastIsNoFault) {
  forecast.stops = {};
  EXPECT_FALSE(published_trip(forecast, network, withheld));
  EXPECT_TRUE(withheld.empty());
}

TEST_F(PublishedTripTest, StartTimeBelongsToRepetitions) {
  EXPECT_FALSE(is_repetition({TripId("T1"), testing::first_of_october, Seconds(0)}, network));
  EXPECT_TRUE(is_repetition({TripId("R"), testing::first_of_october, Seconds(36000)}, network));
}

TEST_F(PublishedTripTest, TimesInOrderStayAsTheyAre) {
  const auto stops = in_order(forecast.stops);
  for (std::size_t i = 0; i < stops.size(); ++i) {
    EXPECT_EQ(stops[i].arrival.time, forecast.stops[i].arrival.time);
    EXPECT_EQ(stops[i].arrival.lower_90, forecast.stops[i].arrival.lower_90);
    EXPECT_EQ(stops[i].departure, forecast.stops[i].departure);
  }
}

TEST_F(PublishedTripTest, EarlyTimeIsMovedBehindTheDepartureBefore) {
  forecast.stops.edit()[1].departure =
      at("08:16:30");  // later than Park's arrival and its upper bound
  const auto stops = in_order(forecast.stops);
  EXPECT_EQ(stops[2].arrival.time, at("08:16:30"));
  EXPECT_EQ(stops[2].arrival.upper_68, at("08:16:30"));
  EXPECT_EQ(stops[2].arrival.upper_90, at("08:17:00"));
  EXPECT_EQ(stops[2].arrival.lower_68, at("08:14:00"));
  EXPECT_EQ(stops[2].departure, at("08:16:30"));
  EXPECT_EQ(stops[3].arrival.time, at("08:26:00"));
}

TEST_F(PublishedTripTest, CrossedBoundsAreUncrossed) {
  forecast.stops.edit()[2].arrival.lower_68 = at("08:18:00");
  forecast.stops.edit()[2].arrival.upper_90 = at("08:14:00");
  const auto stops = in_order(forecast.stops);
  EXPECT_EQ(stops[2].arrival.lower_68, at("08:15:00"));
  EXPECT_EQ(stops[2].arrival.upper_90, at("08:16:00"));
}

}  // namespace
}  // namespace qiv
