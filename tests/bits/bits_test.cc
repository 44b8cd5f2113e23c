// The library's formulas to the last bit. Each input is one for which another way to compute the
// same, by a fused multiply-add, in another order or by a reciprocal, gives another double: what
// would come out then stands beside the expected value. Built and run once more for every set of
// compiler flags that might change a bit.

#include <gmock/gmock.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "qiv_algo/ExposedRegression.h"

namespace {

using ::testing::ElementsAre;

/// All bits of a value, to be compared and to be read.
std::string bits(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%a", value);
  return text;
}

class BitsTest : public RegressionTest {
 protected:
  double weight(unsigned int k, double bandwidth) {
    Kernel kernel(history.size(), 0.0);
    method(bandwidth).compute_kernel(kernel, &vehicle, &history, 0);
    return kernel[k];
  }

  ExposedRegression algorithm = method(1.0);
};

TEST_F(BitsTest, HistoryRoundsTheProductBeforeTheSum) {
  history.push_back({616, 896});
  history.push_back({335, 730});
  EXPECT_EQ(bits(history.interpolate(0, 1, 0.93)), bits(0x1.b633333333334p+9));
  EXPECT_EQ(bits(std::fma(280.0, 0.93, 616.0)), bits(0x1.b633333333333p+9));
  EXPECT_EQ(bits(history.interpolate(1, 1, 0.79)), bits(0x1.4386666666666p+9));
  EXPECT_EQ(bits(std::fma(395.0, 0.79, 335.0)), bits(0x1.4386666666667p+9));
}

TEST_F(BitsTest, VehicleRoundsTheProductBeforeTheSum) {
  report(225.9, 1027);
  report(400.4, 1221);
  const double offset = 330.59999999999997;
  EXPECT_EQ(bits(vehicle.interpolate(1, offset)), bits(0x1.1dd999999999ap+10));
  const double ratio = (offset - 225.9) / (400.4 - 225.9);
  EXPECT_EQ(bits(std::fma(194.0, ratio, 1027.0)), bits(0x1.1dd9999999999p+10));
}

TEST_F(BitsTest, RouteDividesInsteadOfMultiplyingByAReciprocal) {
  route.read_milestones({0.0, 76.7, 313.7});
  unsigned int index = 0;
  double linear = 0.0;
  route.get_interpolation_parameters(218.89999999999998, index, linear);
  // By the reciprocal: 0x1.3333333333332p-1.
  EXPECT_EQ(bits(linear), bits(0x1.3333333333333p-1));
}

TEST_F(BitsTest, KernelDividesInsteadOfMultiplyingByAReciprocal) {
  Kernel kernel(1, 1.0);
  kernel.set_normalizer(99.0);
  // By the reciprocal: 0x1.07c1f07c1f07dp+1.
  EXPECT_EQ(bits(kernel.normalize(204.0)), bits(0x1.07c1f07c1f07cp+1));
}

TEST_F(BitsTest, StartTimeSumsInTheOrderOfTheTrajectories) {
  route.read_milestones({0.0, 10.0});
  for (const int time : {185, 393, 127}) history.push_back({0, time});
  report(6.0, 1000);
  // The mean of 111, 235.8 and 76.2 rounds to less than 141 in this order alone.
  EXPECT_EQ(algorithm.compute_start_time(&vehicle, &history, 0), 1000 - 140);
}

TEST_F(BitsTest, PassingTimeBetweenTwoUpdatesRoundsTheProductBeforeTheSum) {
  forecast.initialize("arrival");
  report(180.0, -1424);
  report(288.0, 610);
  read_stops({249.0});
  algorithm.initialize_arrival_times(&vehicle);
  // -124.5 rounds up to -124; fused it is less and rounds to -125.
  EXPECT_THAT(rows(), ElementsAre(observed(-124)));
  EXPECT_EQ(bits(std::fma(69.0 / 108.0, 2034.0, -1424.0)), bits(-0x1.f200000000007p+6));
}

TEST_F(BitsTest, PassingTimeAfterTheStartRoundsTheProductBeforeTheSum) {
  forecast.initialize("arrival");
  vehicle.set_start_time(-197);
  report(52.0, 1181);
  read_stops({43.0});
  algorithm.initialize_arrival_times(&vehicle);
  // 942.5 rounds up to 943; fused it is less and rounds to 942.
  EXPECT_THAT(rows(), ElementsAre(observed(943)));
  EXPECT_EQ(bits(std::fma(43.0 / 52.0, 1378.0, -197.0)), bits(0x1.d73ffffffffffp+9));
}

TEST_F(BitsTest, CompletedLegRoundsTheProductsBeforeTheSums) {
  forecast.initialize("travel");
  vehicle.set_start_time(1855);
  report(30.0, 2540);
  read_stops({26.0, 29.0});
  algorithm.initialize_travel_times(&vehicle);
  // The leg takes 68.5 less one unit in the last place; fused it takes 68.5, which rounds to 69.
  EXPECT_THAT(rows(), ElementsAre(observed(68)));
  const double from = std::fma(26.0 / 30.0, 685.0, 1855.0);
  const double to = std::fma(29.0 / 30.0, 685.0, 1855.0);
  EXPECT_EQ(bits(to - from), bits(68.5));
}

// The weights below are far from the middle between two doubles, so that every good exponential
// rounds them alike.

TEST_F(BitsTest, WeightComesFromRoundedSquaresAndQuotients) {
  route.read_milestones({0.0, 100.0});
  for (const int time : {205, 218, 182}) history.push_back({0, time});
  report(88.0, 180);
  // With the sum of squares fused 0x1.2b5bc03509e47p-12, with reciprocals of the number of
  // trajectories 0x1.2b5bc03509ab2p-12, of variance times bandwidth 0x1.2b5bc0350971ep-12.
  EXPECT_EQ(bits(weight(1, 0.1)), bits(0x1.2b5bc03509727p-12));
}

TEST_F(BitsTest, WeightOfAnotherHistoryComesFromRoundedSquaresAndQuotients) {
  route.read_milestones({0.0, 100.0});
  for (const int time : {703, 792, 684}) history.push_back({0, time});
  report(93.0, 691);
  // With the sum of squares fused or with reciprocals of the number of trajectories
  // 0x1.18ba770ae9c2fp-1, with the reciprocal of variance times bandwidth 0x1.18ba770ae9bd6p-1.
  EXPECT_EQ(bits(weight(1, 0.6)), bits(0x1.18ba770ae9bd5p-1));
}

TEST_F(BitsTest, WeightOfSeveralUpdatesRoundsEveryProductBeforeTheSum) {
  route.read_milestones({0.0, 100.0, 200.0});
  history.push_back({0, 358, 625});
  history.push_back({0, 398, 456});
  history.push_back({0, 311, 515});
  report(100.0, 622);
  report(200.0, 851);
  // Fused: 0x1.31cfd85a9942ep-11.
  EXPECT_EQ(bits(weight(1, 0.8)), bits(0x1.31cfd85a9947ap-11));
}

class ConditionalBitsTest : public BitsTest {
 protected:
  void SetUp() override {
    route.read_milestones({0.0, 100.0});
    for (const int time : {144, 207, 293}) history.push_back({0, time});
    kernel[0] = 0.18;
    kernel[2] = 0.68;
    kernel.set_normalizer(0x1.dc28f5c28f5c2p+0);
  }

  void expect_bits(const Time& row) {
    // With the sum fused or with the reciprocal of the normalizer 0x1.d0b02c0b02c0cp+7.
    EXPECT_EQ(bits(row.get_conditional_mean()), bits(0x1.d0b02c0b02c0bp+7));
    // With the sum of squares fused 0x1.31b6048ee72bp+11, with the square of the mean fused
    // 0x1.31b6048ee72a8p+11, with the increments squared before they are weighted
    // 0x1.31b6048ee72cp+11.
    EXPECT_EQ(bits(row.get_conditional_var()), bits(0x1.31b6048ee72ap+11));
  }

  Kernel kernel{3, 1.0};
};

TEST_F(ConditionalBitsTest, InputsTellAFusedMeanFromARoundedOne) {
  const double sum = std::fma(0.68, 293.0, std::fma(1.0, 207.0, 0.18 * 144.0));
  EXPECT_EQ(bits(kernel.normalize(sum)), bits(0x1.d0b02c0b02c0cp+7));
}

TEST_F(ConditionalBitsTest, ArrivalRoundsTheProductsBeforeTheSums) {
  forecast.initialize("arrival");
  read_stops({100.0});
  report(0.0, 1000);
  algorithm.compute_arrival_time(&vehicle, &history, 0, 0, kernel);
  expect_bits(forecast[0]);
}

TEST_F(ConditionalBitsTest, TravelRoundsTheProductsBeforeTheSums) {
  forecast.initialize("travel");
  read_stops({0.0, 100.0});
  algorithm.compute_travel_time(&vehicle, &history, 0, 1, kernel);
  expect_bits(forecast[0]);
}

}  // namespace
