#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "ExposedRegression.h"

namespace {

using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const double not_a_number = std::numeric_limits<double>::quiet_NaN();
const long long earliest = std::numeric_limits<long long>::min();

class TravelTest : public RegressionTest {
 protected:
  void SetUp() override {
    forecast.initialize("travel");
    route.read_milestones({0.0, 100.0, 200.0, 300.0});
  }
};

TEST_F(TravelTest, OneTrajectoryGivesItsOwnDurationsWithoutSpread) {
  read_stops({0.0, 100.0, 200.0, 250.0, 300.0});
  read_history({{0, 40, 90, 200}});
  vehicle.set_start_time(1000);
  report(100.0, 1050);
  report(150.0, 2000);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 1u);
  // The leg under way has its whole historical duration.
  EXPECT_THAT(rows(), ElementsAre(observed(50), observed(50), observed(55), observed(55)));
  EXPECT_EQ(forecast[2].get_conditional_mean(), 55.0);
  EXPECT_EQ(forecast[2].get_conditional_var(), 0.0);
  EXPECT_EQ(forecast[0].get_conditional_mean(), 0.375);
  EXPECT_EQ(forecast[0].get_conditional_var(), 0.125);
  EXPECT_EQ(forecast.get_confidence(), 1.0 - 1.0 / std::sqrt(2.0));
}

TEST_F(TravelTest, TwoEquallyNearTrajectoriesGiveTheirMeanAndHalfTheirDifference) {
  read_stops({100.0, 200.0, 300.0});
  read_history({{0, 40, 100, 200}, {0, 60, 130, 250}});
  vehicle.set_start_time(1000);
  report(100.0, 1050);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(Row{65, 60, 70}, Row{110, 100, 120}));
  EXPECT_EQ(forecast[1].get_conditional_mean(), 110.0);
  EXPECT_EQ(forecast[1].get_conditional_var(), 100.0);
}

TEST_F(TravelTest, VehicleBeforeTheSecondStopHasAllLegsForecast) {
  read_stops({0.0, 100.0, 200.0});
  read_history({{0, 40, 100, 200}});
  vehicle.set_start_time(1000);
  report(50.0, 1050);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(observed(40), observed(60)));
}

TEST_F(TravelTest, VehiclePastTheLastStopIsOnlyObserved) {
  read_stops({0.0, 100.0, 200.0});
  read_history({{0, 40, 100, 200}});
  vehicle.set_start_time(1000);
  report(200.0, 1100);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(50), observed(50)));
}

TEST_F(TravelTest, RouteWithOneStopHasNoLegs) {
  read_stops({100.0});
  read_history({{0, 40, 100, 200}});
  report(50.0, 1050);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(TravelTest, RouteWithoutStopsHasNoLegs) {
  route.read_bus_stops({}, {});
  read_history({{0, 40, 100, 200}});
  report(50.0, 1050);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 4294967295u);
  EXPECT_EQ(forecast.get_confidence(), 1.0 - 1.0 / std::sqrt(2.0));
}

TEST_F(TravelTest, LowerBoundIsNotNegative) {
  read_stops({200.0, 300.0});
  read_history({{0, 40, 100, 90}, {0, 60, 120, 220}});
  vehicle.set_start_time(1000);
  report(200.0, 1110);
  compute(1.0);
  // Durations -10 and 100: 45 +- 55.
  EXPECT_THAT(rows(), ElementsAre(Row{45, 0, 100}));
  EXPECT_EQ(forecast[0].get_conditional_mean(), 45.0);
  EXPECT_EQ(forecast[0].get_conditional_var(), 3025.0);
}

TEST_F(TravelTest, TimeAndUpperBoundMayBeNegative) {
  read_stops({200.0, 300.0});
  read_history({{0, 40, 100, 90}});
  report(200.0, 1110);
  compute(1.0);
  EXPECT_THAT(rows(), ElementsAre(Row{-10, 0, -10}));
}

TEST_F(TravelTest, DurationsAndBoundsAreRoundedHalvesUp) {
  read_stops({200.0, 250.0});
  read_history({{0, 40, 100, 201}, {0, 60, 120, 225}});
  vehicle.set_start_time(1000);
  report(200.0, 1110);
  compute(1.0);
  EXPECT_THAT(rows(), ElementsAre(Row{52, 51, 53}));
  history = History(10, History::ring);
  read_history({{0, 40, 100, 95}});
  compute(1.0);
  EXPECT_THAT(rows(), ElementsAre(Row{-2, 0, -2}));
}

TEST_F(TravelTest, WeightsAndBandAreThoseOfTheFormula) {
  read_stops({100.0, 300.0});
  read_history({{0, 100, 150, 200}, {0, 104, 160, 230}, {0, 100, 170, 260}});
  vehicle.set_start_time(1000);
  report(100.0, 1100);
  compute(4.5);
  const long double w = std::exp(-1.0L);
  const long double mean = (100.0L + w * 126.0L + 160.0L) / (2.0L + w);
  const long double square = (10000.0L + w * 15876.0L + 25600.0L) / (2.0L + w);
  EXPECT_THAT(forecast[0].get_conditional_mean(), DoubleNear(static_cast<double>(mean), 1e-10));
  EXPECT_THAT(forecast[0].get_conditional_var(),
              DoubleNear(static_cast<double>(square - mean * mean), 1e-8));
  EXPECT_THAT(rows(), ElementsAre(Row{129, 102, 157}));
}

TEST_F(TravelTest, BandwidthThatIsNotANumberReachesTheRows) {
  read_stops({100.0, 300.0});
  read_history({{0, 40, 100, 200}, {0, 60, 130, 300}});
  report(100.0, 1050);
  compute(not_a_number);
  EXPECT_THAT(rows(), ElementsAre(Row{earliest, 0, earliest}));
  EXPECT_TRUE(std::isnan(forecast[0].get_conditional_var()));
  EXPECT_TRUE(std::isnan(forecast[0].get_conditional_mean()));
}

TEST_F(TravelTest, OneRowIsFilledWithTheGivenKernel) {
  read_stops({0.0, 100.0, 200.0, 300.0});
  read_history({{0, 40, 100, 200}, {0, 60, 150, 300}});
  Kernel kernel(2, 1.0);
  kernel[1] = 3.0;
  kernel.set_normalizer(4.0);
  method(1.0).compute_travel_time(&vehicle, &history, 3, 2, kernel);
  EXPECT_THAT(rows(), ElementsAre(untouched(), Row{83, 70, 95}, untouched()));
  EXPECT_EQ(forecast[1].get_conditional_mean(), 82.5);
  EXPECT_EQ(forecast[1].get_conditional_var(), 168.75);
}

TEST_F(TravelTest, NegativeVarianceOfAGivenKernelBecomesZero) {
  read_stops({100.0, 200.0});
  read_history({{0, 40, 100, 200}});
  Kernel kernel(1, 1.0);
  kernel.set_normalizer(0.5);
  method(1.0).compute_travel_time(&vehicle, &history, 3, 1, kernel);
  EXPECT_EQ(forecast[0].get_conditional_var(), 0.0);
  EXPECT_FALSE(std::signbit(forecast[0].get_conditional_var()));
  EXPECT_THAT(rows(), ElementsAre(observed(120)));
}

TEST_F(TravelTest, PassedLegsAreAskedOfTheVirtualOperation) {
  read_stops({100.0, 150.0, 200.0, 300.0});
  read_history({{0, 40, 100, 200}});
  report(100.0, 1050);
  OwnPassedStops algorithm(&forecast, &route, {}, {1.0});
  static_cast<ForecastAlgorithm&>(algorithm).compute_forecast(&vehicle, &history, 3);
  EXPECT_THAT(algorithm.calls, ElementsAre("travel"));
  EXPECT_EQ(forecast.get_first_index(), 1u);
  EXPECT_THAT(rows(), ElementsAre(untouched(), observed(30), observed(100)));
}

}  // namespace
