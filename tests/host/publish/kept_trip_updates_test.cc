#include "publish/kept_trip_updates.h"

#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <memory>

#include "differential/property.h"
#include "host/publish/plain_trip_updates.h"
#include "host/publish/small_network.h"

namespace qiv {
namespace {

using testing::at;
using testing::forecast_of;
using testing::plain_trip_updates;
using testing::small_network;

std::vector<std::pair<std::string, std::string>> texts(const Rejections& rejections) {
  std::vector<std::pair<std::string, std::string>> texts;
  for (const auto& [reason, entry] : rejections.entries()) {
    texts.emplace_back(std::to_string(entry.count) + " " + reason, entry.first);
  }
  return texts;
}

/// True when the two say the same in every byte and count.
bool are_equal(const KeptTripUpdates::Feed& a, const KeptTripUpdates::Feed& b) {
  return a.bytes == b.bytes && a.made == b.made && a.trips == b.trips &&
         texts(a.withheld) == texts(b.withheld) && a.header_violations == b.header_violations;
}

class KeptTripUpdatesTest : public ::testing::Test {
 protected:
  TripForecast first() const {
    return forecast_of(*network, "T1", "08:07:00", {"08:00:10", "08:05:30"},
                       {"08:15:00", "08:26:00"});
  }
  TripForecast second() const {
    return forecast_of(*network, "R", "08:07:00", {},
                       {"10:00:00", "10:05:00", "10:15:00", "10:25:00"});
  }
  void expect_plain(const std::vector<TripForecast>& forecasts, Instant time,
                    const FeedCheckOptions& check = {}) {
    const auto feed = kept.next(forecasts, network, time, check);
    const auto plain = plain_trip_updates(forecasts, *network, time, check);
    EXPECT_EQ(feed.bytes, plain.bytes);
    EXPECT_EQ(feed.trips, plain.trips);
    EXPECT_EQ(feed.made, plain.made);
    EXPECT_EQ(texts(feed.withheld), texts(plain.withheld));
    EXPECT_EQ(feed.header_violations, plain.header_violations);
  }

  std::shared_ptr<const Network> network = std::make_shared<const Network>(small_network());
  KeptTripUpdates kept;
};

TEST_F(KeptTripUpdatesTest, WhatStaysIsGivenAgainUnderTheNewTime) {
  std::vector<TripForecast> forecasts = {first(), second()};
  expect_plain(forecasts, at("08:07:00"));
  expect_plain(forecasts, at("08:07:01"));
  for (TripForecast& forecast : forecasts) forecast.position_time = at("08:07:02");
  expect_plain(forecasts, at("08:07:02"));
}

TEST_F(KeptTripUpdatesTest, APassedStopGoesWhenItsTimeHasCome) {
  const std::vector<TripForecast> forecasts = {first()};
  for (const char* const time : {"08:05:59", "08:06:00", "08:06:01", "08:06:02"}) {
    expect_plain(forecasts, at(time));
  }
  EXPECT_LT(kept.next(forecasts, network, at("08:06:01")).bytes.size(),
            KeptTripUpdates().next(forecasts, network, at("08:06:00")).bytes.size());
}

TEST_F(KeptTripUpdatesTest, ATripThatChangesIsMadeAnew) {
  std::vector<TripForecast> forecasts = {first(), second()};
  expect_plain(forecasts, at("08:07:00"));
  forecasts[0].stops.edit()[3].arrival.time += Seconds(30);
  expect_plain(forecasts, at("08:07:00"));
  forecasts[1].vehicle = VehicleId("V8");
  expect_plain(forecasts, at("08:07:00"));
}

TEST_F(KeptTripUpdatesTest, TripsThatGoAndComeBackAreShownAsTheyAre) {
  expect_plain({first(), second()}, at("08:07:00"));
  expect_plain({second()}, at("08:07:01"));
  expect_plain({}, at("08:07:02"));
  TripForecast later = first();
  later.stops.edit()[2].arrival.time += Seconds(5);
  expect_plain({later, second()}, at("08:07:03"));
}

TEST_F(KeptTripUpdatesTest, WhatFailsIsCountedEveryTime) {
  TripForecast old = first();
  old.position_time = at("04:00:00");
  TripForecast unknown = second();
  unknown.trip.trip = TripId("ghost");
  for (int i = 0; i < 2; ++i) expect_plain({old, unknown, second()}, at("08:07:00"));
  EXPECT_EQ(kept.next(std::vector{old}, network, at("08:07:00")).trips, 0u);
}

TEST_F(KeptTripUpdatesTest, AnUpdateGrowsOldWithoutChanging) {
  const std::vector<TripForecast> forecasts = {first()};
  for (const char* const time : {"09:06:45", "09:06:46"}) expect_plain(forecasts, at(time));
}

TEST_F(KeptTripUpdatesTest, ASecondForecastForATripIsCounted) {
  TripForecast other = first();
  other.stops.edit()[2].arrival.time += Seconds(60);
  for (int i = 0; i < 2; ++i) expect_plain({first(), other, second()}, at("08:07:00"));
}

TEST_F(KeptTripUpdatesTest, TheHeaderIsHeldToItsRules) {
  FeedCheckOptions check;
  check.previous_header = at("08:08:00");
  expect_plain({first()}, at("08:07:00"), check);
}

TEST_F(KeptTripUpdatesTest, AnotherTimetableMakesAllAnew) {
  expect_plain({first()}, at("08:07:00"));
  network = std::make_shared<const Network>(small_network());
  expect_plain({first()}, at("08:07:00"));
}

/// What may happen to a forecast from one feed to the next.
void change(TripForecast& forecast) {
  switch (*rc::gen::inRange(0, 14)) {
    case 0:
      forecast.vehicle = VehicleId(*rc::gen::element<std::string>("", "V", "a longer name"));
      break;
    case 1:
      forecast.trip.trip = TripId(*rc::gen::element<std::string>("T1", "T2", "R", "ghost"));
      break;
    case 2:
      forecast.stops = {};
      break;
    case 3:
      forecast.position_time += Seconds(*rc::gen::inRange(-8000, 600));
      break;
    case 4:
      forecast.made = Instant(Seconds(*rc::gen::inRange(0, 2)));
      forecast.position_time = Instant();
      break;
    case 5:
      forecast.state = *rc::gen::element(TripState::under_way, TripState::canceled);
      break;
    case 6:
    case 7:
      // By a second or two, as the clock does: the entity may say the same.
      for (StopForecast& stop : forecast.stops.edit()) {
        stop.arrival.lower_90 += Seconds(1);
        stop.arrival.lower_68 += Seconds(*rc::gen::inRange(0, 3));
      }
      break;
    default:
      if (forecast.stops.empty()) break;
      StopForecast& stop =
          forecast.stops.edit()[*rc::gen::inRange<std::size_t>(0, forecast.stops.size())];
      stop.observed = *rc::gen::arbitrary<bool>();
      stop.skipped = *rc::gen::inRange(0, 4) == 0;
      stop.arrival.time += Seconds(*rc::gen::inRange(-4000, 4000));
      stop.arrival.upper_68 += Seconds(*rc::gen::inRange(-100, 100));
      stop.departure += Seconds(*rc::gen::inRange(-100, 100));
  }
}

TEST_F(KeptTripUpdatesTest, EveryFeedIsThatOfThePlainWay) {
  differential::check(200, [this] {
    TripUpdateOptions options;
    if (*rc::gen::arbitrary<bool>()) options.horizon = Seconds(*rc::gen::inRange(0, 3600));
    KeptTripUpdates feeds(options);
    std::vector<TripForecast> forecasts = {
        first(),
        forecast_of(*network, "T2", "08:00:00", {},
                    {"25:00:00", "25:05:30", "25:15:00", "25:26:00"}),
        second()};
    Instant time = at("08:00:00");
    for (int feed = 0; feed < 12; ++feed) {
      time += Seconds(*rc::gen::element(0, 1, 60, 600, -30));
      for (TripForecast& forecast : forecasts) {
        if (*rc::gen::inRange(0, 3) == 0) change(forecast);
      }
      FeedCheckOptions check;
      if (*rc::gen::arbitrary<bool>()) check.previous_header = at("08:10:00");
      RC_ASSERT(are_equal(feeds.next(forecasts, network, time, check),
                          plain_trip_updates(forecasts, *network, time, check, options)));
    }
  });
}

}  // namespace
}  // namespace qiv
