#include <GeographicLib/Geodesic.hpp>
#include <random>

#include "geo/distance.h"
#include "gtest/gtest.h"

namespace qiv {
namespace {

// Every latitude up to 80°, every direction, up to 50 km: the promise of `distance_m`.
TEST(Distance, IsWithinAThousandthOfTheGeodesic) {
  const GeographicLib::Geodesic& earth = GeographicLib::Geodesic::WGS84();
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> latitude(-80.0, 80.0);
  std::uniform_real_distribution<double> longitude(-180.0, 180.0);
  std::uniform_real_distribution<double> direction(0.0, 360.0);
  std::uniform_real_distribution<double> length(1.0, 50'000.0);
  for (int i = 0; i < 20'000; ++i) {
    const LatLon from{latitude(random), longitude(random)};
    const double azimuth_deg = direction(random);
    const double geodesic_m = length(random);
    LatLon to;
    earth.Direct(from.lat_deg, from.lon_deg, azimuth_deg, geodesic_m, to.lat_deg, to.lon_deg);
    if (std::abs(to.lat_deg) > 80.0) continue;
    ASSERT_NEAR(distance_m(from, to), geodesic_m, 1e-3 * geodesic_m)
        << from.lat_deg << "," << from.lon_deg << " towards " << azimuth_deg;
  }
}

TEST(Distance, IsWithinAMillimetreOfTheGeodesicBetweenPointsOfAShape) {
  const GeographicLib::Geodesic& earth = GeographicLib::Geodesic::WGS84();
  std::mt19937_64 random(2);
  std::uniform_real_distribution<double> latitude(-65.0, 65.0);
  std::uniform_real_distribution<double> direction(0.0, 360.0);
  std::uniform_real_distribution<double> length(0.5, 300.0);
  for (int i = 0; i < 20'000; ++i) {
    const LatLon from{latitude(random), 12.0};
    const double geodesic_m = length(random);
    LatLon to;
    earth.Direct(from.lat_deg, from.lon_deg, direction(random), geodesic_m, to.lat_deg, to.lon_deg);
    ASSERT_NEAR(distance_m(from, to), geodesic_m, 1e-3);
  }
}

}  // namespace
}  // namespace qiv
