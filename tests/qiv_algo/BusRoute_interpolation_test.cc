#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "BusRoute.h"
#include "RouteOnJourney.h"
#include "support/RecordedLog.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

const double nan_offset = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const double denormal = std::numeric_limits<double>::denorm_min();

class BusRouteInterpolationTest : public ::testing::Test {
 protected:
  std::pair<unsigned int, double> locate(double offset) const {
    unsigned int index = 4711;
    double linear = -3.5;
    route.get_interpolation_parameters(offset, index, linear);
    return {index, linear};
  }

  /// The message of the exception; empty, and a failure, when there is none.
  std::string rejection(double offset) const {
    unsigned int index = 4711;
    double linear = -3.5;
    try {
      route.get_interpolation_parameters(offset, index, linear);
      ADD_FAILURE() << "offset " << offset << " should have been rejected";
    } catch (const std::invalid_argument& error) {
      EXPECT_EQ(index, 4711u);
      EXPECT_EQ(linear, -3.5);
      return error.what();
    }
    return "";
  }

  RecordedLog log;
  RouteOnJourney owner{-42};
  BusRoute& route = owner.route;
};

class BusRouteFromZeroTest : public BusRouteInterpolationTest {
 protected:
  void SetUp() override { route.read_milestones({0.0, 100.0, 300.0}); }
};

TEST_F(BusRouteFromZeroTest, OffsetInASegmentGivesItsUpperEndAndTheCoveredFraction) {
  EXPECT_THAT(locate(50.0), Pair(1u, 0.5));
  EXPECT_THAT(locate(25.0), Pair(1u, 0.25));
  EXPECT_THAT(locate(150.0), Pair(2u, 0.25));
  EXPECT_THAT(locate(denormal), Pair(1u, denormal / 100.0));
  EXPECT_THAT(locate(299.5), Pair(2u, 0.9975));
}

TEST_F(BusRouteFromZeroTest, InnerMilestoneOpensTheSegmentBehindIt) {
  EXPECT_THAT(locate(100.0), Pair(2u, 0.0));
}

TEST_F(BusRouteFromZeroTest, FirstMilestoneOpensTheFirstSegment) {
  EXPECT_THAT(locate(0.0), Pair(1u, 0.0));
  EXPECT_THAT(locate(-0.0), Pair(1u, 0.0));
}

TEST_F(BusRouteFromZeroTest, LastMilestoneClosesTheLastSegment) {
  EXPECT_THAT(locate(300.0), Pair(2u, 1.0));
}

TEST_F(BusRouteFromZeroTest, LocatesSilently) {
  locate(0.0);
  locate(50.0);
  locate(300.0);
  locate(nan_offset);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(BusRouteFromZeroTest, OffsetBeyondTheLastMilestoneIsLoggedAndRejected) {
  EXPECT_EQ(rejection(300.0001), "offset 300 out of range [0,300]");
  EXPECT_THAT(log.lines(),
              ElementsAre("error BusRoute::get_interpolation_parameters KWXBN0020E %e%e%e%lld "
                          "(300.0001, 0, 300, -42)"));
}

TEST_F(BusRouteFromZeroTest, OffsetBelowZeroIsLoggedAndRejected) {
  EXPECT_EQ(rejection(-1.0), "offset -1 out of range [0,300]");
  EXPECT_EQ(rejection(-denormal), "offset -4.94066e-324 out of range [0,300]");
  ASSERT_EQ(log.size(), 2u);
  EXPECT_EQ(log.lines()[0],
            "error BusRoute::get_interpolation_parameters KWXBN0020E %e%e%e%lld (-1, 0, 300, -42)");
}

TEST_F(BusRouteFromZeroTest, InfiniteOffsetIsRejected) {
  EXPECT_EQ(rejection(infinity), "offset inf out of range [0,300]");
  EXPECT_EQ(rejection(-infinity), "offset -inf out of range [0,300]");
}

TEST_F(BusRouteFromZeroTest, MessageHasSixSignificantDigits) {
  EXPECT_EQ(rejection(1234567.0), "offset 1.23457e+06 out of range [0,300]");
  route.read_milestones({0.0, 2400.0});
  EXPECT_EQ(rejection(2500.5), "offset 2500.5 out of range [0,2400]");
  route.read_milestones({0.0, 1234567.0});
  EXPECT_EQ(rejection(-0.00001), "offset -1e-05 out of range [0,1.23457e+06]");
}

TEST_F(BusRouteFromZeroTest, RejectionLeavesTheRouteUsable) {
  rejection(301.0);
  EXPECT_THAT(locate(50.0), Pair(1u, 0.5));
  EXPECT_TRUE(route.identical_milestones({0.0, 100.0, 300.0}));
}

TEST_F(BusRouteFromZeroTest, NotANumberIsNeitherRejectedNorLocated) {
  EXPECT_THAT(locate(nan_offset), Pair(4711u, -3.5));
}

TEST_F(BusRouteFromZeroTest, LogHasTheShapeVersionThatTheJourneyHoldsNow) {
  owner.journey.read_milestones(2, 9000000000LL, {0.0, 1.0});
  rejection(301.0);
  EXPECT_THAT(log.lines(),
              ElementsAre("error BusRoute::get_interpolation_parameters KWXBN0020E %e%e%e%lld "
                          "(301, 0, 300, 9000000000)"));
}

TEST_F(BusRouteFromZeroTest, RangeHasBothEnds) {
  EXPECT_TRUE(route.is_in_range(0.0));
  EXPECT_TRUE(route.is_in_range(150.0));
  EXPECT_TRUE(route.is_in_range(300.0));
  EXPECT_FALSE(route.is_in_range(300.5));
  EXPECT_FALSE(route.is_in_range(-denormal));
  EXPECT_FALSE(route.is_in_range(infinity));
  EXPECT_FALSE(route.is_in_range(-infinity));
  EXPECT_FALSE(route.is_in_range(nan_offset));
}

TEST_F(BusRouteFromZeroTest, TerminationStopHasNeitherEnd) {
  EXPECT_FALSE(route.is_in_termination_stop(300.0, 10.0));
  EXPECT_TRUE(route.is_in_termination_stop(300.0001, 10.0));
  EXPECT_TRUE(route.is_in_termination_stop(305.0, 10.0));
  EXPECT_FALSE(route.is_in_termination_stop(310.0, 10.0));
  EXPECT_FALSE(route.is_in_termination_stop(311.0, 10.0));
  EXPECT_FALSE(route.is_in_termination_stop(299.0, 10.0));
}

TEST_F(BusRouteFromZeroTest, TerminationStopWithOddTolerances) {
  EXPECT_FALSE(route.is_in_termination_stop(305.0, 0.0));
  EXPECT_FALSE(route.is_in_termination_stop(305.0, -10.0));
  EXPECT_FALSE(route.is_in_termination_stop(305.0, nan_offset));
  EXPECT_FALSE(route.is_in_termination_stop(nan_offset, 10.0));
  EXPECT_TRUE(route.is_in_termination_stop(305.0, infinity));
  EXPECT_FALSE(route.is_in_termination_stop(infinity, infinity));
}

class BusRouteFromTwentyTest : public BusRouteInterpolationTest {
 protected:
  void SetUp() override { route.read_milestones({20.0, 100.0}); }
};

TEST_F(BusRouteFromTwentyTest, OffsetBeforeTheFirstMilestoneGivesTheWayFromZero) {
  EXPECT_THAT(locate(10.0), Pair(0u, 0.5));
  EXPECT_THAT(locate(0.0), Pair(0u, 0.0));
  EXPECT_THAT(locate(5.0), Pair(0u, 0.25));
}

TEST_F(BusRouteFromTwentyTest, FirstMilestoneOpensTheFirstSegment) {
  EXPECT_THAT(locate(20.0), Pair(1u, 0.0));
  EXPECT_THAT(locate(60.0), Pair(1u, 0.5));
  EXPECT_THAT(locate(100.0), Pair(1u, 1.0));
}

TEST_F(BusRouteFromTwentyTest, RangeOfReportsIsNarrowerThanTheLocatedRange) {
  EXPECT_FALSE(route.is_in_range(10.0));
  EXPECT_FALSE(route.is_in_range(19.999));
  EXPECT_TRUE(route.is_in_range(20.0));
  EXPECT_TRUE(route.is_in_range(100.0));
  EXPECT_NO_THROW(locate(10.0));
}

TEST_F(BusRouteFromTwentyTest, MessageNamesZeroAndTheLogTheFirstMilestone) {
  EXPECT_EQ(rejection(100.5), "offset 100.5 out of range [0,100]");
  EXPECT_EQ(rejection(-0.5), "offset -0.5 out of range [0,100]");
  EXPECT_THAT(log.lines(),
              ElementsAre("error BusRoute::get_interpolation_parameters KWXBN0020E %e%e%e%lld "
                          "(100.5, 20, 100, -42)",
                          "error BusRoute::get_interpolation_parameters KWXBN0020E %e%e%e%lld "
                          "(-0.5, 20, 100, -42)"));
}

TEST_F(BusRouteInterpolationTest, SingleMilestoneIsTheEndOfTheRoute) {
  route.read_milestones({50.0});
  EXPECT_THAT(locate(50.0), Pair(0u, 1.0));
  EXPECT_THAT(locate(25.0), Pair(0u, 0.5));
  EXPECT_EQ(rejection(50.5), "offset 50.5 out of range [0,50]");
}

TEST_F(BusRouteInterpolationTest, SingleMilestoneAtZeroIsTheEndOfTheRoute) {
  route.read_milestones({0.0});
  EXPECT_THAT(locate(0.0), Pair(0u, 1.0));
}

TEST_F(BusRouteInterpolationTest, EveryOffsetOfALongRouteFallsIntoItsOwnSegment) {
  std::vector<double> milestones;
  for (int i = 0; i <= 1000; ++i) milestones.push_back(i * i);
  route.read_milestones(milestones);
  for (unsigned int i = 1; i <= 1000; ++i) {
    const double from = milestones[i - 1];
    const double to = milestones[i];
    EXPECT_THAT(locate(from), Pair(i, 0.0));
    EXPECT_THAT(locate((from + to) / 2), Pair(i, 0.5));
  }
  EXPECT_THAT(locate(1000000.0), Pair(1000u, 1.0));
}

TEST_F(BusRouteInterpolationTest, FractionIsTheQuotientOfTheTwoDifferences) {
  route.read_milestones({0.1, 0.8, 1.7});
  EXPECT_THAT(locate(0.3), Pair(1u, (0.3 - 0.1) / (0.8 - 0.1)));
  EXPECT_THAT(locate(1.0), Pair(2u, (1.0 - 0.8) / (1.7 - 0.8)));
  EXPECT_THAT(locate(0.03), Pair(0u, 0.03 / 0.1));
}

TEST_F(BusRouteInterpolationTest, RouteWithoutMilestonesAcceptsEveryOffset) {
  for (const double offset : {0.0, -1.0, 1e300, infinity, -infinity, nan_offset}) {
    EXPECT_TRUE(route.is_in_range(offset)) << offset;
  }
}

TEST_F(BusRouteInterpolationTest, OffsetsOfStopsAreThoseOfTheStopsAndNotOfTheMilestones) {
  route.read_milestones({0.0, 100.0, 300.0});
  route.read_bus_stops({12.5, 250.0}, {"A", "B"});
  EXPECT_EQ(route.get_offset(0), 12.5);
  EXPECT_EQ(route.get_offset(1), 250.0);
}

}  // namespace
