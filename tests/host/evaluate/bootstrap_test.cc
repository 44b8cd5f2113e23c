#include "evaluate/bootstrap.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

/// A run with ten events in the first bucket.
RunSums run(double forecast_s, double delay_s) {
  RunSums sums;
  sums.forecast_s[0] = 10.0 * forecast_s;
  sums.delay_s[0] = 10.0 * delay_s;
  sums.n[0] = 10.0;
  return sums;
}

TEST(BootstrapTest, RunsThatAreAllAlikeLeaveNoDoubt) {
  const auto [low, high] = advantage_interval_s(std::vector<RunSums>(20, run(50.0, 60.0)));
  EXPECT_DOUBLE_EQ(low, -10.0);
  EXPECT_DOUBLE_EQ(high, -10.0);
}

TEST(BootstrapTest, TheIntervalHoldsTheMeanAndNarrowsWithMoreRuns) {
  const auto width = [](int runs) {
    std::vector<RunSums> all;
    for (int i = 0; i < runs; ++i) all.push_back(run(50.0 + i % 5, 60.0));
    const auto [low, high] = advantage_interval_s(all);
    EXPECT_LT(low, -8.0);
    EXPECT_GT(high, -8.0);
    return high - low;
  };
  EXPECT_LT(width(400), width(25) / 2.0);
}

TEST(BootstrapTest, TheSameRunsGiveTheSameInterval) {
  const std::vector<RunSums> runs = {run(10.0, 30.0), run(40.0, 20.0), run(5.0, 5.0)};
  EXPECT_EQ(advantage_interval_s(runs), advantage_interval_s(runs));
}

TEST(BootstrapTest, NoRunsGiveZeros) {
  EXPECT_EQ(advantage_interval_s({}), std::pair(0.0, 0.0));
}

}  // namespace
}  // namespace qiv
