#include "evaluate/tally.h"

#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

TEST(TallyTest, ContendersHaveTheirNamesAndPlaces) {
  const Network network = testing::straight_network();
  Tally tally(network);
  tally.on_display.forecast.add(Seconds(60), Seconds(50), 10, true);
  tally.on_display.contenders[static_cast<std::size_t>(Contender::last_vehicle)].add(
      Seconds(60), Seconds(80), -20, false);
  const Scorecard card = tally.scorecard();
  ASSERT_EQ(card.on_display.size(), 1 + contender_count);
  EXPECT_EQ(card.on_display.front().name, "forecast");
  EXPECT_DOUBLE_EQ(card.on_display.front().own_mae_s, 10.0);
  EXPECT_EQ(card.on_display.back().name, "last_vehicle");
  EXPECT_DOUBLE_EQ(card.on_display.back().buckets[0].mae_s, 20.0);
  EXPECT_EQ(card.on_display.back().own_n, 0U);
}

TEST(TallyTest, SharesOfNothingAreZero) {
  const Network network = testing::straight_network();
  Tally tally(network);
  EXPECT_EQ(tally.scorecard().availability, 0.0);
  EXPECT_EQ(tally.scorecard().wobble_s, 0.0);
  for (const bool shown : {true, true, true, false}) tally.reporting.add(shown);
  tally.wobble_sum_s = 30.0;
  tally.wobbles = 4;
  EXPECT_DOUBLE_EQ(tally.scorecard().availability, 0.75);
  EXPECT_DOUBLE_EQ(tally.scorecard().wobble_s, 7.5);
}

TEST(TallyTest, QuantilesOnceThereIsABound) {
  const Network network = testing::straight_network();
  Tally tally(network);
  EXPECT_TRUE(tally.scorecard().quantiles.empty());
  for (const int before : {0, 1, 3, 4}) {
    for (int i = 0; i < 4; ++i) tally.before.at(static_cast<std::size_t>(i)).add(i >= before);
  }
  const std::vector<QuantileScore> quantiles = tally.scorecard().quantiles;
  ASSERT_EQ(quantiles.size(), 4U);
  EXPECT_DOUBLE_EQ(quantiles[1].promised, 0.16);
  EXPECT_DOUBLE_EQ(quantiles[0].actual, 0.25);
  EXPECT_DOUBLE_EQ(quantiles[1].actual, 0.5);
  EXPECT_DOUBLE_EQ(quantiles[3].actual, 0.75);
}

TEST(TallyTest, ErrorsByHourAndStop) {
  const Network network = testing::straight_network();
  Tally tally(network);
  tally.error_by_hour[17].add(-40);
  tally.error_by_stop[3].add(25);
  const Scorecard card = tally.scorecard();
  EXPECT_EQ(card.by_hour[17].from_min, 17);
  EXPECT_DOUBLE_EQ(card.by_hour[17].mae_s, 40.0);
  EXPECT_DOUBLE_EQ(card.by_stop.at(3).bias_s, 25.0);
  EXPECT_EQ(card.bounds_by_hour.size(), 24U);
}

}  // namespace
}  // namespace qiv
