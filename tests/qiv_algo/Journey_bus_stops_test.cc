#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

#include "TestJourney.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

typedef std::vector<double> Offsets;
typedef std::vector<std::string> Names;

const double nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();
const VehicleJourneyRef trip("T17", "");

Configuration travel_mode() {
  Configuration configuration;
  configuration.mode = "travel";
  return configuration;
}

/// Every message of these tests is of shape 7, unless it says otherwise.
class JourneyBusStops : public testing::Test {
 protected:
  std::string read(const Offsets& offsets, long long shape = 7, unsigned long long time = 10) {
    return read(Names(offsets.size(), "stop"), offsets, shape, time);
  }

  std::string read(const Names& names, const Offsets& offsets, long long shape = 7,
                   unsigned long long time = 10) {
    log.clear();
    return rejection<invalid_bus_stops>(
        [&] { journey.read_bus_stops(time, shape, names, offsets); });
  }

  void read_milestones(const Offsets& milestones) { journey.read_milestones(10, 7, milestones); }

  Forecast* update(const std::string& vehicleID, double offset, long long time) {
    return journey.update(vehicleID, trip, 10, 7, 0, offset, time, 0.0);
  }

  RecordedLog log;
  TestJourney journey;
};

TEST_F(JourneyBusStops, AreTakenUpWithoutAWord) {
  EXPECT_EQ(read({0, 50, 100}), "accepted");
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(count_bus_stops(journey), 3u);
}

TEST_F(JourneyBusStops, LessThanTwo) {
  EXPECT_EQ(read({5}), "Invalid bus stops: number of bus stops=1 (less than 2)\n");
  EXPECT_THAT(log.lines(), ElementsAre("error Journey::read_bus_stops KWXBN0070E %lld%u (7, 1)"));
  EXPECT_EQ(read({}), "Invalid bus stops: number of bus stops=0 (less than 2)\n");
  EXPECT_THAT(log.lines(), ElementsAre("error Journey::read_bus_stops KWXBN0070E %lld%u (7, 0)"));
}

TEST_F(JourneyBusStops, AreCountedByTheirOffsets) {
  EXPECT_EQ(read({"A", "B", "C"}, {5}), "Invalid bus stops: number of bus stops=1 (less than 2)\n");
}

TEST_F(JourneyBusStops, BeyondTheLastMilestone) {
  read_milestones({0, 60.25});
  EXPECT_EQ(read({0, 60.5}),
            "Invalid bus stops: bus stops out of range (last offset=60.5, last milestone=60.25)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_bus_stops KWXBN0071E %lld%e%e (7, 60.5, 60.25)"));
}

TEST_F(JourneyBusStops, AtTheLastMilestoneAreAccepted) {
  read_milestones({0, 60.25});
  EXPECT_EQ(read({0, 60.25}), "accepted");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(JourneyBusStops, BeforeAnyMilestonesMayLieAnywhere) {
  EXPECT_EQ(read({0, 1e300}), "accepted");
}

TEST_F(JourneyBusStops, BeforeTheFirstMilestoneAreAccepted) {
  read_milestones({50, 100});
  EXPECT_EQ(read({0, 100}), "accepted");
}

TEST_F(JourneyBusStops, NegativeFirst) {
  EXPECT_EQ(read({-5, 10}), "Invalid bus stops: first offset is negative (-5)\n");
  EXPECT_THAT(log.lines(), ElementsAre("error Journey::read_bus_stops KWXBN0072E %lld%e (7, -5)"));
}

TEST_F(JourneyBusStops, MinusZeroIsNotNegative) {
  EXPECT_EQ(read({-0.0, 10}), "accepted");
}

TEST_F(JourneyBusStops, EqualNeighbours) {
  EXPECT_EQ(read({0, 100, 100}),
            "Invalid bus stops: decreasing offsets (offsets[1]=100, offsets[2]=100)\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Journey::read_bus_stops KWXBN0073E %lld%u%u%e%e (7, 1, 2, 100, 100)"));
}

TEST_F(JourneyBusStops, DecreasingNeighboursTheFirstPairCounts) {
  EXPECT_EQ(read({0, 200.5, 100.25, 50}),
            "Invalid bus stops: decreasing offsets (offsets[1]=200.5, offsets[2]=100.25)\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre(
          "error Journey::read_bus_stops KWXBN0073E %lld%u%u%e%e (7, 1, 2, 200.5, 100.25)"));
  EXPECT_EQ(read({9, 8, 7}),
            "Invalid bus stops: decreasing offsets (offsets[0]=9, offsets[1]=8)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_bus_stops KWXBN0073E %lld%u%u%e%e (7, 0, 1, 9, 8)"));
}

TEST_F(JourneyBusStops, ComparisonsWithNanDoNotFail) {
  EXPECT_EQ(read({nan, 10}), "accepted");
  EXPECT_EQ(read({10, nan, 5}), "accepted");
  read_milestones({0, 100});
  EXPECT_EQ(read({0, nan}), "accepted") << "a NaN is not beyond the last milestone";
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(JourneyBusStops, InfinityIsAnOffset) {
  EXPECT_EQ(read({0, inf}), "accepted");
  EXPECT_EQ(read({inf, inf}),
            "Invalid bus stops: decreasing offsets (offsets[0]=inf, offsets[1]=inf)\n");
  read_milestones({0, 100});
  EXPECT_EQ(read({0, inf}),
            "Invalid bus stops: bus stops out of range (last offset=inf, last milestone=100)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_bus_stops KWXBN0071E %lld%e%e (7, inf, 100)"));
}

TEST_F(JourneyBusStops, NumberIsCheckedBeforeRangeAndSign) {
  read_milestones({0, 60});
  EXPECT_EQ(read({61}), "Invalid bus stops: number of bus stops=1 (less than 2)\n");
  EXPECT_EQ(read({-1}), "Invalid bus stops: number of bus stops=1 (less than 2)\n");
}

TEST_F(JourneyBusStops, RangeIsCheckedBeforeSignAndOrder) {
  read_milestones({0, 60});
  const std::string text =
      "Invalid bus stops: bus stops out of range (last offset=61, last milestone=60)\n";
  EXPECT_EQ(read({-5, 61}), text);
  EXPECT_EQ(read({70, 61}), text);
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_bus_stops KWXBN0071E %lld%e%e (7, 61, 60)"));
}

TEST_F(JourneyBusStops, SignIsCheckedBeforeOrder) {
  EXPECT_EQ(read({-5, -6}), "Invalid bus stops: first offset is negative (-5)\n");
  EXPECT_THAT(log.lines(), ElementsAre("error Journey::read_bus_stops KWXBN0072E %lld%e (7, -5)"));
}

/// A journey with everything: two milestones, three stops, a trajectory, a vehicle.
class JourneyBusStopsReload : public JourneyBusStops {
 protected:
  JourneyBusStopsReload() {
    read_milestones({0, 100});
    read({"A", "B", "C"}, {0, 50, 100});
    journey.read_history(10, 7, 0, {0, 1000});
    forecast = update("bus", 50, 10500);
    log.clear();
  }

  void expect_record_untouched() {
    EXPECT_EQ(forecast->get_first_index(), 2u);
    EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 10500 [10500, 10500]",
                                             "C 11000 [11000, 11000]"));
  }

  Forecast* forecast = nullptr;
};

TEST_F(JourneyBusStopsReload, StopsAndIdentifiersGoTogether) {
  expect_record_untouched();
}

TEST_F(JourneyBusStopsReload, FewerShrinkTheRecordAndKeepItsNumbers) {
  EXPECT_EQ(read({"X", "Y"}, {0, 100}), "accepted");
  EXPECT_THAT(rows(*forecast), ElementsAre("X 10000 [10000, 10000]", "Y 10500 [10500, 10500]"));
  EXPECT_EQ(forecast->get_first_index(), 2u) << "not touched";
  EXPECT_TRUE(holds(journey, "bus"));
  EXPECT_EQ(held(journey), "shape 7, 2 milestones, 1 trajectories");
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyBusStopsReload, MoreGrowTheRecordByRowsOfZero) {
  EXPECT_EQ(read({"X", "Y", "Z", "W"}, {0, 10, 20, 100}), "accepted");
  EXPECT_THAT(rows(*forecast), ElementsAre("X 10000 [10000, 10000]", "Y 10500 [10500, 10500]",
                                           "Z 11000 [11000, 11000]", "W 0 [0, 0]"));
  EXPECT_EQ((*forecast)[3].get_conditional_mean(), 0.0);
  EXPECT_EQ((*forecast)[3].get_conditional_var(), 0.0);
}

TEST_F(JourneyBusStopsReload, NextReportUsesTheNewStops) {
  read({"X", "Y"}, {25, 75});
  ASSERT_EQ(update("bus", 50, 10500), forecast);
  EXPECT_EQ(forecast->get_first_index(), 1u);
  EXPECT_THAT(rows(*forecast), ElementsAre("X 10250 [10250, 10250]", "Y 10750 [10750, 10750]"));
}

TEST_F(JourneyBusStopsReload, MissingIdentifiersAreEmptyAndSurplusOnesIgnored) {
  EXPECT_EQ(read({"X"}, {0, 60}), "accepted");
  EXPECT_EQ((*forecast)[0].get_stopID(), "X");
  EXPECT_EQ((*forecast)[1].get_stopID(), "");
  EXPECT_EQ(read({"X", "Y", "Z"}, {0, 60}), "accepted");
  EXPECT_EQ(forecast->size(), 2u);
  EXPECT_EQ((*forecast)[1].get_stopID(), "Y");
}

TEST_F(JourneyBusStopsReload, RejectedOnesOfTheSameShapeChangeNothing) {
  for (const Offsets& offsets : {Offsets{0}, Offsets{0, 101}, Offsets{-1, 50}, Offsets{0, 0}}) {
    EXPECT_NE(read(offsets), "accepted");
    EXPECT_EQ(log.size(), 1u);
    EXPECT_EQ(held(journey), "shape 7, 2 milestones, 1 trajectories");
    EXPECT_TRUE(holds(journey, "bus"));
    expect_record_untouched();
  }
  EXPECT_EQ(count_bus_stops(journey), 3u);
}

TEST_F(JourneyBusStopsReload, OfAnOlderShapeAreDroppedWithoutAWord) {
  EXPECT_EQ(read({0, 1}, 6, 9), "accepted");
  EXPECT_EQ(read({-1}, 6, 9), "accepted") << "not even looked at";
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey), "shape 7, 2 milestones, 1 trajectories");
  EXPECT_TRUE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 3u);
}

TEST_F(JourneyBusStopsReload, OfANewShapeWipeTheJourney) {
  EXPECT_EQ(read({"X", "Y"}, {0, 500}, 8, 11), "accepted") << "no old milestone is in the way";
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey), "shape 8, 0 milestones, 0 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));
  EXPECT_THAT(rows(*forecast), ElementsAre("X 10000 [10000, 10000]", "Y 10500 [10500, 10500]"));
  EXPECT_EQ(count_bus_stops(journey), 2u);
}

TEST_F(JourneyBusStopsReload, RejectedOnesOfANewShapeWipeTheJourneyAndLeaveTheRecord) {
  EXPECT_EQ(read({5, 5}, 8, 11),
            "Invalid bus stops: decreasing offsets (offsets[0]=5, offsets[1]=5)\n");
  EXPECT_THAT(log.lines(),
              ElementsAre("error Journey::read_bus_stops KWXBN0073E %lld%u%u%e%e (8, 0, 1, 5, 5)"));
  EXPECT_EQ(held(journey), "shape 8, 0 milestones, 0 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));
  expect_record_untouched();
  EXPECT_EQ(count_bus_stops(journey), 0u);
}

TEST(JourneyBusStopsTravel, TheRecordHasOneRowForEachLeg) {
  RecordedLog log;
  TestJourney journey(travel_mode());
  journey.read_milestones(10, 7, {0, 100});
  journey.read_bus_stops(10, 7, {"A", "B", "C", "D", "E"}, {0, 10, 20, 30, 100});
  journey.read_history(10, 7, 0, {0, 1000});
  Forecast* forecast = journey.update("bus", trip, 10, 7, 0, 0.0, 10000, 0.0);
  ASSERT_NE(forecast, nullptr);
  EXPECT_THAT(rows(*forecast), ElementsAre("A>B 100 [100, 100]", "B>C 100 [100, 100]",
                                           "C>D 100 [100, 100]", "D>E 700 [700, 700]"));
  journey.read_bus_stops(10, 7, {"X", "Y"}, {0, 50});
  EXPECT_THAT(rows(*forecast), ElementsAre("X>Y 100 [100, 100]"));
}

}  // namespace
