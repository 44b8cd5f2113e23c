#include "serve/api/topic_changes.h"

#include <gmock/gmock.h>

#include <functional>

#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::outputs_of;
using testing::sample_snapshot;
using Kind = EventTopic::Kind;

const EventTopic topics[] = {
    {Kind::stop, "A"},
    {Kind::stop, "B"},
    {Kind::stop, "C"},
    {Kind::stop, "D"},
    {Kind::stop, "E"},
    {Kind::stop, "nowhere"},
    {Kind::trip, "?"},
    {Kind::trip, "out@20250303"},
    {Kind::trip, "later@20250303"},
    {Kind::vehicle, "v1"},
    {Kind::vehicle, "v2"},
    {Kind::vehicle, "v9"},
};

std::vector<std::string> touched(const Snapshot& before, const Snapshot& now) {
  const OutputsPtr old = outputs_of(before);
  const OutputsPtr current = outputs_of(now);
  const TopicChanges changes(*old, *current);
  std::vector<std::string> result;
  for (const EventTopic& topic : topics) {
    if (changes.may_touch(topic)) result.push_back(topic.id);
  }
  return result;
}

/// The topics that a change of the sample touches. "out" is the second trip, between B and C.
std::vector<std::string> touched_by(const std::function<void(Snapshot&)>& change) {
  const Snapshot before = sample_snapshot();
  Snapshot now = before;
  change(now);
  return touched(before, now);
}

TEST(TopicChanges, TimeAloneAndEqualCopiesTouchNothing) {
  EXPECT_THAT(touched_by([](Snapshot& now) { now.now += Seconds(60), ++now.serial; }), IsEmpty());
  EXPECT_THAT(touched_by([](Snapshot& now) {
                for (TripForecast& trip : now.trips) trip.stops.edit();
              }),
              IsEmpty());
}

TEST(TopicChanges, ATimeTouchesTheStopsFromThereOn) {
  EXPECT_THAT(
      touched_by([](Snapshot& now) { now.trips[1].stops.edit()[3].arrival.time += Seconds(1); }),
      ElementsAre("D", "E", "out@20250303", "v1"));
}

TEST(TopicChanges, APassedStopIsTouchedOnceMore) {
  EXPECT_THAT(touched_by([](Snapshot& now) { now.trips[1].stops.edit()[2].observed = true; }),
              ElementsAre("C", "D", "E", "out@20250303", "v1"));
  EXPECT_THAT(
      touched_by([](Snapshot& now) { now.trips[1].stops.edit()[0].arrival.time -= Seconds(1); }),
      ElementsAre("C", "D", "E", "out@20250303", "v1"))
      << "stops that were passed before are on no board";
}

TEST(TopicChanges, TheHeadOfATripTouchesAllOfItsStops) {
  EXPECT_THAT(touched_by([](Snapshot& now) { now.trips[0].vehicle = VehicleId("v3"); }),
              ElementsAre("A", "B", "C", "D", "E", "later@20250303"));
}

TEST(TopicChanges, HowSureATripIsTouchesAllOfItsStops) {
  EXPECT_THAT(touched_by([](Snapshot& now) { now.vehicles[0].confidence = 0.9; }),
              ElementsAre("C", "D", "E", "out@20250303", "v1"));
}

TEST(TopicChanges, WhatBoardsDoNotShowTouchesTheTripAlone) {
  EXPECT_THAT(touched_by([](Snapshot& now) { now.trips[1].position_time += Seconds(1); }),
              ElementsAre("out@20250303", "v1"));
}

TEST(TopicChanges, AForecastThatIsMadeAgainAndSaysTheSameTouchesNothing) {
  EXPECT_THAT(touched_by([](Snapshot& now) { now.trips[1].made += Seconds(1); }), ElementsAre());
  Snapshot before = sample_snapshot();
  before.trips[0].vehicle = VehicleId();
  Snapshot now = before;
  now.trips[0].made += Seconds(1);
  now.trips[0].position_time += Seconds(1);
  EXPECT_THAT(touched(before, now), ElementsAre()) << "no vehicle was seen";
}

TEST(TopicChanges, TripsAndVehiclesComeAndGo) {
  EXPECT_THAT(touched_by([](Snapshot& now) { now.trips.pop_back(); }),
              ElementsAre("C", "D", "E", "out@20250303", "v1"));
  EXPECT_THAT(touched_by([](Snapshot& now) { now.vehicles.pop_back(); }), ElementsAre("v2"));
}

TEST(TopicChanges, AVehicleTouchesItselfAlone) {
  EXPECT_THAT(touched_by([](Snapshot& now) { now.vehicles[1].reason = "no trip for 5 min"; }),
              ElementsAre("v2"));
}

TEST(TopicChanges, TimeTakesACanceledTripOntoBoardsAndOff) {
  Snapshot before = sample_snapshot();
  before.trips[0].state = TripState::canceled;
  before.now = at("08:00:59");
  Snapshot now = before;
  now.now = at("08:02:01");
  EXPECT_THAT(touched(before, now), ElementsAre("B")) << "which it would leave at 09:02";
  before.now = at("09:00:30");
  now.now = at("09:01:30");
  EXPECT_THAT(touched(before, now), ElementsAre());
  before.now = at("09:00:00");
  now.now = at("09:00:01");
  EXPECT_THAT(touched(before, now), ElementsAre("A"));
}

TEST(TopicChanges, ANewTimetableTouchesAll) {
  const auto all = touched_by([](Snapshot& now) { now.network = testing::line_network(); });
  EXPECT_EQ(all.size(), std::size(topics));
}

}  // namespace
}  // namespace qiv
