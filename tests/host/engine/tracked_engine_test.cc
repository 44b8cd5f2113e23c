#include "engine/tracked_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::fix;
using testing::monday;

class TrackedEngineTest : public ::testing::Test {
 protected:
  TrackedEngine make() {
    return {network, settings, [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); }};
  }

  /// Drives one vehicle over the whole line.
  static void drive(TrackedEngine& tracked, const char* trip, int hour) {
    const Instant start = at("00:00:00") + std::chrono::hours(hour);
    for (int report = 0; report <= 16; ++report) {
      VehiclePosition position = fix("v", trip, "00:00:00", 250.0 * report);
      position.time = position.received = start + Seconds(30 * report);
      tracked.take(position);
    }
  }

  Network network = testing::straight_network();
  LearnedSettings settings;
  TripKey out{TripId("out"), monday, Seconds(0)};
  TripKey later{TripId("later"), monday, Seconds(0)};
};

TEST_F(TrackedEngineTest, TellsEventsThenForecastsThenFinishedTrips) {
  TrackedEngine tracked = make();
  std::vector<std::string> told;
  tracked.observe({[&](const TrackEvent& event) {
                     if (std::holds_alternative<TripAssigned>(event)) told.push_back("assigned");
                     if (std::holds_alternative<TripEnded>(event)) told.push_back("ended");
                   },
                   [&](const Progress& progress, const TripForecast& shown) {
                     EXPECT_EQ(shown.trip, progress.trip);
                     if (told.back() != "report") told.push_back("report");
                   },
                   [&](const TripRun& run, Instant now) {
                     EXPECT_EQ(run.trip, out);
                     EXPECT_EQ(now, at("08:08:00"));
                     told.push_back("finished");
                   }});
  drive(tracked, "out", 8);
  EXPECT_THAT(told, ElementsAre("assigned", "report", "ended", "finished"));
}

TEST_F(TrackedEngineTest, FinishedTripsJoinTheHistoriesAtOnce) {
  TrackedEngine tracked = make();
  ASSERT_TRUE(tracked.engine().forecast(later, at("08:30:00")));
  EXPECT_EQ(tracked.engine().forecast(later, at("08:30:00"))->basis, ForecastBasis::timetable);
  drive(tracked, "out", 8);
  EXPECT_EQ(tracked.engine().forecast(later, at("08:30:00"))->basis, ForecastBasis::history);
}

TEST_F(TrackedEngineTest, TheSilentLeaveTheirTripsWhenTimePasses) {
  TrackedEngine tracked = make();
  std::vector<Instant> ended;
  tracked.observe({{}, {}, [&](const TripRun&, Instant now) { ended.push_back(now); }});
  tracked.take(fix("v", "out", "08:00:00", 0));
  tracked.take(fix("v", "out", "08:01:00", 500));
  tracked.advance(at("08:02:00"));
  EXPECT_TRUE(ended.empty());
  tracked.advance(at("11:00:00"));
  EXPECT_THAT(ended, ElementsAre(at("08:21:01"))) << "when its time was up";
}

TEST_F(TrackedEngineTest, ASecondIsOneMoment) {
  TrackedEngine tracked = make();
  for (const char* const vehicle : {"v", "w"}) {
    const char* const trip = vehicle == std::string("v") ? "out" : "later";
    for (int report = 0; report < 16; ++report) {
      VehiclePosition position = fix(vehicle, trip, "00:00:00", 250.0 * report);
      position.time = at("08:00:00") + Seconds(30 * report);
      position.received = at("08:08:00");
      tracked.take(position);
    }
  }
  std::vector<VehiclePosition> together = {fix("v", "out", "08:08:00", 4000),
                                           fix("w", "later", "08:08:00", 4000)};
  std::vector<std::string> told;
  tracked.observe({[&](const TrackEvent& event) {
                     if (std::holds_alternative<TripEnded>(event)) told.push_back("ended");
                   },
                   {},
                   [&](const TripRun& run, Instant) { told.push_back(run.trip.trip.text()); }});
  tracked.take(together);
  EXPECT_THAT(told, ElementsAre("ended", "ended", "later", "out"))
      << "both trips end before either is learned from, in the order of their names";
}

TEST_F(TrackedEngineTest, OfTwoVehiclesOnATripTheSecondIsSaidToBeSecond) {
  TrackedEngine tracked = make();
  tracked.take(fix("z first", "out", "08:00:00", 0));
  tracked.take(fix("a second", "out", "08:01:00", 0));
  const auto said = tracked.vehicles();
  ASSERT_EQ(said.size(), 2U);
  EXPECT_EQ(said[0].status, VehicleStatus::doubled);
  EXPECT_FALSE(said[0].trip);
  EXPECT_EQ(said[1].status, VehicleStatus::waiting);
  EXPECT_EQ(said[1].trip, out);
}

TEST_F(TrackedEngineTest, FinishEndsEveryTrip) {
  TrackedEngine tracked = make();
  std::vector<TripKey> ended;
  tracked.observe({{}, {}, [&](const TripRun& run, Instant) { ended.push_back(run.trip); }});
  tracked.take(fix("v", "out", "08:00:00", 0));
  tracked.take(fix("v", "out", "08:01:00", 500));
  tracked.finish(at("08:02:00"));
  EXPECT_THAT(ended, ElementsAre(out));
}

}  // namespace
}  // namespace qiv
