#include "MilestoneWalk.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "RouteOnJourney.h"
#include "support/RecordedLog.h"

namespace {

const double not_a_number = std::numeric_limits<double>::quiet_NaN();

/// Where the route says that the offset lies.
lanes::TilePosition located(const BusRoute& route, double offset) {
  unsigned int index = 0;
  double linear = 0.0;
  route.get_interpolation_parameters(offset, index, linear);
  return lanes::TilePosition(index, linear);
}

class MilestoneWalkTest : public testing::Test {
 protected:
  void expect_as_the_route_says(const std::vector<double>& milestones,
                                const std::vector<double>& offsets) {
    owner.route.read_milestones(milestones);
    MilestoneWalk walk(owner.route);
    for (const double offset : offsets) {
      SCOPED_TRACE(offset);
      ASSERT_TRUE(walk.accepts(offset));
      const lanes::TilePosition expected = located(owner.route, offset);
      const lanes::TilePosition position = walk.locate(offset);
      EXPECT_EQ(position.cell, expected.cell);
      EXPECT_TRUE(position.linear == expected.linear ||
                  (std::isnan(position.linear) && std::isnan(expected.linear)))
          << position.linear << " instead of " << expected.linear;
    }
  }

  RouteOnJourney owner;
};

TEST_F(MilestoneWalkTest, AscendingOffsetsOnAndBetweenTheMilestones) {
  expect_as_the_route_says({0, 10, 25, 25.5, 300, 301}, {0, 0, 3, 9.999, 10, 10, 24, 25, 25.25,
                                                         25.5, 299, 300, 300.5, 301, 301});
}

TEST_F(MilestoneWalkTest, OffsetBehindTheOneBefore) {
  expect_as_the_route_says({0, 10, 25, 300}, {299, 26, 24, 11, 10, 0, 300, 5, 5, 250});
}

TEST_F(MilestoneWalkTest, OffsetBeforeTheFirstMilestone) {
  expect_as_the_route_says({20, 100}, {0, 10, 19.99, 20, 50, 5});
}

TEST_F(MilestoneWalkTest, NotANumberLiesNowhere) {
  expect_as_the_route_says({0, 100}, {50, not_a_number, 60});
}

TEST_F(MilestoneWalkTest, InfiniteMilestone) {
  expect_as_the_route_says({0, 100, std::numeric_limits<double>::infinity()}, {50, 150, 1e300});
}

// A search among milestones that are not in order finds what depends on its way.
TEST_F(MilestoneWalkTest, MilestonesThatNoOrderHoldsFor) {
  expect_as_the_route_says({0, 10, not_a_number, 30, 40, 50}, {5, 10, 12, 29, 30, 35, 45, 50});
  expect_as_the_route_says({0, 10, 10, 5, 40}, {5, 7, 10, 12, 39});
}

TEST_F(MilestoneWalkTest, RouteOfFewMilestones) {
  expect_as_the_route_says({}, {5, 7});
  expect_as_the_route_says({7}, {5, 7});
}

TEST_F(MilestoneWalkTest, RefusesWhatTheRouteRefuses) {
  RecordedLog log;
  owner.route.read_milestones({0, 100});
  MilestoneWalk walk(owner.route);
  for (const double offset : {-1.0, 100.5}) {
    EXPECT_FALSE(walk.accepts(offset));
    EXPECT_THROW(walk.locate(offset), std::invalid_argument);
  }
  EXPECT_EQ(log.size(), 2u);
  EXPECT_TRUE(walk.accepts(-0.0));
}

}  // namespace
