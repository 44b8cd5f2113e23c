#include "simulate/draw.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qiv {
namespace {

TEST(Draw, TheSameSeedAndKeysGiveTheSameNumber) {
  EXPECT_EQ(Draw(7).bits(Chance::gap, {1, 2}), Draw(7).bits(Chance::gap, {1, 2}));
}

TEST(Draw, SeedChanceKeysAndTheirOrderAllMatter) {
  const auto number = Draw(7).bits(Chance::gap, {1, 2});
  EXPECT_NE(number, Draw(8).bits(Chance::gap, {1, 2}));
  EXPECT_NE(number, Draw(7).bits(Chance::late, {1, 2}));
  EXPECT_NE(number, Draw(7).bits(Chance::gap, {1, 3}));
  EXPECT_NE(number, Draw(7).bits(Chance::gap, {2, 1}));
}

TEST(Draw, SharesAreEvenOverTheirRange) {
  const Draw draw(1);
  int low = 0;
  for (std::uint64_t i = 0; i < 10'000; ++i) {
    const double share = draw.share(Chance::gap, {i});
    ASSERT_GE(share, 0.0);
    ASSERT_LT(share, 1.0);
    if (share < 0.1) ++low;
  }
  EXPECT_NEAR(low, 1000, 120);
}

TEST(Draw, NormalNumbersHaveMeanZeroAndDeviationOne) {
  const Draw draw(1);
  double sum = 0.0;
  double squares = 0.0;
  for (std::uint64_t i = 0; i < 10'000; ++i) {
    const double number = draw.normal(Chance::noise_east, {i});
    ASSERT_LT(std::abs(number), 3.5);
    sum += number;
    squares += number * number;
  }
  EXPECT_NEAR(sum / 10'000, 0.0, 0.04);
  EXPECT_NEAR(squares / 10'000, 1.0, 0.05);
}

}  // namespace
}  // namespace qiv
