#include "KernelRegression.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "ExposedRegression.h"

namespace {

using ::testing::DoubleNear;
using ::testing::ElementsAre;

const double not_a_number = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const long long earliest = std::numeric_limits<long long>::min();

static_assert(std::is_base_of<ForecastAlgorithm, KernelRegression>::value,
              "kernel regression is a forecasting algorithm");
static_assert(std::is_same<decltype(std::declval<const Kernel&>()[0]), const double&>::value &&
                  std::is_same<decltype(std::declval<Kernel&>()[0]), double&>::value &&
                  std::is_same<decltype(std::declval<const Kernel&>().size()), unsigned>::value,
              "the kernel's operations have these results");

/// The exponential as the C library computes it when the program runs.
double exp_at_run_time(double x) {
  volatile double opaque = x;
  return std::exp(opaque);
}

TEST(Kernel, HasEqualWeightsAndTheNormalizerOneAtFirst) {
  const Kernel kernel(3, 0.25);
  ASSERT_EQ(kernel.size(), 3u);
  EXPECT_EQ(kernel[0], 0.25);
  EXPECT_EQ(kernel[1], 0.25);
  EXPECT_EQ(kernel[2], 0.25);
  EXPECT_EQ(kernel.normalize(7.5), 7.5);
}

TEST(Kernel, MayBeEmpty) {
  EXPECT_EQ(Kernel(0, 1.0).size(), 0u);
}

TEST(Kernel, WeightsAreSetOneByOne) {
  Kernel kernel(2, 0.0);
  kernel[1] = 0.5;
  EXPECT_EQ(kernel[0], 0.0);
  EXPECT_EQ(kernel[1], 0.5);
}

TEST(Kernel, NormalizesByDivision) {
  Kernel kernel(1, 0.0);
  kernel.set_normalizer(49.0);
  // 49 * (1 / 49) rounds below 1.
  EXPECT_EQ(kernel.normalize(49.0), 1.0);
  EXPECT_EQ(kernel.normalize(-98.0), -2.0);
  kernel.set_normalizer(0.0);
  EXPECT_EQ(kernel.normalize(1.0), infinity);
  EXPECT_TRUE(std::isnan(kernel.normalize(0.0)));
}

class KernelRegressionTest : public RegressionTest {
 protected:
  Kernel kernel_of(double bandwidth) {
    Kernel kernel(history.size(), 0.0);
    method(bandwidth).compute_kernel(kernel, &vehicle, &history, 3);
    return kernel;
  }

  std::vector<double> weights(double bandwidth) {
    const Kernel kernel = kernel_of(bandwidth);
    std::vector<double> result;
    for (unsigned int k = 0; k < kernel.size(); ++k) result.push_back(kernel[k]);
    return result;
  }
};

// The bandwidth.

class BandwidthTest : public AlgorithmTest {
 protected:
  /// The type of what the constructor throws and what it writes, or "accepted".
  std::string outcome(const std::vector<double>& double_parameter) {
    ::testing::internal::CaptureStderr();
    std::string thrown;
    try {
      KernelRegression algorithm(&forecast, &route, {"not used"}, double_parameter);
    } catch (const std::exception& error) {
      thrown = typeid(error) == typeid(std::exception) ? "std::exception: " : "another exception: ";
    }
    const std::string written = ::testing::internal::GetCapturedStderr();
    return thrown.empty() && written.empty() ? "accepted" : thrown + written;
  }
};

TEST_F(BandwidthTest, HasToBeStrictlyPositive) {
  const std::string refusal =
      "std::exception: parameter 'bandwidth' of KernelRegression needs to be strictly positive.\n";
  EXPECT_EQ(outcome({0.0}), refusal);
  EXPECT_EQ(outcome({-0.0}), refusal);
  EXPECT_EQ(outcome({-1.0}), refusal);
  EXPECT_EQ(outcome({-infinity}), refusal);
  EXPECT_EQ(outcome({-std::numeric_limits<double>::denorm_min()}), refusal);
}

TEST_F(BandwidthTest, HasToBeGiven) {
  EXPECT_EQ(outcome({}),
            "std::exception: parameter 'bandwidth' of KernelRegression needs to be strictly "
            "positive.\n");
}

TEST_F(BandwidthTest, IsAcceptedWhenItIsPositive) {
  EXPECT_EQ(outcome({1.0}), "accepted");
  EXPECT_EQ(outcome({std::numeric_limits<double>::denorm_min()}), "accepted");
  EXPECT_EQ(outcome({infinity}), "accepted");
}

TEST_F(BandwidthTest, IsAcceptedWhenItIsNotANumber) {
  EXPECT_EQ(outcome({not_a_number}), "accepted");
  EXPECT_EQ(outcome({-not_a_number}), "accepted");
}

TEST_F(BandwidthTest, IsTheFirstNumberAlone) {
  EXPECT_EQ(outcome({1.0, 0.0, -1.0}), "accepted");
  EXPECT_EQ(outcome({0.0, 1.0}),
            "std::exception: parameter 'bandwidth' of KernelRegression needs to be strictly "
            "positive.\n");
}

TEST_F(KernelRegressionTest, FurtherNumbersChangeNothing) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  report(100.0, 101);
  ExposedRegression algorithm{&forecast, &route, {"x", "y"}, {2.0, 77.0}};
  Kernel kernel(2, 0.0);
  algorithm.compute_kernel(kernel, &vehicle, &history, 3);
  EXPECT_EQ(kernel[1], weights(2.0)[1]);
}

// The weights.

TEST_F(KernelRegressionTest, OneTrajectoryHasTheWeightOne) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}});
  report(50.0, 1000);
  report(100.0, 5000);
  EXPECT_THAT(weights(0.001), ElementsAre(1.0));
  EXPECT_EQ(kernel_of(0.001).normalize(1.0), 1.0);
}

TEST_F(KernelRegressionTest, EquallyDistantTrajectoriesHaveEqualWeights) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 90}, {0, 110}});
  report(100.0, 100);
  EXPECT_THAT(weights(1.0), ElementsAre(1.0, 1.0));
  EXPECT_EQ(kernel_of(1.0).normalize(1.0), 0.5);
}

TEST_F(KernelRegressionTest, WeightFallsWithTheSquareOfTheDistance) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  report(100.0, 101);
  // Distances -1 and 3, variance 4: exponents -1/8 and -9/8 with a bandwidth of 2.
  EXPECT_THAT(weights(2.0), ElementsAre(1.0, exp_at_run_time(-1.0)));
  EXPECT_EQ(kernel_of(2.0).normalize(1.0), 1.0 / (1.0 + exp_at_run_time(-1.0)));
}

TEST_F(KernelRegressionTest, ExponentHasNoFactorOneHalf) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  report(100.0, 100);
  EXPECT_THAT(weights(1.0), ElementsAre(1.0, exp_at_run_time(-4.0)));
}

TEST_F(KernelRegressionTest, DistancesAreTakenFromTheStartTime) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  vehicle.set_start_time(5000);
  report(100.0, 5101);
  EXPECT_THAT(weights(2.0), ElementsAre(1.0, exp_at_run_time(-1.0)));
}

TEST_F(KernelRegressionTest, DifferenceFromTheStartTimeWraps) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  vehicle.set_start_time(std::numeric_limits<long long>::max());
  report(100.0, earliest + 100);
  EXPECT_THAT(weights(2.0), ElementsAre(1.0, exp_at_run_time(-1.0)));
}

TEST_F(KernelRegressionTest, EveryUpdateCounts) {
  route.read_milestones({0.0, 100.0, 200.0});
  read_history({{0, 100, 200}, {0, 104, 208}});
  report(100.0, 101);
  report(200.0, 202);
  // Distances -1 and 3 with variance 4, then -2 and 6 with variance 16: two times -1/8 and -9/8.
  EXPECT_THAT(weights(2.0), ElementsAre(1.0, exp_at_run_time(-2.0)));
}

TEST_F(KernelRegressionTest, UpdatesBetweenMilestonesCountWithInterpolatedTimes) {
  route.read_milestones({0.0, 200.0});
  read_history({{0, 200}, {0, 208}});
  report(100.0, 101);
  EXPECT_THAT(weights(2.0), ElementsAre(1.0, exp_at_run_time(-1.0)));
}

TEST_F(KernelRegressionTest, UpdatesBeforeTheFirstMilestoneCountWithTimeZero) {
  route.read_milestones({50.0, 200.0});
  read_history({{0, 200}, {0, 208}});
  report(25.0, 1000);
  EXPECT_THAT(weights(0.001), ElementsAre(1.0, 1.0));
}

TEST_F(KernelRegressionTest, UpdateThatIsNotANumberCountsWithTimeZero) {
  route.read_milestones({0.0, 200.0});
  read_history({{0, 200}, {0, 208}});
  report(not_a_number, 1000);
  EXPECT_THAT(weights(0.001), ElementsAre(1.0, 1.0));
}

TEST_F(KernelRegressionTest, AgreeingTrajectoriesHaveTheVarianceOne) {
  route.read_milestones({0.0, 100.0, 200.0});
  read_history({{0, 100, 200}, {0, 100, 210}});
  report(100.0, 5000);
  EXPECT_THAT(weights(1.0), ElementsAre(1.0, 1.0));
}

TEST_F(KernelRegressionTest, VarianceBelowOneIsRaisedToOne) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 101}});
  report(100.0, 100);
  EXPECT_THAT(weights(1.0), ElementsAre(1.0, exp_at_run_time(-1.0)));
}

TEST_F(KernelRegressionTest, VarianceAboveOneIsLeft) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 103}});
  report(100.0, 100);
  EXPECT_THAT(weights(1.0), ElementsAre(1.0, exp_at_run_time(-4.0)));
}

TEST_F(KernelRegressionTest, VarianceIsThatOfThePopulation) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 0}, {0, 0}, {0, 6}});
  report(100.0, 0);
  // 36 / 3 - 36 / 9 = 8, and 36 / 8 = 4.5.
  EXPECT_THAT(weights(1.0), ElementsAre(1.0, 1.0, exp_at_run_time(-4.5)));
}

TEST_F(KernelRegressionTest, LargestWeightIsOneWhereverItStands) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 104}, {0, 100}, {0, 104}, {0, 100}});
  report(100.0, 101);
  const double other = exp_at_run_time(-1.0);
  EXPECT_THAT(weights(2.0), ElementsAre(other, 1.0, other, 1.0));
}

TEST_F(KernelRegressionTest, FarHistoryDoesNotUnderflowAltogether) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  report(100.0, 1000000000);
  const std::vector<double> result = weights(0.5);
  EXPECT_EQ(result[0], 0.0);
  EXPECT_EQ(result[1], 1.0);
}

TEST_F(KernelRegressionTest, WithoutUpdatesAllWeightsAreOne) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 90}, {0, 110}, {0, 400}});
  EXPECT_THAT(weights(0.001), ElementsAre(1.0, 1.0, 1.0));
  EXPECT_EQ(kernel_of(0.001).normalize(3.0), 1.0);
}

TEST_F(KernelRegressionTest, LargerBandwidthFlattensTheWeightsAndASmallerOneSharpensThem) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  report(100.0, 101);
  EXPECT_EQ(weights(0.125)[1], exp_at_run_time(-16.0));
  EXPECT_EQ(weights(32.0)[1], exp_at_run_time(-0.0625));
  EXPECT_EQ(weights(infinity)[1], 1.0);
}

TEST_F(KernelRegressionTest, BandwidthTooSmallToDivideByLeavesOnlyExactMatches) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  report(100.0, 100);
  const double tiny = std::numeric_limits<double>::denorm_min();
  EXPECT_THAT(weights(tiny), ElementsAre(1.0, 0.0));
}

TEST_F(KernelRegressionTest, BandwidthTooSmallToDivideByLeavesNothingWithoutAnExactMatch) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  report(100.0, 101);
  const double tiny = std::numeric_limits<double>::denorm_min();
  for (const double weight : weights(tiny)) EXPECT_TRUE(std::isnan(weight));
}

TEST_F(KernelRegressionTest, BandwidthThatIsNotANumberMakesNoNumbers) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  report(100.0, 101);
  for (const double weight : weights(not_a_number)) EXPECT_TRUE(std::isnan(weight));
  EXPECT_TRUE(std::isnan(kernel_of(not_a_number).normalize(1.0)));
}

TEST_F(KernelRegressionTest, BandwidthThatIsNotANumberDoesNoHarmWithoutUpdates) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 100}, {0, 104}});
  EXPECT_THAT(weights(not_a_number), ElementsAre(1.0, 1.0));
}

TEST_F(KernelRegressionTest, ExponentIsDividedByVarianceTimesBandwidthAndThenMultiplied) {
  route.read_milestones({0.0, 100.0});
  read_history({{0, 0}, {0, 60}, {0, 90}});
  report(100.0, 0);
  // Variance 1400. With bandwidth 0.1 the quotient 60 / 140 is rounded before it meets 60 again,
  // and 1400 * 0.1 before it divides.
  const double scale = 1400.0 * 0.1;
  volatile double quotient = 60.0 / scale;
  const double exponent = quotient * 60.0;
  EXPECT_EQ(weights(0.1)[1], exp_at_run_time(-exponent));
}

TEST_F(KernelRegressionTest, ComputesTheWeightsOfALongerHistory) {
  route.read_milestones({0.0, 100.0, 250.0, 400.0});
  read_history({{0, 61, 140, 222},
                {3, 70, 151, 250},
                {-2, 55, 133, 210},
                {0, 66, 160, 263},
                {5, 64, 139, 219},
                {1, 60, 144, 238},
                {0, 72, 158, 244},
                {2, 58, 135, 205}});
  vehicle.set_start_time(10000);
  report(40.0, 10027);
  report(180.0, 10104);
  report(250.0, 10146);
  const double bandwidth = 1.75;

  // The same straight from the formula, in long double.
  const long double offsets[] = {40.0L, 180.0L, 250.0L};
  const long double times[] = {27.0L, 104.0L, 146.0L};
  const long double milestones[] = {0.0L, 100.0L, 250.0L, 400.0L};
  std::vector<long double> exponents(history.size(), 0.0L);
  for (int j = 0; j < 3; ++j) {
    const unsigned int upper = offsets[j] < 100.0L ? 1 : offsets[j] < 250.0L ? 2 : 3;
    const long double fraction =
        (offsets[j] - milestones[upper - 1]) / (milestones[upper] - milestones[upper - 1]);
    std::vector<long double> past;
    for (unsigned int k = 0; k < history.size(); ++k) {
      const std::vector<int>& trajectory = history[k];
      past.push_back(trajectory[upper - 1] +
                     fraction * (trajectory[upper] - trajectory[upper - 1]));
    }
    long double mean = 0.0L;
    for (const long double time : past) mean += time / 8.0L;
    long double variance = 0.0L;
    for (const long double time : past) variance += (time - mean) * (time - mean) / 8.0L;
    for (unsigned int k = 0; k < history.size(); ++k) {
      exponents[k] -= (past[k] - times[j]) * (past[k] - times[j]) / (variance * bandwidth);
    }
  }
  long double largest = exponents[0];
  for (const long double exponent : exponents) largest = std::max(largest, exponent);
  const std::vector<double> computed = weights(bandwidth);
  for (unsigned int k = 0; k < history.size(); ++k) {
    EXPECT_THAT(computed[k],
                DoubleNear(static_cast<double>(std::exp(exponents[k] - largest)), 1e-11))
        << "trajectory " << k;
  }
}

class ManyTrajectoriesTest : public KernelRegressionTest {
 protected:
  void SetUp() override { route.read_milestones({0.0, 100.0}); }

  /// `n` trajectories that end at `even` and `odd` in turn.
  void read_many(unsigned int n, int even, int odd) {
    for (unsigned int k = 0; k < n; ++k) history.push_back({0, k % 2 == 0 ? even : odd});
  }
};

TEST_F(ManyTrajectoriesTest, SquareOfTheirNumberFits) {
  read_many(65534, 100, 200);
  report(100.0, 100);
  // Variance 2500, and 100 * 100 / 2500 / 4 = 1.
  EXPECT_THAT(weights(4.0)[1], DoubleNear(std::exp(-1.0), 1e-9));
}

TEST_F(ManyTrajectoriesTest, SquareOfTheirNumberWrapsToZero) {
  read_many(65536, 100, 200);
  report(100.0, 100);
  // The square of the mean divided by 0 takes the variance below 1: it is 1.
  EXPECT_EQ(weights(10000.0)[0], 1.0);
  EXPECT_EQ(weights(10000.0)[1], exp_at_run_time(-1.0));
}

TEST_F(ManyTrajectoriesTest, SquareOfTheirNumberWrapsToZeroUnderAMeanOfZero) {
  read_many(65536, -100, 100);
  report(100.0, 100);
  // 0 / 0 is no number, and neither is the variance.
  EXPECT_TRUE(std::isnan(weights(10000.0)[0]));
  EXPECT_TRUE(std::isnan(weights(10000.0)[1]));
}

TEST_F(ManyTrajectoriesTest, SquareOfTheirNumberWraps) {
  read_many(65537, 1, 1);
  history.push_back({0, 1000000});
  report(100.0, 1);
  // The square of 65538 wraps to 262148.
  const double n = 65538.0;
  const double sum = 65537.0 + 1e6;
  const double variance = (65537.0 + 1e12) / n - sum * sum / 262148.0;
  ASSERT_GT(variance, 1.0);
  const double distance = 999999.0;
  const double exponent = distance / (variance * 1e5) * distance;
  EXPECT_EQ(weights(1e5)[65537], exp_at_run_time(-exponent));
}

TEST_F(KernelRegressionTest, EmptyHistoryLeavesTheKernelAlone) {
  route.read_milestones({0.0, 100.0});
  report(50.0, 1000);
  Kernel kernel(0, 0.0);
  kernel.set_normalizer(4.0);
  method(1.0).compute_kernel(kernel, &vehicle, &history, 3);
  EXPECT_EQ(kernel.size(), 0u);
  EXPECT_EQ(kernel.normalize(1.0), 0.25);
}

TEST_F(KernelRegressionTest, KernelOfARouteWithoutMilestonesTakesEveryTimeForZero) {
  read_history({{0, 100}, {0, 300}});
  report(50.0, 1000);
  vehicle.set_start_time(1000);
  Kernel kernel(2, 0.0);
  method(1.0).compute_kernel(kernel, &vehicle, &history, 0);
  EXPECT_EQ(kernel[0], 1.0);
  EXPECT_EQ(kernel[1], 1.0);
}

}  // namespace
