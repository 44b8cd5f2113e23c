#include "model/lat_lon.h"

#include <gtest/gtest.h>

#include <limits>

namespace qiv {
namespace {

TEST(LatLon, IsPlausibleOnTheGlobe) {
  EXPECT_TRUE(is_plausible({53.2, -6.1}));
  EXPECT_TRUE(is_plausible({-90.0, 180.0}));
  EXPECT_TRUE(is_plausible({0.0, 32.5}));
}

TEST(LatLon, IsImplausibleOffTheGlobeOrUnknown) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double inf = std::numeric_limits<double>::infinity();
  EXPECT_FALSE(is_plausible({0.0, 0.0}));
  EXPECT_FALSE(is_plausible({90.1, 0.0}));
  EXPECT_FALSE(is_plausible({53.0, -180.1}));
  EXPECT_FALSE(is_plausible({nan, -6.1}));
  EXPECT_FALSE(is_plausible({53.2, nan}));
  EXPECT_FALSE(is_plausible({inf, -6.1}));
}

}  // namespace
}  // namespace qiv
