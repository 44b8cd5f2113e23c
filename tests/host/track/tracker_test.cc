#include "track/tracker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;
using testing::monday;
using testing::stated;

/// The events in words, one an element: "progress 1500", "waiting", "ended finished", ...
std::vector<std::string> words(const std::vector<TrackEvent>& events) {
  struct Say {
    std::string operator()(const TripAssigned& e) const { return "assigned " + e.trip.trip.text(); }
    std::string operator()(const Waiting&) const { return "waiting"; }
    std::string operator()(const Progress& e) const {
      const char* const kind = e.evidence == Evidence::arrival     ? "arrival "
                               : e.evidence == Evidence::departure ? "departure "
                                                                   : "progress ";
      return kind + std::to_string(std::lround(e.offset_m));
    }
    std::string operator()(const StillThere&) const { return "still there"; }
    std::string operator()(const Corrected& e) const {
      std::ostringstream text;
      text << "corrected";
      for (const Progress& p : e.cleaned) text << " " << std::lround(p.offset_m);
      return text.str();
    }
    std::string operator()(const TripEnded& e) const {
      const char* const names[] = {"finished", "next trip", "silent", "off route"};
      return std::string("ended ") + names[static_cast<int>(e.reason)];
    }
  };
  std::vector<std::string> said;
  for (const TrackEvent& event : events) said.push_back(std::visit(Say(), event));
  return said;
}

class TrackerTest : public ::testing::Test {
 protected:
  std::vector<std::string> follow(const std::vector<VehiclePosition>& reports) {
    std::vector<TrackEvent> events;
    for (const VehiclePosition& report : reports) tracker.update(report, events);
    return words(events);
  }

  Network network = testing::straight_network();
  Tracker tracker{network};
};

TEST_F(TrackerTest, DepartsWithTheLastReportAtTheFirstStop) {
  std::vector<TrackEvent> events;
  for (const VehiclePosition& report :
       {fix("v", "out", "07:55:00", 3), fix("v", "out", "08:00:30", 8),
        fix("v", "out", "08:01:00", 400), fix("v", "out", "08:02:00", 900)}) {
    tracker.update(report, events);
  }
  EXPECT_THAT(words(events), ::testing::ElementsAre("assigned out", "waiting", "waiting",
                                                    "departure 0", "progress 400", "progress 900"));
  EXPECT_EQ(std::get<Progress>(events[3]).time, at("08:00:30"));
}

TEST_F(TrackerTest, AStandingVehicleSaysNothingNew) {
  EXPECT_THAT(follow({fix("v", "out", "08:00:00", 0), fix("v", "out", "08:05:00", 1500),
                      fix("v", "out", "08:06:00", 1502), fix("v", "out", "08:07:00", 1490),
                      fix("v", "out", "08:08:00", 1700)}),
              ::testing::ElementsAre("assigned out", "waiting", "departure 0", "progress 1500",
                                     "still there", "still there", "progress 1700"));
}

TEST_F(TrackerTest, AJumpWaitsForASecondFixThatAgrees) {
  EXPECT_THAT(
      follow({fix("v", "out", "08:00:00", 0), fix("v", "out", "08:02:00", 500),
              fix("v", "out", "08:02:10", 3000), fix("v", "out", "08:02:20", 600),
              fix("v", "out", "08:02:30", 3000), fix("v", "out", "08:02:40", 3100)}),
      ::testing::ElementsAre("assigned out", "waiting", "departure 0", "progress 500",
                             "still there", "progress 600", "still there", "progress 3100"));
}

TEST_F(TrackerTest, IsNeverLockedOutByAnOvershootThatWentIn) {
  EXPECT_THAT(follow({fix("v", "out", "08:00:00", 0), fix("v", "out", "08:02:00", 500),
                      fix("v", "out", "08:04:00", 2500), fix("v", "out", "08:04:30", 900),
                      fix("v", "out", "08:05:00", 1000), fix("v", "out", "08:05:30", 1100),
                      fix("v", "out", "08:06:00", 1300)}),
              ::testing::ElementsAre("assigned out", "waiting", "departure 0", "progress 500",
                                     "progress 2500", "still there", "still there",
                                     "corrected 0 500 900 1000 1100", "progress 1300"));
}

TEST_F(TrackerTest, AStationLevelFeedGivesArrivalsAndDeparturesOnce) {
  EXPECT_THAT(
      follow({stated("v", "out", "07:59:00", StopStatus::stopped_at, 1, 0),
              stated("v", "out", "08:00:00", StopStatus::in_transit_to, 2, 0),
              stated("v", "out", "08:01:00", StopStatus::in_transit_to, 2, 0),
              stated("v", "out", "08:02:00", StopStatus::stopped_at, 2, 1000),
              stated("v", "out", "08:03:00", StopStatus::in_transit_to, 3, 1000),
              stated("v", "out", "08:09:00", StopStatus::stopped_at, 5, 4000),
              stated("v", "out", "08:10:00", StopStatus::stopped_at, 5, 4000)}),
      ::testing::ElementsAre("assigned out", "waiting", "departure 2", "still there",
                             "arrival 1000", "departure 1002", "arrival 4000", "ended finished"));
}

// The first fix could be on the way out or on the way back: it waits for the second.
TEST_F(TrackerTest, FollowsALoopThroughTheSameStopsTwice) {
  EXPECT_THAT(
      follow({fix("v", "loop1", "10:00:30", 200), fix("v", "loop1", "10:02:00", 1000),
              fix("v", "loop1", "10:04:00", 1990), fix("v", "loop1", "10:06:00", 1000),
              fix("v", "loop1", "10:07:00", 500)}),
      ::testing::ElementsAre("assigned loop1", "still there", "progress 200", "progress 1000",
                             "progress 1990", "progress 3000", "progress 3500"));
}

TEST_F(TrackerTest, AnotherTripEndsTheOneBefore) {
  EXPECT_THAT(follow({fix("v", "out", "08:00:00", 0), fix("v", "out", "08:04:00", 2000),
                      fix("v", "later", "09:00:00", 0), fix("v", "later", "09:01:00", 500)}),
              ::testing::ElementsAre("assigned out", "waiting", "departure 0", "progress 2000",
                                     "ended next trip", "assigned later", "waiting", "departure 0",
                                     "progress 500"));
}

TEST_F(TrackerTest, AVehicleThatCrossesTheRouteOrRunsItTheOtherWayIsNotOnItsTrip) {
  EXPECT_THAT(
      follow({fix("v", "out", "07:02:00", 2000, 80), fix("v", "out", "07:02:10", 2001, 0),
              fix("v", "out", "07:02:20", 2002, -80), fix("w", "later", "11:00:00", 3000),
              fix("w", "later", "11:01:00", 2500), fix("w", "later", "11:02:00", 2000)}),
      ::testing::ElementsAre("assigned out", "still there", "still there", "still there",
                             "assigned later", "still there", "still there", "still there"));
}

TEST_F(TrackerTest, OffTheRouteGivesNoProgress) {
  EXPECT_THAT(
      follow({fix("v", "out", "08:04:00", 2000, 900), fix("v", "out", "08:05:00", 2100, 900)}),
      ::testing::ElementsAre("assigned out"));
  EXPECT_EQ(tracker.rejections().count("off route"), 2U);
  EXPECT_EQ(tracker.vehicles().front().status, VehicleStatus::off_route);
}

TEST_F(TrackerTest, ASilentVehicleLeavesItsTripAndMayComeBack) {
  std::vector<TrackEvent> events;
  tracker.update(fix("v", "out", "08:00:00", 0), events);
  tracker.update(fix("v", "out", "08:02:00", 500), events);
  tracker.advance(at("08:21:59"), events);
  tracker.advance(at("08:22:01"), events);
  tracker.update(fix("v", "out", "08:23:00", 2500), events);
  tracker.update(fix("v", "out", "08:24:00", 2700), events);
  EXPECT_THAT(words(events),
              ::testing::ElementsAre("assigned out", "waiting", "departure 0", "progress 500",
                                     "ended silent", "assigned out", "still there", "progress 2500",
                                     "progress 2700"));
}

TEST_F(TrackerTest, AReleasedVehicleLeavesItsTripOnce) {
  std::vector<TrackEvent> events;
  tracker.update(fix("v", "out", "08:00:00", 0), events);
  tracker.update(fix("v", "out", "08:02:00", 500), events);
  events.clear();
  tracker.release(VehicleId("v"), at("08:02:10"), events);
  tracker.release(VehicleId("v"), at("08:02:10"), events);
  tracker.release(VehicleId("nobody"), at("08:02:10"), events);
  EXPECT_THAT(words(events), ::testing::ElementsAre("ended next trip"));
}

TEST_F(TrackerTest, AVehicleIsForgottenLongAfterItFellSilent) {
  std::vector<TrackEvent> events;
  tracker.update(fix("v", "out", "08:00:00", 0), events);
  tracker.update(fix("w", "later", "09:00:00", 0), events);
  ASSERT_EQ(tracker.vehicles().size(), 2U);
  EXPECT_EQ(tracker.vehicles()[1].trip->trip, TripId("later"));
  tracker.advance(at("09:30:00"), events);
  ASSERT_EQ(tracker.vehicles().size(), 2U);
  EXPECT_EQ(tracker.vehicles()[1].status, VehicleStatus::stale);
  EXPECT_FALSE(tracker.vehicles()[1].trip);
  tracker.advance(at("14:30:00"), events);
  ASSERT_EQ(tracker.vehicles().size(), 1U);
  EXPECT_EQ(tracker.vehicles()[0].vehicle, VehicleId("w"));
}

TEST_F(TrackerTest, TwoVehiclesOnOneTripAreFollowedEachAlone) {
  EXPECT_THAT(
      follow({fix("v", "out", "08:00:00", 0), fix("v", "out", "08:02:00", 500),
              fix("w", "out", "08:02:10", 900), fix("w", "out", "08:02:20", 1000),
              fix("v", "out", "08:03:00", 1000)}),
      ::testing::ElementsAre("assigned out", "waiting", "departure 0", "progress 500",
                             "assigned out", "progress 900", "progress 1000", "progress 1000"));
}

TEST_F(TrackerTest, TheSilentLeaveWhenTheirTimeWasUpHoweverLateItIsNoticed) {
  const auto ends_of = [this](const std::vector<const char*>& calls) {
    tracker = Tracker(network);
    std::vector<TrackEvent> events;
    for (const VehiclePosition& report :
         {fix("late", "out", "08:00:00", 0), fix("early", "later", "08:00:00", 0),
          fix("late", "out", "08:02:00", 500), fix("early", "later", "08:02:00", 500),
          fix("late", "out", "08:03:00", 1000)}) {
      tracker.update(report, events);
    }
    for (const char* const call : calls) tracker.advance(at(call), events);
    std::vector<std::string> ends;
    for (const TrackEvent& event : events) {
      if (const auto* const end = std::get_if<TripEnded>(&event)) {
        ends.push_back(end->run.vehicle.text() + " " + format_utc(end->received));
      }
    }
    return ends;
  };
  const auto at_once = ends_of({"11:00:00"});
  ASSERT_EQ(at_once.size(), 2U);
  EXPECT_EQ(at_once[0].substr(0, 6), "early ");
  EXPECT_EQ(ends_of({"08:22:00", "08:22:01", "08:22:30", "08:23:01", "08:40:00"}), at_once);
}

TEST_F(TrackerTest, CountsWhatItCannotUse) {
  VehiclePosition nameless = fix("", "out", "08:02:00", 500);
  EXPECT_THAT(follow({nameless, fix("v", "", "08:02:00", 500), fix("v", "no such", "08:03:00", 500),
                      fix("v", "out", "08:04:00", 500), fix("v", "out", "08:03:30", 600)}),
              ::testing::ElementsAre("assigned out", "progress 500"));
  EXPECT_EQ(tracker.rejections().count("report without vehicle"), 1U);
  EXPECT_EQ(tracker.rejections().count("no trip"), 1U);
  EXPECT_EQ(tracker.rejections().count("unknown trip"), 1U);
  EXPECT_EQ(tracker.rejections().count("report older than the vehicle's last"), 1U);
}

TEST_F(TrackerTest, InfersTheDayOfServiceAfterMidnight) {
  VehiclePosition report = fix("v", "out", "08:02:00", 500);
  report.start_date.reset();
  std::vector<TrackEvent> events;
  tracker.update(report, events);
  EXPECT_EQ(std::get<TripAssigned>(events.front()).trip.day, monday);
}

}  // namespace
}  // namespace qiv
