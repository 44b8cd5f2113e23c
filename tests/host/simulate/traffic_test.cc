#include "simulate/traffic.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qiv {
namespace {

constexpr double midnight_s = 1746403200.0;

TEST(Traffic, StaysWithinItsStrength) {
  const Traffic traffic(Draw(3), 0.2);
  for (int i = 0; i < 2000; ++i) {
    const double factor = traffic.factor(5, midnight_s + 97.0 * i);
    EXPECT_GE(factor, 0.6);
    EXPECT_LE(factor, 1.4);
  }
}

TEST(Traffic, VariesSlowly) {
  const Traffic traffic(Draw(3), 0.2);
  for (int i = 0; i < 2000; ++i) {
    const double time_s = midnight_s + 10.0 * i;
    EXPECT_NEAR(traffic.factor(5, time_s), traffic.factor(5, time_s + 10.0), 0.01);
  }
}

TEST(Traffic, EachPatternHasItsOwn) {
  const Traffic traffic(Draw(3), 0.2);
  EXPECT_NE(traffic.factor(5, midnight_s), traffic.factor(6, midnight_s));
}

TEST(Traffic, WithoutStrengthThereIsNone) {
  EXPECT_EQ(Traffic(Draw(3), 0.0).factor(5, midnight_s), 1.0);
}

}  // namespace
}  // namespace qiv
