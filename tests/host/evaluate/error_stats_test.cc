#include "evaluate/error_stats.h"

#include <gtest/gtest.h>

#include "evaluate/bound_stats.h"

namespace qiv {
namespace {

TEST(ErrorStatsTest, MeansAndQuantiles) {
  ErrorStats stats;
  for (const long long error_s : {-10, 0, 20, 30, 100}) stats.add(error_s);
  EXPECT_EQ(stats.n(), 5U);
  EXPECT_DOUBLE_EQ(stats.mae_s(), 32.0);
  EXPECT_DOUBLE_EQ(stats.bias_s(), 28.0);
  EXPECT_EQ(stats.quantile_s(0.5), 20.0);
  EXPECT_EQ(stats.absolute_quantile_s(0.8), 30.0);
  EXPECT_DOUBLE_EQ(stats.share_within(0, 30), 0.6);
}

TEST(ErrorStatsTest, WhatIsBeyondTwoHoursStillCountsInTheMean) {
  ErrorStats stats;
  stats.add(100'000);
  EXPECT_DOUBLE_EQ(stats.mae_s(), 100'000.0);
  EXPECT_EQ(stats.quantile_s(0.5), 7200.0);
}

TEST(ErrorStatsTest, BucketsByMinutes) {
  EXPECT_EQ(bucket_of(Seconds(0)), 0U);
  EXPECT_EQ(bucket_of(Seconds(179)), 0U);
  EXPECT_EQ(bucket_of(Seconds(180)), 1U);
  EXPECT_EQ(bucket_of(Seconds(3599)), 5U);
  EXPECT_FALSE(bucket_of(Seconds(3600)));
  EXPECT_FALSE(bucket_of(Seconds(-1)));
}

TEST(ErrorStatsTest, TheBenchmarkIsTheMeanOfFourShares) {
  ProducerStats stats;
  stats.add(Seconds(60), Seconds(60), 90);     // right: -30..+90
  stats.add(Seconds(60), Seconds(60), 91);     // wrong
  stats.add(Seconds(200), Seconds(200), -60);  // right: -60..+150
  stats.add(Seconds(400), Seconds(400), -61);  // wrong: -60..+210
  stats.add(Seconds(800), Seconds(800), 270);  // right: -90..+270
  ContenderScore score;
  stats.score(score);
  EXPECT_DOUBLE_EQ(score.eta_score, 100.0 * (0.5 + 1.0 + 0.0 + 1.0) / 4.0);
  EXPECT_DOUBLE_EQ(score.mean_mae_s, (90.5 + 60 + 61 + 270) / 4.0);
}

TEST(BoundTableTest, CountsWhatFellInside) {
  BoundTable table(1);
  const auto s = [](long long t) { return from_unix_seconds(t); };
  const BoundedTime published{s(100), s(80), s(140), s(60), s(200)};
  for (const long long actual : {70, 90, 130, 150, 300}) table.add(0, published, s(actual));
  const BoundScore score = table.scores([](std::size_t) { return std::pair(0, 3); }).front();
  EXPECT_DOUBLE_EQ(score.coverage, 0.4);
  EXPECT_DOUBLE_EQ(score.coverage_90, 0.8);
  EXPECT_DOUBLE_EQ(score.mean_half_width_s, 30.0);
  EXPECT_DOUBLE_EQ(score.fixed_half_width_s, 30.0) << "two of five errors are at most 30 s";
}

}  // namespace
}  // namespace qiv
