#include "engine/engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/explain.h"
#include "host/support/straight_line.h"
#include "track/tracker.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;
using testing::monday;

/// A trip of an earlier day that left on time and took `leg_s` from stop to stop.
Trajectory earlier(const Grid& grid, const char* trip, int days_before, int leg_s) {
  Trajectory trajectory;
  trajectory.trip = {TripId(trip), monday - std::chrono::days(days_before), Seconds(0)};
  trajectory.vehicle = VehicleId("earlier");
  trajectory.departed =
      at(trip == std::string("out") ? "08:00:00" : "09:00:00", trajectory.trip.day);
  trajectory.finished = trajectory.departed + std::chrono::hours(1);
  for (const double milestone_m : grid.milestones_m) {
    trajectory.times_s.push_back(static_cast<int>(milestone_m / 1000.0 * leg_s + 0.5));
  }
  return trajectory;
}

class EngineTest : public ::testing::Test {
 protected:
  EngineTest() { settings.fallback.category_depth = 0; }

  Engine make(const std::vector<int>& legs_s) {
    return Engine(network, settings, [this, legs_s](PatternIndex pattern, const Grid& grid) {
      std::vector<Trajectory> trajectories;
      if (network.pattern(pattern).stops.back().stop != 4) return trajectories;
      for (std::size_t i = 0; i < legs_s.size(); ++i) {
        trajectories.push_back(
            earlier(grid, "out", static_cast<int>(legs_s.size() - i), legs_s[i]));
      }
      return trajectories;
    });
  }

  void feed(Engine& engine, const std::vector<VehiclePosition>& reports) {
    for (const VehiclePosition& report : reports) {
      std::vector<TrackEvent> events;
      tracker.update(report, events);
      for (const TrackEvent& event : events) {
        engine.apply(event);
        if (const auto* const end = std::get_if<TripEnded>(&event)) finished.push_back(end->run);
      }
    }
  }

  static TripKey key(const char* trip) { return {TripId(trip), monday, Seconds(0)}; }

  Network network = testing::straight_network();
  LearnedSettings settings;
  Tracker tracker{network};
  std::vector<TripRun> finished;
};

TEST_F(EngineTest, ForecastsTheRemainingStopsFromEarlierTrips) {
  Engine engine = make({90, 110, 100});
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:40", 1000)});
  const auto shown = engine.forecast(key("out"), at("08:01:40"));
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->state, TripState::under_way);
  EXPECT_EQ(shown->basis, ForecastBasis::history);
  EXPECT_EQ(shown->trips, 3U);
  EXPECT_DOUBLE_EQ(shown->confidence, 0.5);
  ASSERT_EQ(shown->stops.size(), 5U);
  EXPECT_TRUE(shown->stops[1].observed);
  EXPECT_EQ(shown->stops[1].arrival.time, at("08:01:40"));
  EXPECT_FALSE(shown->stops[2].observed);
  EXPECT_EQ(shown->stops[2].arrival.time, at("08:03:20"));
  EXPECT_EQ(shown->stops[4].arrival.time, at("08:06:40"));
  EXPECT_LT(shown->stops[4].arrival.lower_68, shown->stops[4].arrival.time);
  EXPECT_LE(shown->stops[4].arrival.lower_90, shown->stops[4].arrival.lower_68);
}

TEST_F(EngineTest, AVehiclesSecondTripIsForecastAsWellAsItsFirst) {
  Engine engine = make({90, 110, 100});
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:40", 1000)});
  const auto first = engine.forecast(key("out"), at("08:01:40"));
  feed(engine, {fix("v", "later", "09:00:00", 0), fix("v", "later", "09:01:40", 1000)});
  const auto second = engine.forecast(key("later"), at("09:01:40"));
  ASSERT_TRUE(first && second);
  for (std::size_t j = 0; j < 5; ++j) {
    EXPECT_EQ(second->stops[j].arrival.time - first->stops[j].arrival.time, std::chrono::hours(1));
    EXPECT_EQ(second->stops[j].spread_s, first->stops[j].spread_s);
  }
}

TEST_F(EngineTest, AnOverdueVehicleMovesAllItsForecasts) {
  Engine engine = make({100, 100});
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:40", 1000),
                fix("v", "out", "08:04:20", 1001)});
  const auto shown = engine.forecast(key("out"), at("08:04:20"));
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->state, TripState::overdue);
  EXPECT_EQ(shown->stops[4].arrival.time - shown->stops[3].arrival.time, Seconds(100));
  EXPECT_GE(shown->stops[2].arrival.time, at("08:04:20") + Seconds(99));
}

TEST_F(EngineTest, ATripThatHasNotBegunIsForecastFromItsDeparture) {
  Engine engine = make({100, 100});
  const auto shown = engine.forecast(key("later"), at("08:30:00"));
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->state, TripState::not_begun);
  EXPECT_TRUE(shown->vehicle.empty());
  EXPECT_EQ(shown->stops[0].arrival.time, at("09:00:00"));
  EXPECT_EQ(shown->stops[4].arrival.time, at("09:06:40"));
  EXPECT_FALSE(engine.forecast(key("later"), at("07:59:00"))) << "announced too early";
  EXPECT_FALSE(engine.forecast(key("later"), at("09:11:00"))) << "a ghost";
}

TEST_F(EngineTest, AWaitingVehicleDepartsByTheTimetableOrLater) {
  Engine engine = make({100, 100});
  feed(engine, {fix("v", "out", "07:50:00", 0)});
  EXPECT_EQ(engine.forecast(key("out"), at("07:50:00"))->stops[4].arrival.time, at("08:06:40"));
  feed(engine, {fix("v", "out", "08:03:00", 1)});
  const auto late = engine.forecast(key("out"), at("08:03:00"));
  EXPECT_EQ(late->state, TripState::waiting);
  EXPECT_EQ(late->stops[4].arrival.time, at("08:09:40"));
}

TEST_F(EngineTest, WithoutHistoryTheTimetableServes) {
  Engine engine = make({});
  feed(engine, {fix("v", "out", "08:03:00", 0), fix("v", "out", "08:05:00", 1000)});
  const auto shown = engine.forecast(key("out"), at("08:05:00"));
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->basis, ForecastBasis::timetable);
  EXPECT_EQ(shown->stops[4].arrival.time, at("08:11:00")) << "the timetable, three minutes late";
}

TEST_F(EngineTest, FinishedTripsAreLearnedFrom) {
  Engine engine = make({100});
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:02:00", 1000),
                fix("v", "out", "08:06:00", 3000), fix("v", "out", "08:08:00", 4000)});
  ASSERT_EQ(finished.size(), 1U);
  EXPECT_FALSE(engine.live(key("out")));
  EXPECT_EQ(engine.forecast(key("later"), at("08:30:00"))->trips, 1U);
  EXPECT_TRUE(engine.learn_from(finished.front(), at("08:08:00")));
  const auto shown = engine.forecast(key("later"), at("08:30:00"));
  EXPECT_EQ(shown->trips, 2U);
  EXPECT_EQ(shown->stops[4].arrival.time, at("09:07:20")) << "mean of 400 s and 480 s";
}

TEST_F(EngineTest, ACorrectionStartsTheTripAnew) {
  Engine engine = make({100, 100});
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:00:50", 500),
                fix("v", "out", "08:02:00", 2500), fix("v", "out", "08:02:10", 1100),
                fix("v", "out", "08:02:20", 1200), fix("v", "out", "08:02:30", 1300)});
  const auto shown = engine.forecast(key("out"), at("08:02:30"));
  ASSERT_TRUE(shown);
  EXPECT_FALSE(shown->stops[2].observed);
  EXPECT_NEAR(static_cast<double>((shown->stops[2].arrival.time - at("08:02:30")).count()), 70, 2);
}

TEST_F(EngineTest, AnExplanationRepeatsTheForecastBitForBit) {
  Engine engine = make({90, 110, 100, 140});
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:45", 1000),
                fix("v", "out", "08:03:40", 2100)});
  EXPECT_FALSE(engine.explain_trip(key("later")));
  const auto why = engine.explain_trip(key("out"));
  ASSERT_TRUE(why);
  ASSERT_EQ(why->trips.size(), 4U);
  double sum = 0.0;
  for (const WeighedTrip& trip : why->trips) sum += trip.weight;
  EXPECT_NEAR(sum, 1.0, 1e-12);
  EXPECT_GE(why->trips.front().weight, why->trips.back().weight);
  EXPECT_EQ(why->trips.back().trip.day, monday - std::chrono::days(1)) << "the slow one";
}

TEST_F(EngineTest, StopsOnOneOffsetAreToldApart) {
  Timetable timetable = testing::straight_timetable();
  timetable.stops[2].place = timetable.stops[3].place = timetable.stops[1].place;
  timetable.stops[4].place = timetable.stops[0].place;
  network = build_network(timetable);
  const JourneyPattern& pattern = network.pattern(network.schedule(key("out"))->pattern());
  ASSERT_EQ(pattern.stops[1].offset_m, pattern.stops[3].offset_m);
  Engine engine = make({});
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:00", 500)});
  const auto shown = engine.forecast(key("out"), at("08:01:00"));
  ASSERT_TRUE(shown);
  EXPECT_TRUE(engine.rejections().empty());
  EXPECT_EQ(shown->stops[1].arrival.time, at("08:02:00"));
  EXPECT_EQ(shown->stops[2].arrival.time, at("08:04:00")) << "two minutes on one spot";
  EXPECT_EQ(shown->stops[3].arrival.time, at("08:06:00"));
  EXPECT_EQ(shown->stops[4].arrival.time, at("08:08:00"));
}

TEST_F(EngineTest, WhatTheLibraryRejectsIsCountedWithItsTextAndTheTripGoesOn) {
  Engine engine = make({100, 100});
  const auto report = [&](const char* time, double offset_m) {
    Progress progress;
    progress.vehicle = VehicleId("v");
    progress.trip = key("out");
    progress.time = progress.received = at(time);
    progress.offset_m = offset_m;
    engine.apply(progress);
  };
  engine.apply(TripAssigned{VehicleId("v"), key("out"), 0, at("08:00:00")});
  report("08:00:00", 0);
  report("08:01:50", 1100);
  report("08:02:00", 200);
  EXPECT_EQ(engine.rejections().total(), 1U);
  EXPECT_FALSE(engine.rejections().entries().begin()->first.empty());
  EXPECT_THAT(engine.rejections().entries().begin()->second.first,
              ::testing::StartsWith("out@20250303 v at 200.000000 m"));
  EXPECT_EQ(engine.forecast(key("out"), at("08:02:00"))->stops[4].arrival.time, at("08:06:40"));
  report("08:03:30", 2000);
  EXPECT_EQ(engine.rejections().total(), 1U);
  EXPECT_EQ(engine.forecast(key("out"), at("08:03:30"))->stops[4].arrival.time, at("08:06:50"));
}

TEST_F(EngineTest, ATripThatHasNotBegunDepartsAfterTheTripBeforeOfItsVehicle) {
  Timetable timetable = testing::straight_timetable();
  timetable.trips[0].block = timetable.trips[1].block = BlockId("b");
  network = build_network(timetable);
  ASSERT_EQ(network.schedule(key("later"))->previous, key("out"));
  Engine engine = make({100, 100});
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:59:00", 1000)});
  const auto before = engine.forecast(key("out"), at("08:59:00"));
  const auto shown = engine.forecast(key("later"), at("08:59:00"));
  ASSERT_TRUE(before && shown);
  EXPECT_EQ(shown->state, TripState::not_begun);
  EXPECT_EQ(before->stops[4].arrival.time, at("09:04:00"));
  EXPECT_EQ(shown->stops[0].arrival.time, at("09:07:00")) << "three minutes to turn around";
  EXPECT_EQ(shown->stops[4].arrival.time, at("09:13:40"));
}

TEST_F(EngineTest, TwoVehiclesOnOneTripAreForecastAloneAndTheFirstIsShown) {
  Engine both = make({90, 110, 100});
  feed(both, {fix("first", "out", "08:00:00", 0), fix("second", "out", "08:00:30", 0),
              fix("first", "out", "08:01:40", 1000), fix("second", "out", "08:03:00", 1000)});
  Engine alone = make({90, 110, 100});
  tracker = Tracker(network);
  feed(alone, {fix("second", "out", "08:00:30", 0), fix("second", "out", "08:03:00", 1000)});
  EXPECT_TRUE(both.leads(VehicleId("first"), key("out")));
  EXPECT_FALSE(both.leads(VehicleId("second"), key("out")));
  EXPECT_EQ(both.forecasts(at("08:03:00")).size(), 2U) << "the trip once, and the one announced";
  EXPECT_EQ(both.forecast(key("out"), at("08:03:00"))->vehicle, VehicleId("first"));
  const auto beside = both.shard(0).forecast(VehicleId("second"), at("08:03:00"));
  const auto expected = alone.forecast(key("out"), at("08:03:00"));
  ASSERT_TRUE(beside && expected);
  EXPECT_EQ(beside->stops[4].arrival.time, expected->stops[4].arrival.time);
  EXPECT_EQ(beside->stops[4].spread_s, expected->stops[4].spread_s);
}

TEST_F(EngineTest, ConfigurationIsCheckedBeforeTheLibrarySeesIt) {
  settings.fallback.bandwidth = 0.0;
  Engine engine = make({100});
  EXPECT_THROW(engine.forecast(key("later"), at("08:30:00")), std::invalid_argument);
}

}  // namespace
}  // namespace qiv
