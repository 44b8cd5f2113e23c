// What one shard knows of a trip, another one shows as it does.

#include "engine/followed_trip.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "engine/engine_shard.h"
#include "host/support/straight_line.h"
#include "track/tracker.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;

class FollowedTripTest : public ::testing::Test {
 protected:
  explicit FollowedTripTest(ForecastMode mode = ForecastMode::arrival) : options(in(mode)) {}

  static EngineOptions in(ForecastMode mode) {
    EngineOptions made;
    made.mode = mode;
    return made;
  }

  /// Lets the shard that works take a report, and tells the one that shows of it.
  bool pass(const VehiclePosition& report) {
    std::vector<TrackEvent> events;
    tracker.update(report, events);
    for (const TrackEvent& event : events) {
      worker.apply(event);
      if (std::holds_alternative<TripAssigned>(event)) shower.apply(event);
    }
    return tell();
  }

  bool tell() {
    const auto told = worker.told_of(vehicle, known);
    known = told->from + told->progress.size();
    return shower.follow(vehicle, key, *told);
  }

  void expect_same_at(const std::string& time) {
    const auto one = worker.forecast(vehicle, at(time));
    const auto other = shower.forecast(vehicle, at(time));
    ASSERT_TRUE(one && other);
    EXPECT_EQ(std::tie(one->state, one->basis, one->category, one->trips, one->confidence,
                       one->offset_m, one->position_time),
              std::tie(other->state, other->basis, other->category, other->trips, other->confidence,
                       other->offset_m, other->position_time));
    EXPECT_TRUE(
        std::equal(one->stops.begin(), one->stops.end(), other->stops.begin(), other->stops.end()));
    ASSERT_EQ(one->legs.size(), other->legs.size());
    for (std::size_t i = 0; i < one->legs.size(); ++i) {
      const LegForecast& a = one->legs[i];
      const LegForecast& b = other->legs[i];
      EXPECT_EQ(std::tie(a.observed, a.elapsed, a.travel_time, a.spread_s, a.library_lower),
                std::tie(b.observed, b.elapsed, b.travel_time, b.spread_s, b.library_lower));
    }
  }

  static std::vector<Trajectory> nothing(PatternIndex, const Grid&) { return {}; }

  const VehicleId vehicle{"v"};
  const TripKey key{TripId("out"), testing::monday, Seconds(0)};
  Network network = testing::straight_network();
  LearnedSettings settings;
  EngineOptions options;
  Tracker tracker{network};
  EngineShard worker{network, settings, nothing, options};
  EngineShard shower{network, settings, nothing, options};
  std::size_t known = 0;
};

class FollowedTravelTest : public FollowedTripTest {
 protected:
  FollowedTravelTest() : FollowedTripTest(ForecastMode::travel) {}
};

TEST_F(FollowedTripTest, IsShownTheSameAtEveryMoment) {
  EXPECT_TRUE(pass(fix("v", "out", "08:00:00", 0)));
  expect_same_at("08:00:00");
  expect_same_at("08:09:00");
  EXPECT_TRUE(pass(fix("v", "out", "08:01:00", 500)));
  for (const char* const time : {"08:01:00", "08:01:30", "08:02:30", "08:05:00"}) {
    expect_same_at(time);
  }
  EXPECT_TRUE(pass(fix("v", "out", "08:06:00", 505)));
  EXPECT_EQ(shower.forecast(vehicle, at("08:06:00"))->state, TripState::overdue);
  expect_same_at("08:06:00");
  expect_same_at("08:07:00");
}

TEST_F(FollowedTripTest, KnowsWhichPlacesItHasNotBeenTold) {
  pass(fix("v", "out", "08:00:00", 0));
  pass(fix("v", "out", "08:01:00", 500));
  EngineShard late(network, settings, nothing, options);
  late.apply(TripAssigned{vehicle, key, 0, at("08:00:00"), std::nullopt});
  EXPECT_FALSE(late.follow(vehicle, key, *worker.told_of(vehicle, 1)));
  EXPECT_EQ(late.live(vehicle)->places.size(), 1U);
  EXPECT_TRUE(late.follow(vehicle, key, *worker.told_of(vehicle, 0)));
  EXPECT_EQ(late.live(vehicle)->places.size(), worker.live(vehicle)->places.size());
  EXPECT_FALSE(late.follow(VehicleId("w"), key, *worker.told_of(vehicle, 0))) << "on no trip";
  EXPECT_FALSE(worker.told_of(VehicleId("w"), 0));
}

TEST_F(FollowedTripTest, WhatIsTakenBackIsToldAnew) {
  pass(fix("v", "out", "08:00:00", 0));
  pass(fix("v", "out", "08:01:00", 500));
  pass(fix("v", "out", "08:02:00", 1000));
  Progress cleaned;
  cleaned.vehicle = vehicle;
  cleaned.trip = key;
  cleaned.time = cleaned.received = at("08:02:00");
  cleaned.offset_m = 700.0;
  worker.apply(Corrected{vehicle, key, {cleaned}});
  known = 0;
  EXPECT_TRUE(tell());
  EXPECT_EQ(shower.live(vehicle)->places.size(), 1U);
  expect_same_at("08:02:30");
}

TEST_F(FollowedTravelTest, LegsAreShownTheSame) {
  EXPECT_TRUE(pass(fix("v", "out", "08:00:00", 0)));
  EXPECT_TRUE(pass(fix("v", "out", "08:01:00", 500)));
  EXPECT_TRUE(pass(fix("v", "out", "08:03:00", 1500)));
  ASSERT_FALSE(worker.forecast(vehicle, at("08:03:00"))->legs.empty());
  expect_same_at("08:03:00");
  expect_same_at("08:30:00");
}

TEST_F(FollowedTripTest, ATripIsLearnedWhereItsPatternIsAtWorkOnly) {
  TripRun run{VehicleId("u"), key, network.pattern(network.schedule(key)->pattern()).ref, {}};
  for (int i = 0; i <= 16; ++i) {
    Progress place;
    place.time = place.received = at("07:00:00") + Seconds(30 * i);
    place.offset_m = 250.0 * i;
    run.progress.push_back(place);
  }
  EXPECT_FALSE(worker.learn_at_work(run, at("07:08:00"))) << "its history will have it";
  pass(fix("v", "out", "08:00:00", 0));
  EXPECT_TRUE(worker.learn_at_work(run, at("07:08:00")));
}

}  // namespace
}  // namespace qiv
