#include "track/trip_guess.h"

#include <gtest/gtest.h>

#include "host/track/two_lines.h"

namespace qiv {
namespace {

using testing::at;
using testing::seen;

class TripGuessTest : public ::testing::Test {
 protected:
  /// The trip after the reports, or "".
  std::string guess_after(const std::vector<VehiclePosition>& reports) {
    for (const VehiclePosition& report : reports) guess.take(finder, report);
    return guess.assignment() ? guess.assignment()->trip.key.trip.text() : "";
  }

  Network network = testing::two_lines();
  TrackOptions options;
  TripFinder finder{network, options};
  TripGuess guess;
};

TEST_F(TripGuessTest, OneReportIsNotEnough) {
  EXPECT_EQ(guess_after({seen("v", "08:04:30", 2200)}), "");
}

TEST_F(TripGuessTest, AWayAlongThePathInTimeIs) {
  EXPECT_EQ(guess_after({seen("v", "08:04:30", 2200), seen("v", "08:05:30", 2700),
                         seen("v", "08:06:30", 3200), seen("v", "08:07:30", 3700)}),
            "one-0800");
  EXPECT_GE(guess.assignment()->confidence, options.assign_confidence);
  EXPECT_LE(guess.assignment()->confidence, 1.0);
  ASSERT_FALSE(guess.course().empty());
  EXPECT_EQ(guess.course().front().time, at("08:04:30"));
  EXPECT_LT(guess.course().back().time, at("08:07:30"));
}

TEST_F(TripGuessTest, StaysOpenOnTheStreetThatTwoLinesShare) {
  EXPECT_EQ(guess_after({seen("v", "08:02:00", 300), seen("v", "08:03:00", 800),
                         seen("v", "08:04:00", 1300), seen("v", "08:05:00", 1800)}),
            "");
  EXPECT_EQ(guess_after({seen("v", "08:07:00", 2000, 400), seen("v", "08:08:00", 2000, 900),
                         seen("v", "08:09:00", 2000, 1400), seen("v", "08:09:30", 2000, 1700)}),
            "two-0803");
}

TEST_F(TripGuessTest, AStatedRouteDecidesThere) {
  std::vector<VehiclePosition> reports = {seen("v", "08:02:00", 300), seen("v", "08:03:00", 800),
                                          seen("v", "08:04:00", 1300), seen("v", "08:05:00", 1800)};
  for (VehiclePosition& report : reports) report.route = RouteId("2");
  EXPECT_EQ(guess_after(reports), "two-0803");
}

TEST_F(TripGuessTest, DirectionIsThatOfTravel) {
  EXPECT_EQ(guess_after({seen("v", "08:21:00", 3600), seen("v", "08:22:00", 3000),
                         seen("v", "08:23:00", 2500), seen("v", "08:24:00", 2000),
                         seen("v", "08:25:00", 1500)}),
            "back-0820");
}

TEST_F(TripGuessTest, AVehicleBesideAllPathsHasNone) {
  EXPECT_EQ(guess_after({seen("v", "08:02:00", 300, 600), seen("v", "08:03:00", 800, 600),
                         seen("v", "08:04:00", 1300, 600), seen("v", "08:05:00", 1700, 600)}),
            "");
}

TEST_F(TripGuessTest, AVehicleThatOnlyStandsHasNone) {
  std::vector<VehiclePosition> reports;
  for (int minute = 10; minute < 40; ++minute) {
    reports.push_back(seen("v", "08:" + std::to_string(minute) + ":00", 2500));
  }
  EXPECT_EQ(guess_after(reports), "");
}

TEST_F(TripGuessTest, TheNextTripOfTheBlockIsExpectedAtItsFirstStop) {
  guess.ended(*network.schedule({TripId("one-0800"), testing::monday, Seconds(0)}), true);
  EXPECT_EQ(guess_after({seen("v", "08:12:00", 4000), seen("v", "08:19:00", 4000)}), "back-0820");
}

TEST_F(TripGuessTest, IsTakenBackWhenAnotherTripExplainsAll) {
  options.assign_confidence = 0.3;  // so that the shared street is enough
  options.withdraw_confidence = 0.2;
  const std::string first = guess_after({seen("v", "08:01:00", 600), seen("v", "08:02:00", 1000),
                                         seen("v", "08:03:00", 1500), seen("v", "08:04:00", 1900)});
  EXPECT_EQ(first, "one-0800");
  bool contradicted = false;
  for (const VehiclePosition& report :
       {seen("v", "08:05:00", 2000, 400), seen("v", "08:06:00", 2000, 900),
        seen("v", "08:07:00", 2000, 1300), seen("v", "08:08:00", 2000, 1600)}) {
    guess.take(finder, report);
    contradicted = contradicted || guess.contradicted();
  }
  EXPECT_TRUE(contradicted);
  EXPECT_EQ(guess.assignment()->trip.key.trip.text(), "two-0803");
}

TEST_F(TripGuessTest, AReportWithoutPlaceChangesNothing) {
  guess_after({seen("v", "08:04:30", 2200), seen("v", "08:05:30", 2700),
               seen("v", "08:06:30", 3200), seen("v", "08:07:00", 3500)});
  VehiclePosition nowhere = seen("v", "08:08:00", 0);
  nowhere.place.reset();
  EXPECT_EQ(guess_after({nowhere}), "one-0800");
}

TEST_F(TripGuessTest, TheCourseIsBounded) {
  std::vector<VehiclePosition> reports;
  for (int i = 0; i < 300; ++i) {
    VehiclePosition report = seen("v", "08:00:00", 2050.0 + 6.0 * i);
    report.time += Seconds(250 + i);
    reports.push_back(report);
  }
  EXPECT_EQ(guess_after(reports), "one-0800");
  EXPECT_LE(guess.course().size(), 32U);
  EXPECT_EQ(guess.course().front().time, reports.front().time);
}

}  // namespace
}  // namespace qiv
