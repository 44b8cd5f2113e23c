#include "geo/distance.h"

#include <cmath>
#include <limits>

#include "gtest/gtest.h"

namespace qiv {
namespace {

constexpr double nan_deg = std::numeric_limits<double>::quiet_NaN();

struct Geodesic {
  LatLon from;
  LatLon to;
  double length_m;
  double azimuth_deg;  ///< at `from`
};

// From GeographicLib 2.1.2, Geodesic::WGS84().Inverse.
constexpr Geodesic geodesics[] = {
    {{53.3498, -6.2603}, {53.3471, -6.2391}, 1443.448, 102.007},
    {{53.3498, -6.2603}, {53.4513, -6.1528}, 13369.116, 32.290},
    {{40.6413, -74.0235}, {40.6942, -73.9866}, 6651.609, 27.962},
    {{-33.8688, 151.2093}, {-33.8915, 151.2767}, 6724.641, 112.008},
    {{0.0, 10.0}, {0.0, 10.05}, 5565.975, 90.0},
    {{64.1466, -21.9426}, {64.1466, -21.8426}, 4867.521, 89.955},
    {{-17.8, 179.99}, {-17.81, -179.985}, 2872.319, 112.668},
    {{69.6492, 18.9553}, {69.65, 18.9553}, 89.246, 0.0},
};

TEST(Distance, IsThatOfTheGeodesic) {
  for (const Geodesic& g : geodesics) {
    EXPECT_NEAR(distance_m(g.from, g.to), g.length_m, 1e-5 * g.length_m + 0.001);
    EXPECT_EQ(distance_m(g.to, g.from), distance_m(g.from, g.to));
  }
}

TEST(Distance, OfAPlaceToItselfIsZero) {
  EXPECT_EQ(distance_m({53.35, -6.26}, {53.35, -6.26}), 0.0);
  EXPECT_NEAR(distance_m({-17.8, 180.0}, {-17.8, -180.0}), 0.0, 1e-6);
}

TEST(Bearing, IsThatOfTheGeodesic) {
  for (const Geodesic& g : geodesics) {
    EXPECT_LT(angle_between_deg(bearing_deg(g.from, g.to), g.azimuth_deg), 0.06);
  }
}

TEST(Bearing, TurnsClockwiseFromNorth) {
  const LatLon here{53.35, -6.26};
  EXPECT_EQ(bearing_deg(here, {53.36, -6.26}), 0.0);
  EXPECT_EQ(bearing_deg(here, {53.35, -6.25}), 90.0);
  EXPECT_EQ(bearing_deg(here, {53.34, -6.26}), 180.0);
  EXPECT_EQ(bearing_deg(here, {53.35, -6.27}), 270.0);
  EXPECT_EQ(bearing_deg(here, here), 0.0);
}

TEST(Bearing, StaysBelowAFullTurn) {
  EXPECT_LT(bearing_deg({53.35, -6.26}, {53.36, -6.26 - 1e-15}), 360.0);
}

TEST(AngleBetween, GoesTheShortWayRound) {
  EXPECT_EQ(angle_between_deg(350.0, 10.0), 20.0);
  EXPECT_EQ(angle_between_deg(10.0, 350.0), 20.0);
  EXPECT_EQ(angle_between_deg(0.0, 180.0), 180.0);
  EXPECT_EQ(angle_between_deg(45.0, 45.0), 0.0);
}

TEST(Wrap, BringsAnglesToHalfATurn) {
  EXPECT_EQ(wrap_180(0.0), 0.0);
  EXPECT_EQ(wrap_180(179.5), 179.5);
  EXPECT_EQ(wrap_180(180.0), -180.0);
  EXPECT_EQ(wrap_180(-180.0), -180.0);
  EXPECT_EQ(wrap_180(540.0), -180.0);
  EXPECT_EQ(wrap_180(359.0), -1.0);
  EXPECT_EQ(wrap_180(-190.0), 170.0);
  EXPECT_EQ(wrap_180(3601.0), 1.0);
}

TEST(Wrap, GivesNoNumberForNone) {
  EXPECT_TRUE(std::isnan(wrap_180(nan_deg)));
  EXPECT_TRUE(std::isnan(wrap_180(std::numeric_limits<double>::infinity())));
}

}  // namespace
}  // namespace qiv
