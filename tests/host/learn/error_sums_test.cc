#include "learn/error_sums.h"

#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::monday;

/// One prediction of a minute a day, off by these seconds.
DailyErrors errors_of(const std::vector<double>& daily_s) {
  DailyErrors errors;
  for (std::size_t i = 0; i < daily_s.size(); ++i) {
    errors[monday + std::chrono::days(i)].add(60.0, daily_s[i]);
  }
  return errors;
}

TEST(ErrorSumsTest, WeighsTheBucketsAlike) {
  ErrorSums errors;
  for (int i = 0; i < 10; ++i) errors.add(60.0, -30.0);
  errors.add(20.0 * 60.0, 90.0);
  errors.add(70.0 * 60.0, 1e6);
  EXPECT_EQ(errors.predictions(), 11U) << "an hour ahead at most";
  EXPECT_DOUBLE_EQ(errors.mean_mae_s(), 60.0);
  EXPECT_EQ(ErrorSums().mean_mae_s(), 0.0);
}

TEST(ClearlyBetterTest, AsksForMoreThanTheNoiseOfTheDays) {
  const ChoiceRule rule;
  const DailyErrors base = errors_of({100, 110, 90, 100, 100});
  EXPECT_TRUE(clearly_better(errors_of({95, 104, 86, 94, 96}), base, rule)) << "every day";
  EXPECT_FALSE(clearly_better(errors_of({60, 120, 98, 104, 108}), base, rule)) << "one lucky day";
  EXPECT_FALSE(clearly_better(errors_of({99.9, 109.9, 89.9, 99.9, 99.9}), base, rule)) << "hardly";
  EXPECT_FALSE(clearly_better(base, base, rule));
}

TEST(ClearlyBetterTest, AsksForMoreWhereFewDaysTell) {
  const ChoiceRule rule;
  EXPECT_FALSE(clearly_better(errors_of({99}), errors_of({100}), rule));
  EXPECT_TRUE(clearly_better(errors_of({97}), errors_of({100}), rule));
}

TEST(DailyErrorsTest, ComeBackFromBytes) {
  DailyErrors errors = errors_of({1.0 / 3.0, 7, 0.1});
  EXPECT_EQ(daily_errors_from(to_bytes(errors)), errors);
  EXPECT_EQ(daily_errors_from(""), DailyErrors());
  EXPECT_EQ(daily_errors_from(to_bytes(errors).substr(1)), std::nullopt);
}

}  // namespace
}  // namespace qiv
