#include <gmock/gmock.h>

#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "TestJourney.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

typedef std::vector<double> Offsets;

const double nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();
const VehicleJourneyRef trip("T17", "");

/// Every message of these tests is of shape 7, unless it says otherwise.
class JourneyMilestones : public testing::Test {
 protected:
  std::string read(const Offsets& milestones, long long shape = 7, unsigned long long time = 10) {
    log.clear();
    return rejection<invalid_milestones>([&] { journey.read_milestones(time, shape, milestones); });
  }

  void read_stops(const Offsets& offsets) {
    journey.read_bus_stops(10, 7, std::vector<std::string>(offsets.size(), "stop"), offsets);
  }

  void read_history(const std::vector<int>& trajectory) {
    journey.read_history(10, 7, 0, trajectory);
  }

  Forecast* update(const std::string& vehicleID, double offset, long long time) {
    return journey.update(vehicleID, trip, 10, 7, 0, offset, time, 0.0);
  }

  RecordedLog log;
  TestJourney journey;
};

TEST_F(JourneyMilestones, AreTakenUpWithoutAWord) {
  EXPECT_EQ(read({0, 50, 100}), "accepted");
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey), "shape 7, 3 milestones, 0 trajectories");
}

TEST_F(JourneyMilestones, LessThanTwo) {
  EXPECT_EQ(read({5}), "Invalid milestones: number of milestones=1 (less than 2)\n");
  EXPECT_THAT(log.lines(), ElementsAre("error Journey::read_milestones KWXBN0060E %lld%u (7, 1)"));
  EXPECT_EQ(read({}), "Invalid milestones: number of milestones=0 (less than 2)\n");
  EXPECT_THAT(log.lines(), ElementsAre("error Journey::read_milestones KWXBN0060E %lld%u (7, 0)"));
}

TEST_F(JourneyMilestones, TwoAreEnough) {
  EXPECT_EQ(read({0, 1}), "accepted");
}

TEST_F(JourneyMilestones, BusStopsBeyondTheLast) {
  read({0, 100});
  read_stops({0, 60.5});
  EXPECT_EQ(read({0, 60.25}),
            "Invalid milestones: bus stops out of range (last milestone=60.25, last bus "
            "stop=60.5)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_milestones KWXBN0061E %lld%e%e (7, 60.5, 60.25)"));
}

TEST_F(JourneyMilestones, ABusStopAtTheLastIsAccepted) {
  read({0, 100});
  read_stops({0, 60.5});
  EXPECT_EQ(read({0, 60.5}), "accepted");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(JourneyMilestones, AreNotComparedWithTheStopsWhileTheRouteHasNone) {
  read_stops({0, 100});
  EXPECT_EQ(read({0, 50}), "accepted") << "the stop at 100 is beyond, but nobody looks";
  EXPECT_EQ(read({0, 50}),
            "Invalid milestones: bus stops out of range (last milestone=50, last bus stop=100)\n")
      << "the same list again is compared";
  EXPECT_EQ(held(journey), "shape 7, 2 milestones, 0 trajectories");
}

TEST_F(JourneyMilestones, TwiceBeforeAnyStopsAreAccepted) {
  read({0, 100});
  EXPECT_EQ(read({0, 100}), "accepted");
  EXPECT_EQ(read({0, 1e-300}), "accepted");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(JourneyMilestones, NegativeFirst) {
  EXPECT_EQ(read({-5, 10}), "Invalid milestones: first milestone is negative (-5)\n");
  EXPECT_THAT(log.lines(), ElementsAre("error Journey::read_milestones KWXBN0062E %lld%e (7, -5)"));
  EXPECT_EQ(read({-inf, 10}), "Invalid milestones: first milestone is negative (-inf)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_milestones KWXBN0062E %lld%e (7, -inf)"));
}

TEST_F(JourneyMilestones, MinusZeroIsNotNegative) {
  EXPECT_EQ(read({-0.0, 10}), "accepted");
}

TEST_F(JourneyMilestones, EqualNeighbours) {
  EXPECT_EQ(read({0, 100, 100}),
            "Invalid milestones: decreasing milestones (milestones[1]=100, milestones[2]=100)\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_milestones KWXBN0063E %lld%u%u%e%e (7, 1, 2, 100, 100)"));
}

TEST_F(JourneyMilestones, DecreasingNeighboursTheFirstPairCounts) {
  EXPECT_EQ(read({0, 200.5, 100.25, 50}),
            "Invalid milestones: decreasing milestones (milestones[1]=200.5, "
            "milestones[2]=100.25)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_milestones KWXBN0063E %lld%u%u%e%e (7, 1, 2, 200.5, "
                          "100.25)"));
  EXPECT_EQ(read({10, 5, 4}),
            "Invalid milestones: decreasing milestones (milestones[0]=10, milestones[1]=5)\n");
}

TEST_F(JourneyMilestones, LogsAllDigitsWhereTheTextHasSix) {
  EXPECT_EQ(read({0, 1234567.125, 1234567.0}),
            "Invalid milestones: decreasing milestones (milestones[1]=1.23457e+06, "
            "milestones[2]=1.23457e+06)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_milestones KWXBN0063E %lld%u%u%e%e (7, 1, 2, "
                          "1234567.125, 1234567)"));
}

TEST_F(JourneyMilestones, ComparisonsWithNanDoNotFail) {
  EXPECT_EQ(read({nan, 10}), "accepted");
  EXPECT_EQ(read({10, nan, 5}), "accepted");
  EXPECT_EQ(read({nan, nan}), "accepted");
  read_stops({0, 1});
  EXPECT_EQ(read({0, nan}), "accepted") << "the last stop is not beyond a NaN";
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(JourneyMilestones, InfinityIsAnOffset) {
  EXPECT_EQ(read({0, inf}), "accepted");
  EXPECT_EQ(read({0, inf, inf}),
            "Invalid milestones: decreasing milestones (milestones[1]=inf, milestones[2]=inf)\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_milestones KWXBN0063E %lld%u%u%e%e (7, 1, 2, inf, inf)"));
}

TEST_F(JourneyMilestones, OtherInNumberThanTheTimesOfATrajectory) {
  read_history({0, 10, 20});
  EXPECT_EQ(read({0, 100}),
            "Invalid milestones: incompatible with history (number of milestones=2, length of "
            "historical trajectories=3)\n")
      << "even though the route had no milestones";
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_milestones KWXBN0064E %lld%u%u (7, 3, 2)"));
  EXPECT_EQ(held(journey), "shape 7, 0 milestones, 1 trajectories");
  EXPECT_EQ(read({0, 50, 100}), "accepted");
  EXPECT_EQ(read({0, 100}),
            "Invalid milestones: incompatible with history (number of milestones=2, length of "
            "historical trajectories=3)\n");
  EXPECT_EQ(held(journey), "shape 7, 3 milestones, 1 trajectories");
}

TEST_F(JourneyMilestones, OtherInNumberWithoutTrajectoriesAreAccepted) {
  read({0, 50, 100});
  EXPECT_EQ(read({0, 100}), "accepted");
  EXPECT_EQ(held(journey), "shape 7, 2 milestones, 0 trajectories");
}

TEST_F(JourneyMilestones, NumberIsCheckedFirst) {
  read({0, 100});
  read_stops({0, 60});
  read_history({0, 10});
  EXPECT_EQ(read({}), "Invalid milestones: number of milestones=0 (less than 2)\n");
  EXPECT_EQ(read({-5}), "Invalid milestones: number of milestones=1 (less than 2)\n");
}

TEST_F(JourneyMilestones, StopsAreCheckedBeforeSignAndOrderAndHistory) {
  read({0, 100});
  read_stops({0, 60});
  read_history({0, 10});
  const std::string text =
      "Invalid milestones: bus stops out of range (last milestone=50, last bus stop=60)\n";
  EXPECT_EQ(read({-5, 50}), text);
  EXPECT_EQ(read({70, 50}), text);
  EXPECT_EQ(read({0, 25, 50}), text);
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_milestones KWXBN0061E %lld%e%e (7, 60, 50)"));
}

TEST_F(JourneyMilestones, SignIsCheckedBeforeOrderAndHistory) {
  read_history({0, 10});
  EXPECT_EQ(read({-5, -5}), "Invalid milestones: first milestone is negative (-5)\n");
  EXPECT_EQ(read({-5, 0, 5}), "Invalid milestones: first milestone is negative (-5)\n");
  EXPECT_THAT(log.lines(), ElementsAre("error Journey::read_milestones KWXBN0062E %lld%e (7, -5)"));
}

TEST_F(JourneyMilestones, OrderIsCheckedBeforeHistory) {
  read_history({0, 10});
  EXPECT_EQ(read({0, 5, 5}),
            "Invalid milestones: decreasing milestones (milestones[1]=5, milestones[2]=5)\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_milestones KWXBN0063E %lld%u%u%e%e (7, 1, 2, 5, 5)"));
}

/// A journey with everything: three milestones, two stops, a trajectory, a vehicle.
class JourneyMilestonesReload : public JourneyMilestones {
 protected:
  JourneyMilestonesReload() {
    read({0, 50, 100});
    journey.read_bus_stops(10, 7, {"A", "B"}, {0, 60});
    read_history({0, 500, 1000});
    forecast = update("bus", 50, 10500);
    log.clear();
  }

  void expect_record_untouched() {
    EXPECT_EQ(forecast->get_first_index(), 1u);
    EXPECT_EQ(forecast->get_quality(), 1.0);
    EXPECT_EQ(forecast->get_confidence(), 1.0 - 1.0 / std::sqrt(2.0));
    EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 10600 [10600, 10600]"));
  }

  Forecast* forecast = nullptr;
};

TEST_F(JourneyMilestonesReload, IdenticalOnesKeepEverything) {
  EXPECT_EQ(read({0, 50, 100}), "accepted");
  EXPECT_EQ(held(journey), "shape 7, 3 milestones, 1 trajectories");
  EXPECT_TRUE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyMilestonesReload, DifferentOnesRemoveTheTrajectoriesOnly) {
  journey.read_history(10, 7, 5, {0, 500, 1000});
  EXPECT_EQ(read({0, 50.5, 100}), "accepted");
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey), "shape 7, 3 milestones, 0 trajectories");
  EXPECT_EQ(held(journey, 5), "shape 7, 3 milestones, 0 trajectories");
  EXPECT_TRUE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyMilestonesReload, TheNewOnesAreTheRange) {
  EXPECT_EQ(read({0, 50, 70}), "accepted");
  EXPECT_EQ(update("other", 70.5, 10500), nullptr);
  EXPECT_EQ(update("other", 70, 10500), forecast);
}

TEST_F(JourneyMilestonesReload, ANanIsNeverIdentical) {
  EXPECT_EQ(read({0, nan, 100}), "accepted");
  read_history({0, 500, 1000});
  EXPECT_EQ(read({0, nan, 100}), "accepted");
  EXPECT_EQ(held(journey), "shape 7, 3 milestones, 0 trajectories");
}

TEST_F(JourneyMilestonesReload, ZeroAndMinusZeroAreIdentical) {
  EXPECT_EQ(read({-0.0, 50, 100}), "accepted");
  EXPECT_EQ(held(journey), "shape 7, 3 milestones, 1 trajectories");
}

TEST_F(JourneyMilestonesReload, RejectedOnesOfTheSameShapeChangeNothing) {
  for (const Offsets& milestones : {Offsets{0}, Offsets{0, 10, 59}, Offsets{-1, 10, 100},
                                    Offsets{0, 0, 100}, Offsets{0, 100}}) {
    EXPECT_NE(read(milestones), "accepted");
    EXPECT_EQ(log.size(), 1u);
    EXPECT_EQ(held(journey), "shape 7, 3 milestones, 1 trajectories");
    EXPECT_TRUE(holds(journey, "bus"));
    expect_record_untouched();
  }
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyMilestonesReload, OfAnOlderShapeAreDroppedWithoutAWord) {
  EXPECT_EQ(read({0, 1}, 6, 9), "accepted");
  EXPECT_EQ(read({}, 6, 9), "accepted") << "not even looked at";
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey), "shape 7, 3 milestones, 1 trajectories");
  EXPECT_TRUE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyMilestonesReload, OfANewShapeWipeTheJourney) {
  EXPECT_EQ(read({0, 50}, 8, 11), "accepted") << "neither stops nor trajectories are in the way";
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey), "shape 8, 2 milestones, 0 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 0u);
}

TEST_F(JourneyMilestonesReload, RejectedOnesOfANewShapeWipeTheJourneyAllTheSame) {
  EXPECT_EQ(read({0, 0, 100}, 8, 11),
            "Invalid milestones: decreasing milestones (milestones[0]=0, milestones[1]=0)\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_milestones KWXBN0063E %lld%u%u%e%e (8, 0, 1, 0, 0)"));
  EXPECT_EQ(held(journey), "shape 8, 0 milestones, 0 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 0u);
}

TEST_F(JourneyMilestonesReload, OfANewShapeAreComparedWithNothingOld) {
  EXPECT_EQ(read({0, 10}, 8, 11), "accepted");
  EXPECT_EQ(read({0, 100}, 9, 11), "accepted");
  EXPECT_EQ(read({0, 50, 60, 100}, 10, 11), "accepted");
}

TEST_F(JourneyMilestones, LogsTheSmallestAndLargestIdentifier) {
  read({}, LLONG_MIN, 10);
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_milestones KWXBN0060E %lld%u (-9223372036854775808, 0)"));
  read({}, LLONG_MAX, 10);
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_milestones KWXBN0060E %lld%u (9223372036854775807, 0)"));
}

}  // namespace
