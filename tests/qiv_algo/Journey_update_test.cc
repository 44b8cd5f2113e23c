#include <gmock/gmock.h>

#include <climits>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "TestJourney.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const double nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();
const unsigned int no_forecast = 4294967295u;
const VehicleJourneyRef trip("T17", "");
const VehicleJourneyRef next_trip("T18", "2024-05-01");

const char* const no_history = "info ForecastAlgorithm::compute_forecast KWXBN0027I";

/// One stop at each end and one half-way; the trips of category 1 take 1000 from end to end.
class JourneyUpdate : public testing::Test {
 protected:
  explicit JourneyUpdate(const Configuration& configuration = Configuration())
      : journey(configuration) {
    journey.read_milestones(10, 7, {0, 100});
    journey.read_bus_stops(10, 7, {"A", "B", "C"}, {0, 50, 100});
    journey.read_history(10, 7, 1, {0, 1000});
  }

  Forecast* update(const std::string& vehicleID, double offset, long long time,
                   double max_error = 0.0, category_t category = 1,
                   const VehicleJourneyRef& reference = trip) {
    log.clear();
    return journey.update(vehicleID, reference, 10, 7, category, offset, time, max_error);
  }

  std::string update_rejection(const std::string& vehicleID, double offset, long long time,
                               double max_error = 0.0) {
    return rejection<invalid_update>([&] { update(vehicleID, offset, time, max_error); });
  }

  RecordedLog log;
  TestJourney journey;
};

TEST_F(JourneyUpdate, FirstReportStartsTheVehicleAndForecasts) {
  Forecast* forecast = update("bus", 25, 10250);
  ASSERT_NE(forecast, nullptr);
  EXPECT_EQ(forecast->get_mode(), Forecast::arrival);
  EXPECT_EQ(forecast->get_first_index(), 1u);
  EXPECT_EQ(forecast->get_quality(), 1.0);
  EXPECT_EQ(forecast->get_confidence(), 1.0 - 1.0 / std::sqrt(2.0));
  EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 10500 [10500, 10500]",
                                           "C 11000 [11000, 11000]"));
  EXPECT_THAT(log.lines(),
              ElementsAre("info Vehicle::update_position KWXBN0032I %s%s (\"bus\", \"T17\")"));
}

TEST_F(JourneyUpdate, LaterReportsGoToTheSameVehicle) {
  update("bus", 25, 10250);
  Forecast* forecast = update("bus", 50, 10600);
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(forecast->get_first_index(), 2u);
  EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 10600 [10600, 10600]",
                                           "C 11100 [11100, 11100]"));
}

TEST_F(JourneyUpdate, TheRecordIsOneForAllVehicles) {
  Forecast* forecast = update("bus", 25, 10250);
  EXPECT_EQ(update("tram", 0, 20000), forecast);
  EXPECT_THAT(rows(*forecast), ElementsAre("A 20000 [20000, 20000]", "B 20500 [20500, 20500]",
                                           "C 21000 [21000, 21000]"));
}

TEST_F(JourneyUpdate, StartTimeIsTheMeanHistoricalTimeBeforeTheFirstReport) {
  journey.read_history(10, 7, 1, {0, 2001});
  Forecast* forecast = update("bus", 50, 10000);
  EXPECT_EQ((*forecast)[0].get_time(), 10000 - 750) << "750.25 is truncated";
}

TEST_F(JourneyUpdate, StartTimeIsTruncatedTowardsZero) {
  journey.read_history(10, 7, 2, {-3, -3});
  journey.read_history(10, 7, 2, {-2, -2});
  Forecast* forecast = update("bus", 50, 10000, 0.0, 2);
  EXPECT_EQ((*forecast)[0].get_time(), 10002) << "-2.5 is truncated to -2";
}

TEST_F(JourneyUpdate, StartTimeIsComputedOnce) {
  update("bus", 0, 10000);
  Forecast* forecast = update("bus", 25, 10600);
  EXPECT_EQ((*forecast)[0].get_time(), 10000) << "not 10350";
  journey.read_history(10, 7, 1, {500, 5000});
  update("bus", 30, 10700);
  EXPECT_EQ((*forecast)[0].get_time(), 10000);
}

TEST_F(JourneyUpdate, StartTimeWithoutTrajectoriesIsTheTimeOfTheFirstReport) {
  update("bus", 25, 10250, 0.0, 9);
  Forecast* forecast = update("bus", 50, 10500);
  EXPECT_EQ((*forecast)[0].get_time(), 10250) << "kept after trajectories are found";
}

TEST_F(JourneyUpdate, StartTimeSurvivesAChangeOfTrip) {
  update("bus", 50, 10500);
  Forecast* forecast = update("bus", 0, 20000, 0.0, 1, next_trip);
  EXPECT_THAT(log.lines(),
              ElementsAre("info Vehicle::update_position KWXBN0032I %s%s (\"bus\", \"T18@T18\")"));
  EXPECT_EQ(forecast->get_first_index(), 1u);
  EXPECT_EQ((*forecast)[0].get_time(), 10000);
}

TEST_F(JourneyUpdate, StartTimeIsComputedAnewForAVehicleThatReturns) {
  update("bus", 50, 10500);
  EXPECT_FALSE(journey.is_served_by("bus", 10500));
  Forecast* forecast = update("bus", 50, 20500);
  EXPECT_EQ((*forecast)[0].get_time(), 20000);
}

TEST_F(JourneyUpdate, CategoryWithoutTrajectoriesResetsTheRecord) {
  update("bus", 25, 10250);
  Forecast* forecast = update("bus", 50, 10600, 0.0, 2);
  ASSERT_NE(forecast, nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(no_history));
  EXPECT_EQ(forecast->get_first_index(), no_forecast);
  EXPECT_EQ(forecast->get_confidence(), 0.0);
  EXPECT_EQ(forecast->get_quality(), 1.0);
  EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 10500 [10500, 10500]",
                                           "C 11000 [11000, 11000]"))
      << "the rows stay";
}

TEST_F(JourneyUpdate, CategoryIsThatOfTheReport) {
  journey.read_history(10, 7, -5, {0, 4000});
  update("bus", 0, 10000);
  Forecast* forecast = update("bus", 0, 10000, 0.0, -5);
  EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 12000 [12000, 12000]",
                                           "C 14000 [14000, 14000]"));
}

TEST_F(JourneyUpdate, ConfidenceGrowsWithTheNumberOfTrajectories) {
  journey.read_history(10, 7, 1, {0, 1000});
  journey.read_history(10, 7, 1, {0, 1000});
  EXPECT_EQ(update("bus", 0, 10000)->get_confidence(), 0.5);
}

TEST_F(JourneyUpdate, WithoutBusStopsTheRecordHasNoRows) {
  TestJourney bare;
  bare.read_milestones(10, 7, {0, 100});
  bare.read_history(10, 7, 1, {0, 1000});
  Forecast* forecast = bare.update("bus", trip, 10, 7, 1, 50, 10500, 0.0);
  ASSERT_NE(forecast, nullptr);
  EXPECT_EQ(forecast->size(), 0u);
  EXPECT_EQ(forecast->get_first_index(), 0u);
  EXPECT_EQ(forecast->get_confidence(), 1.0 - 1.0 / std::sqrt(2.0));
}

TEST_F(JourneyUpdate, WithoutMilestonesIsNull) {
  TestJourney bare;
  bare.read_bus_stops(10, 7, {"A", "B"}, {0, 100});
  bare.read_history(10, 7, 1, {0, 1000});
  log.clear();
  EXPECT_EQ(bare.update("bus", trip, 10, 7, 1, 50, 10500, 0.0), nullptr);
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_FALSE(holds(bare, "bus"));
  EXPECT_EQ(held(bare, 1), "shape 7, 0 milestones, 1 trajectories");
}

TEST_F(JourneyUpdate, OffTheRouteIsNullAndLeavesTheVehicleUnknown) {
  for (const double offset : {-0.001, 100.001, -inf, inf, nan}) {
    EXPECT_EQ(update("bus", offset, 10000, 1e9), nullptr) << offset;
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_FALSE(holds(journey, "bus"));
  }
}

TEST_F(JourneyUpdate, OffTheRouteLeavesTheVehicleUnchanged) {
  Forecast* forecast = update("bus", 50, 10500);
  EXPECT_EQ(update("bus", 100.5, 20000, 0.0, 1, next_trip), nullptr);
  EXPECT_TRUE(journey.is_served_by("bus", 10499));
  EXPECT_EQ(forecast->get_first_index(), 2u);
  EXPECT_EQ(update("bus", 60, 10600), forecast);
  EXPECT_THAT(log.lines(), IsEmpty()) << "still on its trip";
}

TEST_F(JourneyUpdate, TheEndsBelongToTheRoute) {
  EXPECT_NE(update("first", 0, 10000), nullptr);
  EXPECT_NE(update("zero", -0.0, 10000), nullptr);
  EXPECT_NE(update("last", 100, 10000), nullptr);
}

TEST_F(JourneyUpdate, TheRouteBeginsAtTheFirstMilestone) {
  TestJourney late;
  late.read_milestones(10, 7, {50, 100});
  EXPECT_EQ(late.update("bus", trip, 10, 7, 1, 49.5, 10000, 0.0), nullptr);
  EXPECT_NE(late.update("bus", trip, 10, 7, 1, 50, 10000, 0.0), nullptr);
}

TEST_F(JourneyUpdate, OfAnOlderShapeIsNullAndChangesNothing) {
  update("bus", 50, 10500);
  log.clear();
  EXPECT_EQ(journey.update("bus", next_trip, 9, 6, 1, 60, 20000, 0.0), nullptr);
  EXPECT_EQ(journey.update("tram", next_trip, 9, 6, 1, 60, 20000, 0.0), nullptr);
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey, 1), "shape 7, 2 milestones, 1 trajectories");
  EXPECT_TRUE(journey.is_served_by("bus", 10499));
  EXPECT_FALSE(holds(journey, "tram"));
  EXPECT_EQ(count_bus_stops(journey), 3u);
}

TEST_F(JourneyUpdate, OfANewShapeIsNullAndWipesTheJourneyAndLeavesTheRecord) {
  Forecast* forecast = update("bus", 50, 10500);
  update("tram", 50, 10500);
  log.clear();
  EXPECT_EQ(journey.update("bus", trip, 11, 8, 1, 60, 20000, 0.0), nullptr);
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(held(journey, 1), "shape 8, 0 milestones, 0 trajectories");
  EXPECT_FALSE(holds(journey, "bus"));
  EXPECT_FALSE(holds(journey, "tram"));
  EXPECT_EQ(forecast->get_first_index(), 2u);
  EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 10500 [10500, 10500]",
                                           "C 11000 [11000, 11000]"));
  EXPECT_EQ(count_bus_stops(journey), 0u);
}

TEST_F(JourneyUpdate, OfANewShapeWipesEvenWhenItsOffsetIsOffTheRoute) {
  EXPECT_EQ(journey.update("bus", trip, 11, 8, 1, -5, 20000, 0.0), nullptr);
  EXPECT_EQ(held(journey, 1), "shape 8, 0 milestones, 0 trajectories");
}

TEST_F(JourneyUpdate, RejectedReportThrowsAndLeavesVehicleAndRecord) {
  Forecast* forecast = update("bus", 50, 10500);
  EXPECT_EQ(update_rejection("bus", 44.5, 10600, 5.0),
            "Invalid update: decreasing offset(s).\n"
            "Invalid update for bus:\n"
            "Given time stamp: 10600\n"
            "Given offset: 44.5\n"
            "Given max_error: 5\n"
            "Previous updates:\n"
            "Time stamp: 10500  Offset: 50\n");
  EXPECT_THAT(
      log.lines(),
      ElementsAre("error Vehicle::update_position KWXBN0021E %e%s%s (44.5, \"bus\", \"T17\")",
                  "error Vehicle::update_position \"Invalid update for bus:\\nGiven time stamp: "
                  "10600\\nGiven offset: 44.5\\nGiven max_error: 5\\nPrevious updates:\\nTime "
                  "stamp: 10500  Offset: 50\\n\""));
  EXPECT_TRUE(journey.is_served_by("bus", 10499)) << "the last report is still that of 10500";
  EXPECT_EQ(forecast->get_first_index(), 2u);
  EXPECT_THAT(rows(*forecast), ElementsAre("A 10000 [10000, 10000]", "B 10500 [10500, 10500]",
                                           "C 11000 [11000, 11000]"));
  EXPECT_EQ(update("bus", 60, 10600), forecast);
}

TEST_F(JourneyUpdate, ReportWithinTheToleranceIsPulledUp) {
  update("bus", 50, 10500);
  Forecast* forecast = update("bus", 45, 10600, 5.0);
  EXPECT_EQ((*forecast)[2].get_time(), 11100) << "from offset 50";
}

TEST_F(JourneyUpdate, OlderReportOfTheSameJourneyIsInserted) {
  update("bus", 50, 10500);
  Forecast* forecast = update("bus", 25, 10100);
  ASSERT_NE(forecast, nullptr);
  EXPECT_EQ((*forecast)[1].get_time(), 10500);
  EXPECT_TRUE(journey.is_served_by("bus", 10499));
}

// The stop at 100 was there before the milestones, and nobody compared.
TEST_F(JourneyUpdate, ReportWhoseForecastThrowsHasBeenRecorded) {
  TestJourney odd;
  odd.read_bus_stops(10, 7, {"A", "B"}, {0, 100});
  odd.read_milestones(10, 7, {0, 50});
  odd.read_history(10, 7, 1, {0, 500});
  log.clear();
  try {
    odd.update("bus", trip, 10, 7, 1, 20, 10200, 0.0);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const std::invalid_argument& error) {
    EXPECT_STREQ(error.what(), "offset 100 out of range [0,50]");
  }
  EXPECT_THAT(
      log.lines(),
      ElementsAre(
          "info Vehicle::update_position KWXBN0032I %s%s (\"bus\", \"T17\")",
          "error BusRoute::get_interpolation_parameters KWXBN0020E %e%e%e%lld (100, 0, 50, 7)"));
  EXPECT_TRUE(odd.is_served_by("bus", 10199));
  odd.read_bus_stops(10, 7, {"A", "B"}, {0, 50});
  Forecast* forecast = odd.update("bus", trip, 10, 7, 1, 30, 10400, 0.0);
  EXPECT_EQ((*forecast)[0].get_time(), 10000) << "the start time was set";
}

TEST_F(JourneyUpdate, StoredOffsetBeyondShortenedMilestonesThrows) {
  TestJourney odd;
  odd.read_milestones(10, 7, {0, 100});
  odd.update("bus", trip, 10, 7, 1, 90, 10900, 0.0);
  odd.read_milestones(10, 7, {0, 50});
  odd.read_history(10, 7, 1, {0, 500});
  EXPECT_THROW(odd.update("bus", trip, 10, 7, 1, 40, 11000, 60.0), std::invalid_argument);
  EXPECT_TRUE(odd.is_served_by("bus", 10999)) << "recorded, pulled up to 90";
}

TEST_F(JourneyUpdate, AStoreOfCapacityZeroIsNoHistory) {
  Configuration configuration;
  configuration.max_size_history = 0;
  TestJourney empty(configuration);
  empty.read_milestones(10, 7, {0, 100});
  empty.read_bus_stops(10, 7, {"A", "B"}, {0, 100});
  empty.read_history(10, 7, 1, {0, 1000});
  log.clear();
  Forecast* forecast = empty.update("bus", trip, 10, 7, 1, 50, 10500, 0.0);
  ASSERT_NE(forecast, nullptr);
  EXPECT_THAT(
      log.lines(),
      ElementsAre("info Vehicle::update_position KWXBN0032I %s%s (\"bus\", \"T17\")", no_history));
  EXPECT_EQ(forecast->get_first_index(), no_forecast);
  EXPECT_EQ(forecast->get_confidence(), 0.0);
}

TEST_F(JourneyUpdate, ServesAVehicleWhileItHoldsALaterReport) {
  update("bus", 50, 10500);
  EXPECT_TRUE(journey.is_served_by("bus", 10499));
  EXPECT_TRUE(journey.is_served_by("bus", LLONG_MIN));
  EXPECT_TRUE(holds(journey, "bus")) << "it stays";
}

TEST_F(JourneyUpdate, ReleasesAVehicleForAnEqualOrLaterReport) {
  update("bus", 50, 10500);
  EXPECT_FALSE(journey.is_served_by("bus", 10500));
  EXPECT_FALSE(holds(journey, "bus"));
  update("bus", 50, 10500);
  EXPECT_FALSE(journey.is_served_by("bus", LLONG_MAX));
  EXPECT_FALSE(holds(journey, "bus"));
}

TEST_F(JourneyUpdate, DoesNotServeAnUnknownVehicle) {
  update("bus", 50, 10500);
  EXPECT_FALSE(journey.is_served_by("tram", 0));
  EXPECT_FALSE(journey.is_served_by("", 0));
  EXPECT_TRUE(holds(journey, "bus"));
}

TEST_F(JourneyUpdate, ServesByTimesWithTheirSign) {
  update("bus", 50, -100);
  EXPECT_TRUE(journey.is_served_by("bus", -101));
  EXPECT_FALSE(journey.is_served_by("bus", -100));
}

TEST_F(JourneyUpdate, ServesByTheNewestReportNotByTheLastToArrive) {
  update("bus", 50, 10500);
  update("bus", 25, 10100);
  EXPECT_TRUE(journey.is_served_by("bus", 10300));
}

TEST_F(JourneyUpdate, SweepKeepsVehiclesWithNewUpdates) {
  update("bus", 25, 10250);
  journey.remove_inactive_vehicles();
  EXPECT_TRUE(holds(journey, "bus")) << "its first sweep";
  update("bus", 50, 10500);
  journey.remove_inactive_vehicles();
  EXPECT_TRUE(holds(journey, "bus"));
  journey.remove_inactive_vehicles();
  EXPECT_FALSE(holds(journey, "bus"));
}

TEST_F(JourneyUpdate, SweepDoesNotCountRejectedReports) {
  update("bus", 50, 10500);
  journey.remove_inactive_vehicles();
  update_rejection("bus", 10, 10600);
  update("bus", 200, 10700);
  journey.remove_inactive_vehicles();
  EXPECT_FALSE(holds(journey, "bus"));
}

TEST_F(JourneyUpdate, SweepCountsTheFirstReportOfANewTrip) {
  update("bus", 50, 10500);
  journey.remove_inactive_vehicles();
  update("bus", 0, 20000, 0.0, 1, next_trip);
  journey.remove_inactive_vehicles();
  EXPECT_TRUE(holds(journey, "bus")) << "one update before, one update now";
}

TEST_F(JourneyUpdate, SweepAsksEachVehicleForItself) {
  update("bus", 25, 10250);
  update("tram", 25, 10250);
  update("ferry", 25, 10250);
  journey.remove_inactive_vehicles();
  update("tram", 50, 10500);
  journey.remove_inactive_vehicles();
  EXPECT_FALSE(holds(journey, "bus"));
  EXPECT_TRUE(holds(journey, "tram"));
  EXPECT_FALSE(holds(journey, "ferry"));
}

TEST_F(JourneyUpdate, SweepOfAnEmptyJourneyDoesNothing) {
  journey.remove_inactive_vehicles();
  EXPECT_EQ(held(journey, 1), "shape 7, 2 milestones, 1 trajectories");
}

Configuration travel_mode() {
  Configuration configuration;
  configuration.mode = "travel";
  return configuration;
}

class JourneyUpdateTravel : public JourneyUpdate {
 protected:
  JourneyUpdateTravel() : JourneyUpdate(travel_mode()) {}
};

TEST_F(JourneyUpdateTravel, ForecastsTheLegsAheadAndTheOneUnderWay) {
  update("bus", 25, 10250);
  Forecast* forecast = update("bus", 75, 10850);
  EXPECT_EQ(forecast->get_mode(), Forecast::travel);
  EXPECT_EQ(forecast->get_first_index(), 1u);
  EXPECT_THAT(rows(*forecast), ElementsAre("A>B 550 [550, 550]", "B>C 500 [500, 500]"));
}

TEST_F(JourneyUpdateTravel, OneStopOnlyCannotBe) {
  EXPECT_EQ(rejection<invalid_bus_stops>([&] { journey.read_bus_stops(10, 7, {"A"}, {0}); }),
            "Invalid bus stops: number of bus stops=1 (less than 2)\n");
}

TEST_F(JourneyUpdateTravel, WithoutStopsTheFirstIndexIsThatBeforeNone) {
  journey.read_milestones(11, 8, {0, 100});
  journey.read_history(11, 8, 1, {0, 1000});
  Forecast* forecast = journey.update("bus", trip, 11, 8, 1, 50, 10500, 0.0);
  ASSERT_NE(forecast, nullptr);
  EXPECT_EQ(forecast->get_first_index(), 4294967295u);
  EXPECT_EQ(forecast->get_confidence(), 1.0 - 1.0 / std::sqrt(2.0));
}

}  // namespace
