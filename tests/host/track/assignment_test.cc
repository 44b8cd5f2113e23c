// How the tracker follows vehicles whose reports name no trip.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/track/two_lines.h"
#include "track/tracker.h"

namespace qiv {
namespace {

using testing::at;
using testing::seen;

TrackOptions assigning() {
  TrackOptions options;
  options.assign_trips = true;
  return options;
}

/// A trip of line 1 from before its departure to its end.
std::vector<VehiclePosition> whole_trip() {
  return {seen("v", "07:57:00", 0),    seen("v", "08:00:20", 5),    seen("v", "08:01:00", 400),
          seen("v", "08:02:00", 900),  seen("v", "08:03:00", 1400), seen("v", "08:04:00", 1900),
          seen("v", "08:05:00", 2400), seen("v", "08:06:00", 2900), seen("v", "08:07:00", 3400)};
}

class AssignmentTest : public ::testing::Test {
 protected:
  void give(Tracker& tracker, const std::vector<VehiclePosition>& reports) {
    for (const VehiclePosition& report : reports) tracker.update(report, events);
  }

  template <class Event>
  std::vector<Event> all() const {
    std::vector<Event> found;
    for (const TrackEvent& event : events) {
      if (const auto* const e = std::get_if<Event>(&event)) found.push_back(*e);
    }
    return found;
  }

  Network network = testing::two_lines();
  std::vector<TrackEvent> events;
};

TEST_F(AssignmentTest, IsOffUnlessSwitchedOn) {
  Tracker tracker(network);
  give(tracker, whole_trip());
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(tracker.vehicles().front().status, VehicleStatus::no_trip);
}

TEST_F(AssignmentTest, GivesWhatTheVehicleDidBeforeItsTripWasKnown) {
  Tracker tracker(network, assigning());
  give(tracker, whole_trip());
  const auto assigned = all<TripAssigned>();
  ASSERT_EQ(assigned.size(), 1U);
  EXPECT_EQ(to_string(assigned[0].trip), "one-0800@20250303");
  ASSERT_TRUE(assigned[0].confidence);
  const auto progress = all<Progress>();
  ASSERT_FALSE(progress.empty());
  EXPECT_EQ(progress.front().evidence, Evidence::departure);
  EXPECT_EQ(progress.front().time, at("08:00:20"));
  EXPECT_EQ(progress.front().received, assigned[0].received);
  EXPECT_NEAR(progress.back().offset_m, 3400.0, 1.0);
  for (std::size_t i = 1; i < progress.size(); ++i) {
    EXPECT_GE(progress[i].received, progress[i - 1].received);
    EXPECT_GE(progress[i].offset_m, progress[i - 1].offset_m);
  }
  const auto said = tracker.vehicle(VehicleId("v"));
  ASSERT_TRUE(said && said->confidence);
  EXPECT_EQ(said->status, VehicleStatus::under_way);
  EXPECT_GE(*said->confidence, 0.8);
}

TEST_F(AssignmentTest, EndsAtTheLastStopAndGoesOnWithTheNextTripOfTheBlock) {
  Tracker tracker(network, assigning());
  give(tracker, whole_trip());
  give(tracker,
       {seen("v", "08:08:00", 3980), seen("v", "08:12:00", 4000), seen("v", "08:20:10", 4000),
        seen("v", "08:21:00", 3500), seen("v", "08:22:00", 3000)});
  const auto ended = all<TripEnded>();
  ASSERT_EQ(ended.size(), 1U);
  EXPECT_EQ(ended[0].reason, TripEnded::Reason::finished);
  const auto said = tracker.vehicle(VehicleId("v"));
  ASSERT_TRUE(said && said->trip);
  EXPECT_EQ(to_string(*said->trip), "back-0820@20250303");
}

TEST_F(AssignmentTest, NothingOfAWrongTripIsBelieved) {
  TrackOptions options = assigning();
  options.assign_confidence = 0.3;
  options.withdraw_confidence = 0.2;
  Tracker tracker(network, options);
  give(tracker, {seen("v", "08:01:00", 600), seen("v", "08:02:00", 1000),
                 seen("v", "08:03:00", 1500), seen("v", "08:04:00", 1900),
                 seen("v", "08:05:00", 2000, 400), seen("v", "08:06:00", 2000, 900),
                 seen("v", "08:07:00", 2000, 1300), seen("v", "08:08:00", 2000, 1600)});
  const auto ended = all<TripEnded>();
  ASSERT_EQ(ended.size(), 1U);
  EXPECT_EQ(to_string(ended[0].run.trip), "one-0800@20250303");
  EXPECT_EQ(ended[0].reason, TripEnded::Reason::withdrawn);
  EXPECT_TRUE(ended[0].run.progress.empty());
  const auto said = tracker.vehicle(VehicleId("v"));
  ASSERT_TRUE(said && said->trip);
  EXPECT_EQ(to_string(*said->trip), "two-0803@20250303");
}

TEST_F(AssignmentTest, ATripThatTheVehicleNamesIsTakenAsItIs) {
  Tracker tracker(network, assigning());
  give(tracker, whole_trip());
  VehiclePosition named = seen("v", "08:07:20", 3500);
  named.trip = TripId("one-0800");
  give(tracker, {named});
  EXPECT_EQ(all<TripAssigned>().size(), 1U);
  EXPECT_FALSE(tracker.vehicle(VehicleId("v"))->confidence);

  named = seen("v", "08:07:40", 3600);
  named.trip = TripId("one-0830");
  give(tracker, {named});
  const auto ended = all<TripEnded>();
  ASSERT_EQ(ended.size(), 1U);
  EXPECT_EQ(ended[0].reason, TripEnded::Reason::next_trip);
  EXPECT_FALSE(ended[0].run.progress.empty());
}

TEST_F(AssignmentTest, DependsOnTheVehiclesOwnReportsAlone) {
  Tracker alone(network, assigning());
  give(alone, whole_trip());
  const auto first = all<Progress>();
  events.clear();
  Tracker both(network, assigning());
  for (VehiclePosition report : whole_trip()) {
    give(both, {report});
    report.vehicle = VehicleId("w");
    give(both, {report});
  }
  std::vector<Progress> of_v;
  for (const Progress& p : all<Progress>()) {
    if (p.vehicle == VehicleId("v")) of_v.push_back(p);
  }
  ASSERT_EQ(of_v.size(), first.size());
  for (std::size_t i = 0; i < first.size(); ++i) EXPECT_EQ(of_v[i].offset_m, first[i].offset_m);
}

}  // namespace
}  // namespace qiv
