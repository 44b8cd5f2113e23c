#include "BusRoute.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "RouteOnJourney.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

const double nan_offset = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

static_assert(!std::is_default_constructible<BusRoute>::value &&
                  !std::is_copy_assignable<BusRoute>::value,
              "a route stays with its journey");
static_assert(!std::is_polymorphic<BusRoute>::value, "a route has no virtual operations");
static_assert(
    std::is_same<decltype(std::declval<const BusRoute&>().get_nb_milestones()), unsigned>::value &&
        std::is_same<decltype(std::declval<const BusRoute&>().get_nb_bus_stops()),
                     unsigned>::value &&
        std::is_same<decltype(std::declval<const BusRoute&>().get_stopID(0)),
                     const std::string&>::value,
    "counts are unsigned, identifiers are handed out by reference");

TEST(BusStopLocation, IsAtZeroWithoutAnIdentifierByDefault) {
  const BusStopLocation stop;
  EXPECT_EQ(stop.offset, 0.0);
  EXPECT_EQ(stop.stopID, "");
}

TEST(BusStopLocation, IsCopiedAndAssigned) {
  BusStopLocation stop;
  stop.offset = 12.5;
  stop.stopID = "A";
  BusStopLocation copy(stop);
  EXPECT_EQ(copy.offset, 12.5);
  EXPECT_EQ(copy.stopID, "A");
  copy = BusStopLocation();
  EXPECT_EQ(copy.offset, 0.0);
  EXPECT_EQ(copy.stopID, "");
  EXPECT_EQ(stop.stopID, "A");
}

class BusRouteTest : public ::testing::Test {
 protected:
  /// The stops as pairs of identifier and offset.
  std::vector<std::pair<std::string, double>> stops() const {
    std::vector<std::pair<std::string, double>> result;
    for (unsigned int i = 0; i < route.get_nb_bus_stops(); ++i) {
      result.emplace_back(route.get_stopID(i), route.get_offset(i));
    }
    return result;
  }

  RouteOnJourney owner;
  BusRoute& route = owner.route;
};

TEST_F(BusRouteTest, IsEmptyAtFirst) {
  EXPECT_EQ(route.get_nb_milestones(), 0u);
  EXPECT_EQ(route.get_nb_bus_stops(), 0u);
  EXPECT_FALSE(route.milestones_is_initialized());
  EXPECT_FALSE(route.bus_stops_is_initialized());
  EXPECT_FALSE(route.is_initialized());
}

TEST_F(BusRouteTest, ReadsMilestonesInTheirOrder) {
  route.read_milestones({0.0, 100.0, 250.0});
  EXPECT_EQ(route.get_nb_milestones(), 3u);
  EXPECT_EQ(route.last_milestone_offset(), 250.0);
  EXPECT_TRUE(route.identical_milestones({0.0, 100.0, 250.0}));
}

TEST_F(BusRouteTest, ReadingNoMilestonesLeavesNone) {
  route.read_milestones({0.0, 100.0});
  route.read_milestones({});
  EXPECT_EQ(route.get_nb_milestones(), 0u);
  EXPECT_FALSE(route.milestones_is_initialized());
  EXPECT_FALSE(route.bus_stops_is_initialized());
  EXPECT_FALSE(route.is_initialized());
}

TEST_F(BusRouteTest, ReadingMilestonesAgainKeepsTheSecondListAndTheStops) {
  route.read_bus_stops({10.0, 20.0}, {"A", "B"});
  route.read_milestones({0.0, 100.0, 250.0});
  route.read_milestones({5.0, 30.0});
  EXPECT_TRUE(route.identical_milestones({5.0, 30.0}));
  EXPECT_EQ(route.get_nb_milestones(), 2u);
  EXPECT_THAT(stops(), ElementsAre(Pair("A", 10.0), Pair("B", 20.0)));
}

TEST_F(BusRouteTest, KeepsMilestonesAsTheyAreGiven) {
  route.read_milestones({300.0, -1.0, infinity, -1.0});
  EXPECT_TRUE(route.identical_milestones({300.0, -1.0, infinity, -1.0}));
  EXPECT_EQ(route.last_milestone_offset(), -1.0);
}

TEST_F(BusRouteTest, ReadsBusStopsInTheirOrder) {
  route.read_bus_stops({10.0, 20.0, 15.0}, {"A", "B", "A"});
  EXPECT_THAT(stops(), ElementsAre(Pair("A", 10.0), Pair("B", 20.0), Pair("A", 15.0)));
  EXPECT_EQ(route.get_nb_bus_stops(), 3u);
  EXPECT_EQ(route.last_bus_stop_offset(), 15.0);
}

TEST_F(BusRouteTest, IgnoresSurplusIdentifiers) {
  route.read_bus_stops({10.0, 20.0}, {"A", "B", "C"});
  EXPECT_THAT(stops(), ElementsAre(Pair("A", 10.0), Pair("B", 20.0)));
}

TEST_F(BusRouteTest, ReadingBusStopsAgainKeepsTheSecondListAndTheMilestones) {
  route.read_milestones({0.0, 100.0, 250.0});
  route.read_bus_stops({10.0, 20.0, 30.0}, {"A", "B", "C"});
  route.read_bus_stops({40.0}, {"D"});
  EXPECT_THAT(stops(), ElementsAre(Pair("D", 40.0)));
  EXPECT_TRUE(route.identical_milestones({0.0, 100.0, 250.0}));
  route.read_bus_stops({}, {"D"});
  EXPECT_THAT(stops(), IsEmpty());
}

TEST_F(BusRouteTest, AsksTheMilestonesWhetherBusStopsAreInitialized) {
  route.read_milestones({0.0, 100.0, 250.0});
  EXPECT_EQ(route.get_nb_bus_stops(), 0u);
  EXPECT_TRUE(route.bus_stops_is_initialized());
  EXPECT_TRUE(route.milestones_is_initialized());
  EXPECT_TRUE(route.is_initialized());
}

TEST_F(BusRouteTest, BusStopsAloneInitializeNothing) {
  route.read_bus_stops({10.0, 20.0}, {"A", "B"});
  EXPECT_FALSE(route.bus_stops_is_initialized());
  EXPECT_FALSE(route.milestones_is_initialized());
  EXPECT_FALSE(route.is_initialized());
}

TEST_F(BusRouteTest, CombinedListGivesMilestonesAndFlaggedStops) {
  route.read({0.0, 50.0, 120.0}, {true, false, true}, {"S1", "X", "S3"});
  EXPECT_TRUE(route.identical_milestones({0.0, 50.0, 120.0}));
  EXPECT_THAT(stops(), ElementsAre(Pair("S1", 0.0), Pair("S3", 120.0)));
}

TEST_F(BusRouteTest, CombinedListReplacesBothLists) {
  route.read_milestones({0.0, 100.0, 250.0});
  route.read_bus_stops({10.0, 20.0, 30.0}, {"A", "B", "C"});
  route.read({1.0, 2.0}, {false, true}, {"D", "E"});
  EXPECT_TRUE(route.identical_milestones({1.0, 2.0}));
  EXPECT_THAT(stops(), ElementsAre(Pair("E", 2.0)));
  route.read({}, {}, {});
  EXPECT_EQ(route.get_nb_milestones(), 0u);
  EXPECT_THAT(stops(), IsEmpty());
}

TEST_F(BusRouteTest, RemovingMilestonesLeavesTheStops) {
  route.read({0.0, 50.0}, {true, true}, {"A", "B"});
  route.remove_milestones();
  EXPECT_EQ(route.get_nb_milestones(), 0u);
  EXPECT_FALSE(route.milestones_is_initialized());
  EXPECT_THAT(stops(), ElementsAre(Pair("A", 0.0), Pair("B", 50.0)));
}

TEST_F(BusRouteTest, RemovingBusStopsLeavesTheMilestones) {
  route.read({0.0, 50.0}, {true, true}, {"A", "B"});
  route.remove_bus_stops();
  EXPECT_EQ(route.get_nb_bus_stops(), 0u);
  EXPECT_TRUE(route.identical_milestones({0.0, 50.0}));
}

TEST_F(BusRouteTest, AnEmptiedRouteIsLikeANewOne) {
  route.read({0.0, 50.0}, {true, true}, {"A", "B"});
  route.remove_milestones();
  route.remove_bus_stops();
  route.remove_milestones();
  EXPECT_TRUE(route.identical_milestones({}));
  EXPECT_EQ(route.last_bus_stop_offset(), -infinity);
  route.read_milestones({7.0, 9.0});
  EXPECT_TRUE(route.identical_milestones({7.0, 9.0}));
}

TEST_F(BusRouteTest, WithoutBusStopsTheLastOneIsBeforeEverything) {
  EXPECT_EQ(route.last_bus_stop_offset(), -infinity);
  route.read_milestones({0.0, 100.0});
  EXPECT_EQ(route.last_bus_stop_offset(), -infinity);
}

TEST_F(BusRouteTest, TwoEmptyListsAreIdentical) {
  EXPECT_TRUE(route.identical_milestones({}));
  EXPECT_FALSE(route.identical_milestones({0.0}));
}

TEST_F(BusRouteTest, ListsOfOtherLengthOrOrderAreNotIdentical) {
  route.read_milestones({0.0, 100.0, 250.0});
  EXPECT_FALSE(route.identical_milestones({0.0, 250.0, 100.0}));
  EXPECT_FALSE(route.identical_milestones({0.0, 100.0}));
  EXPECT_FALSE(route.identical_milestones({0.0, 100.0, 250.0, 300.0}));
  EXPECT_FALSE(route.identical_milestones({}));
}

TEST_F(BusRouteTest, ListsAreComparedWithoutTolerance) {
  route.read_milestones({0.0, 0.3});
  EXPECT_FALSE(route.identical_milestones({0.0, 0.1 + 0.2}));
  EXPECT_FALSE(route.identical_milestones({std::numeric_limits<double>::denorm_min(), 0.3}));
  EXPECT_TRUE(route.identical_milestones({-0.0, 0.3}));
}

TEST_F(BusRouteTest, NotANumberIsIdenticalToNothing) {
  route.read_milestones({0.0, nan_offset});
  EXPECT_FALSE(route.identical_milestones({0.0, nan_offset}));
  EXPECT_FALSE(route.identical_milestones({0.0, 1.0}));
  route.read_milestones({0.0, 1.0});
  EXPECT_FALSE(route.identical_milestones({0.0, nan_offset}));
}

TEST_F(BusRouteTest, IsCompatibleWithAsManyMilestones) {
  EXPECT_TRUE(route.is_compatible(0));
  EXPECT_FALSE(route.is_compatible(1));
  route.read_milestones({0.0, 100.0, 250.0});
  EXPECT_TRUE(route.is_compatible(3));
  EXPECT_FALSE(route.is_compatible(2));
  EXPECT_FALSE(route.is_compatible(0));
}

TEST_F(BusRouteTest, MilestonesAreConsistentThatReachTheLastStop) {
  EXPECT_TRUE(route.is_consistent_with_milestones({0.0, 100.0}));
  EXPECT_TRUE(route.is_consistent_with_milestones({}));
  route.read_bus_stops({10.0, 90.0}, {"A", "B"});
  EXPECT_TRUE(route.is_consistent_with_milestones({0.0, 90.0}));
  EXPECT_TRUE(route.is_consistent_with_milestones({0.0, 100.0}));
  EXPECT_FALSE(route.is_consistent_with_milestones({0.0, 89.9}));
  EXPECT_FALSE(route.is_consistent_with_milestones({100.0, 89.9}));
}

TEST_F(BusRouteTest, StopsAreConsistentThatEndByTheLastMilestone) {
  EXPECT_TRUE(route.is_consistent_with_bus_stops({10.0, 1e300}));
  route.read_milestones({0.0, 100.0});
  EXPECT_TRUE(route.is_consistent_with_bus_stops({10.0, 100.0}));
  EXPECT_TRUE(route.is_consistent_with_bus_stops({200.0, 100.0}));
  EXPECT_FALSE(route.is_consistent_with_bus_stops({10.0, 100.1}));
  EXPECT_TRUE(route.is_consistent_with_bus_stops({}));
}

}  // namespace
