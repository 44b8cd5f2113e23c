#include "track/nearby_patterns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "host/track/two_lines.h"

namespace qiv {
namespace {

using testing::place_at;

TEST(NearbyPatternsTest, MissesNoPathWithinReach) {
  const Network network = testing::two_lines();
  const NearbyPatterns nearby(network, 200.0);
  std::mt19937 random(1);
  std::uniform_real_distribution<double> east(-600.0, 4600.0);
  std::uniform_real_distribution<double> north(-600.0, 2600.0);
  std::size_t within = 0;
  for (int i = 0; i < 5000; ++i) {
    const LatLon place = place_at(east(random), north(random));
    const auto found = nearby.near(place);
    EXPECT_TRUE(std::is_sorted(found.begin(), found.end()));
    for (PatternIndex p = 0; p < network.patterns().size(); ++p) {
      if (network.polyline(p).project(place).distance_m > 200.0) continue;
      ++within;
      EXPECT_TRUE(std::binary_search(found.begin(), found.end(), p)) << place.lat_deg;
    }
  }
  EXPECT_GT(within, 1000U);
}

TEST(NearbyPatternsTest, ListsNothingFarAway) {
  const Network network = testing::two_lines();
  const NearbyPatterns nearby(network, 200.0);
  EXPECT_TRUE(nearby.near(place_at(0, 2000)).empty());
  EXPECT_TRUE(nearby.near({40.0, 170.0}).empty());
  EXPECT_TRUE(nearby.near({std::numeric_limits<double>::quiet_NaN(), 0.0}).empty());
  EXPECT_EQ(nearby.near(place_at(2000, 2000)).size(), 1U);
  EXPECT_EQ(nearby.near(place_at(500, 0)).size(), network.patterns().size());
}

TEST(NearbyPatternsTest, KnowsNoBorderAtTheAntimeridian) {
  Timetable timetable = testing::straight_timetable();
  for (std::size_t i = 0; i < timetable.stops.size(); ++i) {
    timetable.stops[i].place = {70.0, i < 3 ? 179.9 + 0.03 * static_cast<double>(i)
                                            : -180.0 + 0.02 * static_cast<double>(i)};
  }
  const Network network = build_network(timetable);
  const NearbyPatterns nearby(network, 200.0);
  EXPECT_FALSE(nearby.near({70.0, 179.999}).empty());
  EXPECT_FALSE(nearby.near({70.0, -179.999}).empty());
}

}  // namespace
}  // namespace qiv
