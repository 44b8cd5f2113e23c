#include <gmock/gmock.h>

#include <limits>

#include "ExposedAlgorithm.h"

namespace {

using ::testing::ElementsAre;

const double not_a_number = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const long long earliest = std::numeric_limits<long long>::min();
const long long latest = std::numeric_limits<long long>::max();
const unsigned int reset_index = 4294967295u;

class PassedStopsTest : public AlgorithmTest {
 protected:
  Exposed<ForecastAlgorithm> algorithm{&forecast, &route, {}, {}};
};

// The passed stops.

TEST_F(PassedStopsTest, WithoutStopsNoneIsAhead) {
  forecast.initialize("arrival");
  read_stops({});
  report(50.0, 1000);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 0u);
  EXPECT_EQ(forecast.get_first_index(), 0u);
}

TEST_F(PassedStopsTest, VehicleBeforeTheFirstStopHasPassedNone) {
  forecast.initialize("arrival");
  read_stops({100.0, 200.0});
  report(99.5, 1000);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 0u);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(untouched(), untouched()));
}

TEST_F(PassedStopsTest, VehicleAtAStopHasPassedIt) {
  forecast.initialize("arrival");
  read_stops({100.0, 200.0, 300.0});
  report(100.0, 1000);
  report(200.0, 1100);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 2u);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(observed(1000), observed(1100), untouched()));
}

TEST_F(PassedStopsTest, VehiclePastTheLastStopHasPassedAll) {
  forecast.initialize("arrival");
  read_stops({200.0, 250.0});
  report(100.0, 1000);
  report(300.0, 1100);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(1050), observed(1075)));
}

TEST_F(PassedStopsTest, PassedStopsKeepMeanAndVariance) {
  forecast.initialize("arrival");
  read_stops({200.0});
  report(300.0, 1100);
  algorithm.initialize_arrival_times(&vehicle);
  EXPECT_EQ(forecast[0].get_conditional_var(), 0.125);
  EXPECT_EQ(forecast[0].get_conditional_mean(), 0.375);
}

TEST_F(PassedStopsTest, StopAtOrBeforeZeroWasPassedAtTheStart) {
  forecast.initialize("arrival");
  read_stops({-10.0, -0.0, 0.0, 50.0});
  vehicle.set_start_time(900);
  report(100.0, 1000);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 4u);
  EXPECT_THAT(rows(), ElementsAre(observed(900), observed(900), observed(900), observed(950)));
}

TEST_F(PassedStopsTest, StopBeforeTheFirstUpdateLiesBetweenItAndTheStart) {
  forecast.initialize("arrival");
  read_stops({25.0, 40.0, 100.0});
  vehicle.set_start_time(800);
  report(100.0, 1000);
  report(200.0, 1010);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 3u);
  EXPECT_THAT(rows(), ElementsAre(observed(850), observed(880), observed(1000)));
}

TEST_F(PassedStopsTest, PassingTimesAreRoundedHalvesUp) {
  forecast.initialize("arrival");
  read_stops({150.0, 250.0});
  report(100.0, 1000);
  report(200.0, 1099);
  report(300.0, 1100);
  algorithm.initialize_arrival_times(&vehicle);
  EXPECT_THAT(rows(), ElementsAre(observed(1050), observed(1100)));
}

TEST_F(PassedStopsTest, NegativePassingTimesAreRoundedHalvesUp) {
  forecast.initialize("arrival");
  read_stops({50.0});
  vehicle.set_start_time(-5);
  report(100.0, 0);
  algorithm.initialize_arrival_times(&vehicle);
  EXPECT_THAT(rows(), ElementsAre(observed(-2)));
}

TEST_F(PassedStopsTest, StopOfAStandingVehicleWasPassedAtItsFirstReportThere) {
  forecast.initialize("arrival");
  read_stops({100.0, 150.0});
  report(50.0, 900);
  report(100.0, 1000);
  report(100.0, 1050);
  report(200.0, 1150);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(1000), observed(1100)));
}

TEST_F(PassedStopsTest, SearchGoesOnFromTheStopBefore) {
  forecast.initialize("arrival");
  read_stops({250.0, 150.0});
  report(100.0, 1000);
  report(200.0, 1100);
  report(300.0, 1400);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(1250), observed(950)));
}

TEST_F(PassedStopsTest, StopAheadEndsTheFillEvenWhenLaterOnesArePassed) {
  forecast.initialize("arrival");
  read_stops({50.0, 500.0, 60.0});
  vehicle.set_start_time(900);
  report(100.0, 1000);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 1u);
  EXPECT_THAT(rows(), ElementsAre(observed(950), untouched(), untouched()));
}

TEST_F(PassedStopsTest, DifferencesOfPassingTimesWrap) {
  forecast.initialize("arrival");
  read_stops({50.0});
  vehicle.set_start_time(earliest);
  report(100.0, latest);
  algorithm.initialize_arrival_times(&vehicle);
  // Half of the difference -1 after the start, and not half of all time.
  EXPECT_THAT(rows(), ElementsAre(observed(earliest)));
  vehicle.set_start_time(latest - 5);
  algorithm.initialize_arrival_times(&vehicle);
  EXPECT_THAT(rows(), ElementsAre(observed(earliest)));
}

TEST_F(PassedStopsTest, DifferencesOfPassingTimesWrapBetweenUpdatesAsWell) {
  forecast.initialize("travel");
  read_stops({50.0, 150.0});
  report(0.0, earliest);
  report(200.0, latest);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 2u);
  // Both at the smallest time, as precisely as a double tells.
  EXPECT_THAT(rows(), ElementsAre(observed(0)));
}

TEST_F(PassedStopsTest, UpdateThatIsNotANumberGivesTheSmallestTime) {
  forecast.initialize("arrival");
  read_stops({0.0, 50.0});
  vehicle.set_start_time(900);
  report(not_a_number, 1000);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(900), observed(earliest)));
}

TEST_F(PassedStopsTest, UpdateAtInfinityLeavesEverythingAtTheStart) {
  forecast.initialize("arrival");
  read_stops({0.0, 50.0, 1e300});
  vehicle.set_start_time(900);
  report(infinity, 1000);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 3u);
  EXPECT_THAT(rows(), ElementsAre(observed(900), observed(900), observed(900)));
}

TEST_F(PassedStopsTest, StopThatIsNotANumberCountsAsTheStart) {
  forecast.initialize("arrival");
  read_stops({not_a_number, 50.0});
  vehicle.set_start_time(900);
  report(100.0, 1000);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(900), observed(950)));
}

TEST_F(PassedStopsTest, VehicleWithoutUpdatesHasPassedWhatLiesAtOrBeforeZero) {
  forecast.initialize("arrival");
  read_stops({0.0, 50.0});
  vehicle.set_start_time(900);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 1u);
  EXPECT_THAT(rows(), ElementsAre(observed(900), untouched()));
}

// The completed legs.

TEST_F(PassedStopsTest, VehicleBeforeTheSecondStopHasCompletedNoLeg) {
  forecast.initialize("travel");
  read_stops({0.0, 100.0, 200.0});
  report(99.5, 1000);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 1u);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(untouched(), untouched()));
}

TEST_F(PassedStopsTest, VehicleBeforeTheFirstStopIsAheadOfTheSecond) {
  forecast.initialize("travel");
  read_stops({50.0, 100.0});
  report(10.0, 1000);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 1u);
}

TEST_F(PassedStopsTest, CompletedLegsAreTheDifferencesOfThePassingTimes) {
  forecast.initialize("travel");
  read_stops({0.0, 100.0, 200.0, 250.0, 300.5});
  vehicle.set_start_time(900);
  report(50.0, 940);
  report(100.0, 1000);
  report(300.0, 1100);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 4u);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(observed(100), observed(50), observed(25), untouched()));
}

TEST_F(PassedStopsTest, VehiclePastTheLastStopHasCompletedAllLegs) {
  forecast.initialize("travel");
  read_stops({0.0, 100.0, 300.0});
  vehicle.set_start_time(900);
  report(100.0, 1000);
  report(300.0, 1100);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 3u);
  EXPECT_THAT(rows(), ElementsAre(observed(100), observed(100)));
}

TEST_F(PassedStopsTest, CompletedLegsKeepMeanAndVariance) {
  forecast.initialize("travel");
  read_stops({0.0, 100.0});
  report(100.0, 1000);
  algorithm.initialize_travel_times(&vehicle);
  EXPECT_EQ(forecast[0].get_conditional_var(), 0.125);
  EXPECT_EQ(forecast[0].get_conditional_mean(), 0.375);
}

TEST_F(PassedStopsTest, FirstStopAfterTheStartWasPassedBetweenTwoUpdates) {
  forecast.initialize("travel");
  read_stops({150.0, 200.0});
  report(100.0, 1000);
  report(200.0, 1100);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(50)));
}

TEST_F(PassedStopsTest, FirstStopBeforeTheFirstUpdateLiesBetweenItAndTheStart) {
  forecast.initialize("travel");
  read_stops({25.0, 75.0});
  vehicle.set_start_time(800);
  report(100.0, 1000);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(100)));
}

TEST_F(PassedStopsTest, LegsAreRoundedAndPassingTimesAreNot) {
  forecast.initialize("travel");
  read_stops({0.0, 1.0, 2.0, 3.0, 4.0, 5.0});
  vehicle.set_start_time(0);
  report(10.0, 24);
  // Passed at 2.4, 4.8, 7.2, 9.6 and 12: between the rounded times lies a 3.
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 6u);
  EXPECT_THAT(rows(), ElementsAre(observed(2), observed(2), observed(2), observed(2), observed(2)));
}

TEST_F(PassedStopsTest, PassingTimeOfTheFirstStopIsNotRounded) {
  forecast.initialize("travel");
  read_stops({4.0, 8.0});
  report(10.0, 1);
  // Passed at 0.4 and at 0.8.
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(0)));
}

TEST_F(PassedStopsTest, OnlyTheFirstStopTakesTheStartForAnOffsetAtOrBeforeZero) {
  forecast.initialize("travel");
  read_stops({-20.0, -10.0, 0.0, 10.0});
  vehicle.set_start_time(900);
  report(100.0, 1000);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 4u);
  EXPECT_THAT(rows(), ElementsAre(observed(-10), observed(10), observed(10)));
}

TEST_F(PassedStopsTest, LaterStopAtZeroUnderAVehicleAtZeroHasNoTime) {
  forecast.initialize("travel");
  read_stops({-10.0, 0.0});
  vehicle.set_start_time(900);
  report(0.0, 1000);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(earliest)));
}

TEST_F(PassedStopsTest, SearchForLegsGoesOnFromTheStopBefore) {
  forecast.initialize("travel");
  read_stops({250.0, 150.0});
  report(100.0, 1000);
  report(200.0, 1100);
  report(300.0, 1400);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(950 - 1250)));
}

TEST_F(PassedStopsTest, FirstStopAheadDoesNotEndTheFillOfLegs) {
  forecast.initialize("travel");
  read_stops({100.0, 50.0});
  vehicle.set_start_time(900);
  report(100.0, 1000);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(-50)));
}

TEST_F(PassedStopsTest, RouteWithFewerThanTwoStopsHasNoLegs) {
  forecast.initialize("travel");
  forecast.set_first_index(99);
  report(100.0, 1000);
  route.read_bus_stops({}, {});
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 0u);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  for (const double offset : {0.0, 50.0, 200.0}) {
    forecast.set_first_index(99);
    route.read_bus_stops({offset}, {"A"});
    EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 1u);
    EXPECT_EQ(forecast.get_first_index(), 0u);
  }
}

// The fill without a method.

TEST_F(PassedStopsTest, ArrivalFillWithoutAMethodKnowsNothingOfTheStopsAhead) {
  forecast.initialize("arrival");
  read_stops({0.0, 100.0, 200.0, 300.0});
  vehicle.set_start_time(900);
  report(150.0, 1050);
  algorithm.forecast_arrival_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(rows(),
              ElementsAre(observed(900), observed(1000), Row{0, 0, latest}, Row{0, 0, latest}));
  EXPECT_EQ(forecast[2].get_conditional_var(), 0.125);
  EXPECT_EQ(forecast[2].get_conditional_mean(), 0.375);
}

TEST_F(PassedStopsTest, ArrivalFillWithoutAMethodPastTheLastStop) {
  forecast.initialize("arrival");
  read_stops({50.0, 100.0});
  vehicle.set_start_time(900);
  report(100.0, 1000);
  algorithm.forecast_arrival_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(950), observed(1000)));
}

TEST_F(PassedStopsTest, TravelFillWithoutAMethodBeginsWithTheArrivalTimes) {
  forecast.initialize("travel");
  read_stops({0.0, 100.0, 200.0, 300.0, 400.0});
  vehicle.set_start_time(900);
  report(250.0, 1150);
  algorithm.forecast_travel_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  // Three arrival times first; then the unknown legs from row 2 on.
  EXPECT_THAT(rows(),
              ElementsAre(observed(900), observed(1000), Row{0, 0, latest}, Row{0, 0, latest}));
}

TEST_F(PassedStopsTest, TravelFillWithoutAMethodStaysInsideTheRecordPastTheLastStop) {
  forecast.initialize("travel");
  read_stops({0.0, 100.0, 200.0});
  vehicle.set_start_time(900);
  report(200.0, 1100);
  algorithm.forecast_travel_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(900), observed(1000)));
}

TEST_F(PassedStopsTest, TravelFillWithoutAMethodStaysInsideTheRecordBeforeTheFirstStop) {
  forecast.initialize("travel");
  read_stops({50.0, 100.0, 200.0});
  report(10.0, 1000);
  algorithm.forecast_travel_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), reset_index);
  EXPECT_THAT(rows(), ElementsAre(Row{0, 0, latest}, Row{0, 0, latest}));
}

TEST_F(PassedStopsTest, FillsWithoutAMethodStayInsideTheRecordOfTheOtherMode) {
  forecast.initialize("travel");
  read_stops({50.0, 100.0, 200.0});
  report(10.0, 1000);
  algorithm.forecast_arrival_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(Row{0, 0, latest}, Row{0, 0, latest}));

  forecast.initialize("arrival");
  read_stops({50.0, 100.0, 200.0});
  algorithm.forecast_travel_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), reset_index);
  EXPECT_THAT(rows(), ElementsAre(Row{0, 0, latest}, Row{0, 0, latest}, untouched()));
}

TEST_F(PassedStopsTest, FillsWithoutAMethodStayInsideARecordThatWasNeverSized) {
  route.read_bus_stops({0.0, 100.0, 200.0}, {"A", "B", "C"});
  report(100.0, 1000);
  algorithm.forecast_arrival_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  algorithm.forecast_travel_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 1u);
  algorithm.initialize_travel_times(&vehicle);
  EXPECT_EQ(forecast.size(), 0u);
}

}  // namespace
