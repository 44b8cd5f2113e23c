#include <gmock/gmock.h>

#include <climits>
#include <string>

#include "TestJourney.h"

namespace {

/// What a message did to a journey that held shape `id`: a current one of every kind leaves the
/// vehicle and the identifier, a stale one too, a new one takes up its identifier.
class ShapeVersion : public testing::Test {
 protected:
  /// Makes `journey` hold the shape, with milestones and a vehicle.
  void hold(unsigned long long time, long long id) {
    journey.read_milestones(time, id, {0, 100});
    journey.update("bus", VehicleJourneyRef("T17", ""), 0, journey.get_shapeVersionID(), 0, 50.0,
                   1000, 0.0);
    ASSERT_EQ(held(journey), "shape " + std::to_string(id) + ", 2 milestones, 0 trajectories");
    ASSERT_TRUE(holds(journey, "bus"));
  }

  RecordedLog log;
  TestJourney journey;
};

TEST_F(ShapeVersion, OfANewJourneyIsMinusOne) {
  EXPECT_EQ(journey.get_shapeVersionID(), -1);
}

TEST_F(ShapeVersion, IdentifierZeroAtTimeZeroIsNewToANewJourney) {
  journey.read_history(0, 0, 0, {1, 2});
  EXPECT_EQ(journey.get_shapeVersionID(), 0);
}

TEST_F(ShapeVersion, MinusOneIsCurrentToANewJourney) {
  journey.read_milestones(500, -1, {0, 100});
  EXPECT_EQ(held(journey), "shape -1, 2 milestones, 0 trajectories");
  journey.read_history(0, -1, 0, {1, 2});
  EXPECT_EQ(held(journey), "shape -1, 2 milestones, 1 trajectories");
  journey.read_milestones(0, 3, {0, 100, 200});
  EXPECT_EQ(held(journey), "shape 3, 3 milestones, 0 trajectories") << "the held time stayed 0";
}

TEST_F(ShapeVersion, SameIdentifierIsCurrentAtAnyTime) {
  hold(100, 7);
  for (const unsigned long long time : {0ULL, 99ULL, 100ULL, 101ULL, ULLONG_MAX}) {
    journey.read_milestones(time, 7, {0, 100});
    journey.read_bus_stops(time, 7, {"A", "B"}, {0, 100});
    journey.read_history(time, 7, 0, {1, 2});
    journey.update("other", VehicleJourneyRef(), time, 7, 0, 10.0, 1000, 0.0);
    EXPECT_TRUE(holds(journey, "bus"));
    EXPECT_TRUE(holds(journey, "other"));
  }
  EXPECT_EQ(held(journey), "shape 7, 2 milestones, 5 trajectories");
}

TEST_F(ShapeVersion, CurrentMessageDoesNotMoveTheHeldTime) {
  hold(100, 7);
  journey.read_milestones(500, 7, {0, 100});
  journey.read_milestones(50, 7, {0, 100});
  journey.read_history(99, 8, 0, {1, 2});
  EXPECT_EQ(journey.get_shapeVersionID(), 7) << "99 is before 100: stale";
  journey.read_history(100, 8, 0, {1, 2});
  EXPECT_EQ(journey.get_shapeVersionID(), 8) << "100 is not before 100: new";
}

TEST_F(ShapeVersion, StaleMessageStoresNothing) {
  hold(100, 7);
  journey.read_milestones(99, 8, {0, 200});
  journey.read_bus_stops(99, 8, {"A", "B"}, {0, 50});
  journey.read_history(99, 8, 0, {1, 2});
  EXPECT_EQ(journey.update("bus", VehicleJourneyRef(), 99, 8, 0, 60.0, 2000, 0.0), nullptr);
  EXPECT_EQ(held(journey), "shape 7, 2 milestones, 0 trajectories");
  EXPECT_FALSE(journey.is_served_by("other", 0));
  EXPECT_TRUE(journey.is_served_by("bus", 999)) << "its last time is still 1000";
  journey.read_milestones(100, 9, {0, 200});
  EXPECT_EQ(journey.get_shapeVersionID(), 9) << "the held time was still 100";
}

TEST_F(ShapeVersion, OtherIdentifierAtAnEqualTimeIsNew) {
  hold(100, 7);
  journey.read_milestones(100, 6, {0, 200});
  EXPECT_EQ(held(journey), "shape 6, 2 milestones, 0 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));
  journey.read_milestones(100, 7, {0, 200});
  EXPECT_EQ(journey.get_shapeVersionID(), 7) << "and back again";
}

TEST_F(ShapeVersion, NewMessageStoresItsTime) {
  hold(100, 7);
  journey.read_milestones(200, 8, {0, 200});
  journey.read_milestones(199, 9, {0, 200});
  EXPECT_EQ(journey.get_shapeVersionID(), 8);
}

TEST_F(ShapeVersion, TimesAreComparedWithoutSign) {
  hold(1ULL << 63, 7);
  journey.read_milestones(5, 8, {0, 200});
  EXPECT_EQ(journey.get_shapeVersionID(), 7) << "5 is before 2^63";
  journey.read_milestones(ULLONG_MAX, 8, {0, 200});
  EXPECT_EQ(journey.get_shapeVersionID(), 8);
}

TEST_F(ShapeVersion, IdentifiersOfAllSizesAndSignsAreNames) {
  for (const long long id : {LLONG_MAX, LLONG_MIN, -1LL, 0LL, 1LL << 32, 1LL}) {
    journey.read_milestones(0, id, {0, 100});
    EXPECT_EQ(held(journey), "shape " + std::to_string(id) + ", 2 milestones, 0 trajectories");
  }
}

TEST_F(ShapeVersion, EveryKindOfMessageOpensANewOne) {
  hold(100, 7);
  journey.read_bus_stops(100, 8, {"A", "B"}, {0, 50});
  EXPECT_EQ(held(journey), "shape 8, 0 milestones, 0 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));

  hold(100, 9);
  journey.read_history(100, 10, 0, {1, 2});
  EXPECT_EQ(held(journey), "shape 10, 0 milestones, 1 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));

  hold(100, 11);
  EXPECT_EQ(journey.update("bus", VehicleJourneyRef(), 100, 12, 0, 50.0, 2000, 0.0), nullptr);
  EXPECT_EQ(held(journey), "shape 12, 0 milestones, 0 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));
}

}  // namespace
