#include <gmock/gmock.h>

#include <climits>
#include <string>
#include <vector>

#include "TestJourney.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

typedef std::vector<int> Times;

const VehicleJourneyRef trip("T17", "");

/// Every message of these tests is of shape 7, unless it says otherwise.
class JourneyHistory : public testing::Test {
 protected:
  std::string read(const Times& trajectory, category_t category = 0, long long shape = 7,
                   unsigned long long time = 10) {
    log.clear();
    return rejection<invalid_history>(
        [&] { journey.read_history(time, shape, category, trajectory); });
  }

  RecordedLog log;
  TestJourney journey;
};

TEST_F(JourneyHistory, IsTakenUpWithoutAWordWhateverItsLengthOnAnEmptyJourney) {
  EXPECT_EQ(read({1, 2, 3, 4, 5, 6, 7}), "accepted");
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey), "shape 7, 0 milestones, 1 trajectories");
}

TEST_F(JourneyHistory, OtherInLengthThanTheMilestones) {
  journey.read_milestones(10, 7, {0, 10, 20, 30});
  EXPECT_EQ(read({1, 2, 3}),
            "Invalid history: incompatible with milestones (length of historical trajectory=3, "
            "number of milestones=4)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0080E %lld%u%u%u (7, 0, 3, 4)"));
}

TEST_F(JourneyHistory, LogsTheSizeOfTheMessagesCategory) {
  journey.read_milestones(10, 7, {0, 10, 20, 30});
  read({1, 2, 3, 4}, 1);
  read({1, 2, 3, 4}, 1);
  read({1, 2, 3, 4}, 2);
  read({1, 2, 3}, 1);
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0080E %lld%u%u%u (7, 2, 3, 4)"));
  read({1, 2, 3}, 2);
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0080E %lld%u%u%u (7, 1, 3, 4)"));
  read({1, 2, 3}, -3);
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0080E %lld%u%u%u (7, 0, 3, 4)"));
}

TEST_F(JourneyHistory, LessThanTwo) {
  EXPECT_EQ(read({5}), "Invalid history: length of milestones=1 (less than 2)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0081E %lld%u%u (7, 0, 1)"));
  EXPECT_EQ(read({}), "Invalid history: length of milestones=0 (less than 2)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0081E %lld%u%u (7, 0, 0)"));
  read({1, 2}, 4);
  read({5}, 4);
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0081E %lld%u%u (7, 1, 1)"));
}

TEST_F(JourneyHistory, DecreasingTimes) {
  EXPECT_EQ(read({100, 200, 150}),
            "Invalid history: decreasing time stamps (trajectory[1]=200, trajectory[2]=150)\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_history KWXBN0082E %lld%u%u%u%d%d (7, 0, 1, 2, 200, 150)"));
}

TEST_F(JourneyHistory, TheFirstDecreasingPairCounts) {
  read({0, 0, 0});
  EXPECT_EQ(read({5, 4, 3}),
            "Invalid history: decreasing time stamps (trajectory[0]=5, trajectory[1]=4)\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_history KWXBN0082E %lld%u%u%u%d%d (7, 1, 0, 1, 5, 4)"));
}

TEST_F(JourneyHistory, TimesAreComparedWithTheirSign) {
  EXPECT_EQ(read({-1, 0}), "accepted");
  EXPECT_EQ(read({INT_MIN, INT_MAX}), "accepted");
  EXPECT_EQ(read({INT_MAX, INT_MIN}),
            "Invalid history: decreasing time stamps (trajectory[0]=2147483647, "
            "trajectory[1]=-2147483648)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0082E %lld%u%u%u%d%d (7, 2, 0, 1, "
                          "2147483647, -2147483648)"));
}

TEST_F(JourneyHistory, EqualTimesAreAccepted) {
  EXPECT_EQ(read({100, 100, 100}), "accepted");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(JourneyHistory, OtherInLengthThanTheStoredOnesOfAnotherCategory) {
  read({1, 2, 3, 4}, 1);
  EXPECT_EQ(read({1, 2, 3, 4, 5}, 2),
            "Invalid history: incompatible with previous trajectories (length of new trajectory=5, "
            "length of previous trajectories=4)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0083E %lld%u%u%u (7, 0, 5, 4)"));
  EXPECT_EQ(read({1, 2, 3}, 1),
            "Invalid history: incompatible with previous trajectories (length of new trajectory=3, "
            "length of previous trajectories=4)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_history KWXBN0083E %lld%u%u%u (7, 1, 3, 4)"));
}

TEST_F(JourneyHistory, MilestonesAreCheckedBeforeAllElse) {
  journey.read_milestones(10, 7, {0, 10, 20});
  read({1, 2, 3});
  EXPECT_EQ(read({5}),
            "Invalid history: incompatible with milestones (length of historical trajectory=1, "
            "number of milestones=3)\n")
      << "before the least length";
  EXPECT_EQ(read({5, 4}),
            "Invalid history: incompatible with milestones (length of historical trajectory=2, "
            "number of milestones=3)\n")
      << "before the order and the stored trajectories";
}

TEST_F(JourneyHistory, LeastLengthIsCheckedBeforeTheStoredTrajectories) {
  read({1, 2, 3});
  EXPECT_EQ(read({5}), "Invalid history: length of milestones=1 (less than 2)\n");
}

TEST_F(JourneyHistory, OrderIsCheckedBeforeTheStoredTrajectories) {
  read({1, 2, 3});
  EXPECT_EQ(read({5, 4}),
            "Invalid history: decreasing time stamps (trajectory[0]=5, trajectory[1]=4)\n");
}

TEST_F(JourneyHistory, CapacityIsForEachCategory) {
  Configuration configuration;
  configuration.max_size_history = 2;
  TestJourney small(configuration);
  for (int i = 0; i < 5; ++i) {
    small.read_history(10, 7, 1, {i, i});
    small.read_history(10, 7, 2, {i, i});
  }
  EXPECT_EQ(held(small, 1), "shape 7, 0 milestones, 2 trajectories");
  EXPECT_EQ(held(small, 2), "shape 7, 0 milestones, 2 trajectories");
}

TEST_F(JourneyHistory, AFullRingKeepsTheFirstTrajectoryAndTheNewest) {
  Configuration configuration;
  configuration.max_size_history = 2;
  configuration.double_parameter = {1e300};
  TestJourney small(configuration);
  small.read_milestones(10, 7, {0, 100});
  small.read_bus_stops(10, 7, {"A", "B"}, {0, 100});
  for (const int time : {100, 5000, 6000, 300}) small.read_history(10, 7, 0, {0, time});
  Forecast* forecast = small.update("bus", trip, 10, 7, 0, 0.0, 1000, 0.0);
  EXPECT_THAT(rows(*forecast), ElementsAre("A 1000 [1000, 1000]", "B 1200 [1100, 1300]"));
}

TEST_F(JourneyHistory, ACapacityOfZeroKeepsNothing) {
  Configuration configuration;
  configuration.max_size_history = 0;
  TestJourney small(configuration);
  small.read_history(10, 7, 0, {1, 2, 3});
  EXPECT_EQ(held(small), "shape 7, 0 milestones, 0 trajectories");
  small.read_history(10, 7, 0, {1, 2});
  small.read_milestones(10, 7, {0, 1, 2, 3});
  EXPECT_EQ(held(small), "shape 7, 4 milestones, 0 trajectories");
}

TEST_F(JourneyHistory, RemoveAllRemovesTheTrajectoriesOfAllCategoriesOnly) {
  journey.read_milestones(10, 7, {0, 100});
  journey.read_bus_stops(10, 7, {"A", "B"}, {0, 100});
  read({0, 1000}, 0);
  read({0, 1000}, 1);
  Forecast* forecast = journey.update("bus", trip, 10, 7, 0, 50.0, 10500, 0.0);
  journey.remove_all_histories();
  EXPECT_EQ(held(journey, 0), "shape 7, 2 milestones, 0 trajectories");
  EXPECT_EQ(held(journey, 1), "shape 7, 2 milestones, 0 trajectories");
  EXPECT_TRUE(holds(journey, "bus"));
  EXPECT_EQ(forecast->get_first_index(), 1u);
  EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 11000 [11000, 11000]"));
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyHistory, AfterRemoveAllAnyLengthIsAcceptedAgain) {
  read({0, 1, 2});
  journey.remove_all_histories();
  EXPECT_EQ(read({0, 1}), "accepted");
}

/// A journey with everything: two milestones, two stops, a trajectory, a vehicle.
class JourneyHistoryReload : public JourneyHistory {
 protected:
  JourneyHistoryReload() {
    journey.read_milestones(10, 7, {0, 100});
    journey.read_bus_stops(10, 7, {"A", "B"}, {0, 100});
    read({0, 1000});
    forecast = journey.update("bus", trip, 10, 7, 0, 50.0, 10500, 0.0);
    log.clear();
  }

  void expect_record_untouched() {
    EXPECT_EQ(forecast->get_first_index(), 1u);
    EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 11000 [11000, 11000]"));
  }

  Forecast* forecast = nullptr;
};

TEST_F(JourneyHistoryReload, AcceptedOfTheSameShapeIsAdded) {
  EXPECT_EQ(read({0, 2000}), "accepted");
  EXPECT_EQ(held(journey), "shape 7, 2 milestones, 2 trajectories");
  EXPECT_TRUE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyHistoryReload, RejectedOfTheSameShapeChangesNothing) {
  for (const Times& trajectory : {Times{0, 1, 2}, Times{0}, Times{1, 0}}) {
    EXPECT_NE(read(trajectory), "accepted");
    EXPECT_EQ(log.size(), 1u);
    EXPECT_EQ(held(journey), "shape 7, 2 milestones, 1 trajectories");
    EXPECT_TRUE(holds(journey, "bus"));
    expect_record_untouched();
  }
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyHistoryReload, OfAnOlderShapeIsDroppedWithoutAWord) {
  EXPECT_EQ(read({0, 2000}, 0, 6, 9), "accepted");
  EXPECT_EQ(read({}, 0, 6, 9), "accepted") << "not even looked at";
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey), "shape 7, 2 milestones, 1 trajectories");
  EXPECT_TRUE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyHistoryReload, OfANewShapeWipesTheJourneyAndIsAdded) {
  EXPECT_EQ(read({0, 1, 2, 3}, 5, 8, 11), "accepted") << "nothing old is in the way";
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey, 0), "shape 8, 0 milestones, 0 trajectories");
  EXPECT_EQ(held(journey, 5), "shape 8, 0 milestones, 1 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 0u);
}

TEST_F(JourneyHistoryReload, RejectedOfANewShapeWipesTheJourneyAllTheSame) {
  EXPECT_EQ(read({2, 1}, 0, 8, 11),
            "Invalid history: decreasing time stamps (trajectory[0]=2, trajectory[1]=1)\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_history KWXBN0082E %lld%u%u%u%d%d (8, 0, 0, 1, 2, 1)"));
  EXPECT_EQ(held(journey), "shape 8, 0 milestones, 0 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 0u);
}

}  // namespace
