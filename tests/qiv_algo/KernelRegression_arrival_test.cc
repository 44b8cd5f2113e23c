#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "ExposedRegression.h"
#include "support/RecordedLog.h"

namespace {

using ::testing::DoubleNear;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const double not_a_number = std::numeric_limits<double>::quiet_NaN();
const long long earliest = std::numeric_limits<long long>::min();

class ArrivalTest : public RegressionTest {
 protected:
  void SetUp() override {
    forecast.initialize("arrival");
    route.read_milestones({0.0, 100.0, 200.0, 300.0});
  }
};

TEST_F(ArrivalTest, OneTrajectoryGivesItsOwnTimesWithoutSpread) {
  read_stops({0.0, 150.0, 250.0, 300.0});
  read_history({{0, 40, 90, 200}});
  vehicle.set_start_time(1000);
  report(100.0, 1050);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 1u);
  EXPECT_THAT(rows(), ElementsAre(observed(1000), observed(1075), observed(1155), observed(1210)));
  EXPECT_EQ(forecast[2].get_conditional_mean(), 105.0);
  EXPECT_EQ(forecast[2].get_conditional_var(), 0.0);
  EXPECT_EQ(forecast[0].get_conditional_mean(), 0.375);
  EXPECT_EQ(forecast[0].get_conditional_var(), 0.125);
  EXPECT_EQ(forecast.get_confidence(), 1.0 - 1.0 / std::sqrt(2.0));
  EXPECT_EQ(forecast.get_quality(), 1.0);
}

TEST_F(ArrivalTest, TwoEquallyNearTrajectoriesGiveTheirMeanAndHalfTheirDifference) {
  read_stops({200.0, 300.0});
  read_history({{0, 40, 100, 200}, {0, 60, 130, 250}});
  vehicle.set_start_time(1000);
  report(100.0, 1050);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  // Increments 60 and 70, then 160 and 190.
  EXPECT_THAT(rows(), ElementsAre(Row{1115, 1110, 1120}, Row{1225, 1210, 1240}));
  EXPECT_EQ(forecast[0].get_conditional_mean(), 65.0);
  EXPECT_EQ(forecast[0].get_conditional_var(), 25.0);
  EXPECT_EQ(forecast[1].get_conditional_mean(), 175.0);
  EXPECT_EQ(forecast[1].get_conditional_var(), 225.0);
}

TEST_F(ArrivalTest, WeightsAndBandAreThoseOfTheFormula) {
  read_stops({300.0});
  read_history({{0, 100, 150, 200}, {0, 104, 160, 230}, {0, 100, 170, 260}});
  vehicle.set_start_time(1000);
  report(100.0, 1100);
  // Variance 32 / 9; distances 0, 4 and 0; bandwidth 4.5 makes the exponent -1.
  compute(4.5);
  const long double w = std::exp(-1.0L);
  const long double mean = (100.0L + w * 126.0L + 160.0L) / (2.0L + w);
  const long double square = (10000.0L + w * 15876.0L + 25600.0L) / (2.0L + w);
  const long double variance = square - mean * mean;
  EXPECT_THAT(forecast[0].get_conditional_mean(), DoubleNear(static_cast<double>(mean), 1e-10));
  EXPECT_THAT(forecast[0].get_conditional_var(), DoubleNear(static_cast<double>(variance), 1e-8));
  EXPECT_THAT(rows(), ElementsAre(Row{1229, 1202, 1257}));
  EXPECT_EQ(forecast.get_confidence(), 0.5);
}

TEST_F(ArrivalTest, IncrementsBeginAtTheLastUpdate) {
  read_stops({300.0});
  read_history({{0, 40, 100, 200}});
  vehicle.set_start_time(1000);
  report(50.0, 1010);
  report(150.0, 1200);
  compute(1.0);
  EXPECT_THAT(rows(), ElementsAre(observed(1200 + 130)));
}

TEST_F(ArrivalTest, WithoutUpdatesTheHistoryIsAveragedFromZero) {
  read_stops({100.0, 300.0});
  read_history({{0, 40, 100, 200}, {0, 60, 130, 300}});
  compute(0.001);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(Row{50, 40, 60}, Row{250, 200, 300}));
}

TEST_F(ArrivalTest, VehiclePastTheLastStopIsOnlyObserved) {
  read_stops({0.0, 100.0});
  read_history({{0, 40, 100, 200}});
  vehicle.set_start_time(1000);
  report(200.0, 1100);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(rows(), ElementsAre(observed(1000), observed(1050)));
  EXPECT_EQ(forecast.get_confidence(), 1.0 - 1.0 / std::sqrt(2.0));
}

TEST_F(ArrivalTest, WithoutStopsThereAreNoRows) {
  read_stops({});
  read_history({{0, 40, 100, 200}});
  report(200.0, 1100);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_EQ(forecast.get_confidence(), 1.0 - 1.0 / std::sqrt(2.0));
}

TEST_F(ArrivalTest, LowerBoundIsNotBeforeTheLastTime) {
  read_stops({300.0});
  read_history({{0, 40, 100, 110}, {0, 60, 120, 200}});
  vehicle.set_start_time(1000);
  report(200.0, 1110);
  compute(1.0);
  // Increments 10 and 80: 45 +- 35.
  EXPECT_THAT(rows(), ElementsAre(Row{1155, 1120, 1190}));
  route.read_milestones({0.0, 100.0, 200.0, 300.0});
  history = History(10, History::ring);
  read_history({{0, 40, 100, 100}, {0, 60, 120, 220}});
  forecast.set_first_index(99);
  compute(1.0);
  EXPECT_THAT(rows(), ElementsAre(Row{1160, 1110, 1210}));
  history = History(10, History::ring);
  read_history({{0, 40, 100, 90}, {0, 60, 120, 220}});
  compute(1.0);
  // Increments -10 and 100: 45 +- 55.
  EXPECT_THAT(rows(), ElementsAre(Row{1155, 1110, 1210}));
  EXPECT_EQ(forecast[0].get_conditional_var(), 3025.0);
}

TEST_F(ArrivalTest, LastTimeBoundsTheLowerBoundButNotTimeAndUpperBound) {
  read_stops({300.0});
  read_history({{0, 40, 100, 40}});
  vehicle.set_start_time(1000);
  report(200.0, 1110);
  compute(1.0);
  EXPECT_THAT(rows(), ElementsAre(Row{1050, 1110, 1050}));
}

TEST_F(ArrivalTest, TimesAndBoundsAreRoundedHalvesUp) {
  read_stops({250.0});
  read_history({{0, 40, 100, 201}, {0, 60, 120, 225}});
  vehicle.set_start_time(1000);
  report(200.0, 1110);
  compute(1.0);
  // Increments 50.5 and 52.5.
  EXPECT_THAT(rows(), ElementsAre(Row{1162, 1161, 1163}));
  report(200.0, 1110);
  history = History(10, History::ring);
  read_history({{0, 40, 100, 201}});
  compute(1.0);
  EXPECT_THAT(rows(), ElementsAre(Row{1161, 1161, 1161}));
}

TEST_F(ArrivalTest, NegativeTimesAreRoundedHalvesUp) {
  read_stops({250.0});
  read_history({{0, 40, 100, 101}});
  report(200.0, -1000);
  compute(1.0);
  EXPECT_THAT(rows(), ElementsAre(observed(-999)));
}

TEST_F(ArrivalTest, VarianceIsNeverNegative) {
  read_stops({250.0});
  // Equal increments: the mean of their squares may come out below the square of their mean.
  read_history({{0, 40, 100, 166},
                {0, 40, 100, 166},
                {0, 40, 100, 166},
                {0, 40, 100, 166},
                {0, 40, 100, 166},
                {0, 40, 100, 166},
                {0, 40, 100, 166}});
  for (double offset = 200.0; offset < 250.0; offset += 0.37) {
    report(offset, 1000);
    compute(1.0);
    EXPECT_GE(forecast[0].get_conditional_var(), 0.0) << offset;
    EXPECT_FALSE(std::isnan(forecast[0].get_conditional_var())) << offset;
  }
}

TEST_F(ArrivalTest, BandwidthThatIsNotANumberReachesTheRows) {
  read_stops({0.0, 300.0});
  read_history({{0, 40, 100, 200}, {0, 60, 130, 300}});
  vehicle.set_start_time(1000);
  report(100.0, 1050);
  compute(not_a_number);
  EXPECT_EQ(forecast.get_first_index(), 1u);
  EXPECT_THAT(rows(), ElementsAre(observed(1000), Row{earliest, 1050, earliest}));
  EXPECT_TRUE(std::isnan(forecast[1].get_conditional_var()));
  EXPECT_TRUE(std::isnan(forecast[1].get_conditional_mean()));
  EXPECT_EQ(forecast.get_confidence(), 1.0 - 1.0 / std::sqrt(3.0));
}

TEST_F(ArrivalTest, StopBeforeTheFirstMilestoneIsForecastAtTimeZeroOfTheHistory) {
  route.read_milestones({50.0, 100.0, 200.0, 300.0});
  read_stops({25.0, 100.0});
  read_history({{10, 40, 100, 200}});
  vehicle.set_start_time(1000);
  report(20.0, 1020);
  compute(1.0);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(observed(1020), observed(1060)));
}

TEST_F(ArrivalTest, OneRowIsFilledWithTheGivenKernel) {
  read_stops({0.0, 200.0, 300.0});
  read_history({{0, 40, 100, 200}, {0, 60, 150, 300}});
  report(100.0, 1050);
  Kernel kernel(2, 1.0);
  kernel[1] = 3.0;
  kernel.set_normalizer(4.0);
  method(1.0).compute_arrival_time(&vehicle, &history, 3, 1, kernel);
  // (60 + 3 * 90) / 4 = 82.5; (3600 + 3 * 8100) / 4 - 82.5^2 = 168.75, its root 12.99.
  EXPECT_THAT(rows(), ElementsAre(untouched(), Row{1133, 1120, 1145}, untouched()));
  EXPECT_EQ(forecast[1].get_conditional_mean(), 82.5);
  EXPECT_EQ(forecast[1].get_conditional_var(), 168.75);
  EXPECT_EQ(forecast.get_first_index(), 99u);
}

TEST_F(ArrivalTest, NegativeVarianceOfAGivenKernelBecomesZero) {
  read_stops({200.0});
  read_history({{0, 40, 100, 200}});
  report(100.0, 1050);
  Kernel kernel(1, 1.0);
  kernel.set_normalizer(0.5);
  method(1.0).compute_arrival_time(&vehicle, &history, 3, 0, kernel);
  // 3600 / 0.5 - 120^2 is negative.
  EXPECT_EQ(forecast[0].get_conditional_var(), 0.0);
  EXPECT_FALSE(std::signbit(forecast[0].get_conditional_var()));
  EXPECT_THAT(rows(), ElementsAre(observed(1170)));
}

TEST_F(ArrivalTest, RowsAreWrittenInsideTheRecordOnly) {
  forecast.initialize("travel");
  read_stops({100.0, 200.0, 300.0});
  read_history({{0, 40, 100, 200}});
  report(50.0, 1050);
  method(1.0).forecast_arrival_times(&vehicle, &history, 3);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(observed(1070), observed(1130)));
}

TEST_F(ArrivalTest, UpdateOffTheRouteIsRefusedBeforeAnythingIsWritten) {
  const RecordedLog log;
  read_stops({0.0, 300.0});
  read_history({{0, 40, 100, 200}});
  report(100.0, 1050);
  report(300.5, 1250);
  EXPECT_THROW(compute(1.0), std::invalid_argument);
  EXPECT_EQ(forecast.get_first_index(), 99u);
  EXPECT_THAT(rows(), Each(untouched()));
  EXPECT_EQ(forecast.get_quality(), 1.0);
}

TEST_F(ArrivalTest, StopOffTheRouteIsRefusedAfterTheRowsBeforeIt) {
  const RecordedLog log;
  read_stops({200.0, 301.0});
  read_history({{0, 40, 100, 200}});
  report(100.0, 1050);
  EXPECT_THROW(compute(1.0), std::invalid_argument);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(rows(), ElementsAre(observed(1110), untouched()));
}

TEST_F(ArrivalTest, ForecastIsSilent) {
  const RecordedLog log;
  read_stops({0.0, 300.0});
  read_history({{0, 40, 100, 200}});
  report(100.0, 1050);
  compute(1.0);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ArrivalTest, CategoryIsNotUsed) {
  read_stops({0.0, 300.0});
  read_history({{0, 40, 100, 200}, {0, 60, 130, 300}});
  report(100.0, 45);
  ExposedRegression algorithm = method(1.0);
  algorithm.compute_forecast(&vehicle, &history, -32768);
  const std::vector<Row> first = rows();
  algorithm.compute_forecast(&vehicle, &history, 32767);
  EXPECT_EQ(rows(), first);
}

TEST_F(ArrivalTest, PassedStopsAreAskedOfTheVirtualOperation) {
  read_stops({100.0, 150.0, 200.0, 300.0});
  read_history({{0, 40, 100, 200}});
  report(100.0, 1050);
  OwnPassedStops algorithm(&forecast, &route, {}, {1.0});
  static_cast<ForecastAlgorithm&>(algorithm).compute_forecast(&vehicle, &history, 3);
  EXPECT_THAT(algorithm.calls, ElementsAre("arrival"));
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(rows(), ElementsAre(untouched(), untouched(), observed(1110), observed(1210)));
}

TEST_F(ArrivalTest, KernelComesBeforeThePassedStops) {
  const RecordedLog log;
  read_stops({100.0, 300.0});
  read_history({{0, 40, 100, 200}});
  report(300.5, 1250);
  OwnPassedStops algorithm(&forecast, &route, {}, {1.0});
  EXPECT_THROW(algorithm.forecast_arrival_times(&vehicle, &history, 3), std::invalid_argument);
  EXPECT_THROW(algorithm.forecast_travel_times(&vehicle, &history, 3), std::invalid_argument);
  EXPECT_THAT(algorithm.calls, IsEmpty());
}

TEST_F(ArrivalTest, FillsWithoutAMethodAreThoseOfTheBase) {
  read_stops({50.0, 100.0});
  report(60.0, 1060);
  method(1.0).forecast_arrival_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 1u);
  EXPECT_EQ(rows()[1], (Row{0, 0, std::numeric_limits<long long>::max()}));
}

TEST_F(ArrivalTest, GuardsAreThoseOfTheBase) {
  const RecordedLog log;
  read_stops({50.0, 100.0});
  report(60.0, 1060);
  compute(1.0);
  EXPECT_THAT(log.lines(), ElementsAre("info ForecastAlgorithm::compute_forecast KWXBN0027I"));
  EXPECT_EQ(forecast.get_first_index(), 4294967295u);
  EXPECT_EQ(forecast.get_confidence(), 0.0);
}

}  // namespace
