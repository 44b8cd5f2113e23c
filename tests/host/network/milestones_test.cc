#include "network/milestones.h"

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>

#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace qiv {
namespace {

using ::testing::ElementsAre;

JourneyPattern pattern_with(const std::vector<double>& stop_offsets_m, double length_m) {
  JourneyPattern pattern;
  pattern.ref = PatternRef("R/0/a-b/0123456789abcdef");
  for (const double offset_m : stop_offsets_m) pattern.stops.push_back({0, offset_m});
  pattern.path = {{{53.0, -6.0}, 0.0}, {{53.1, -6.0}, length_m}};
  return pattern;
}

TEST(Milestones, AreTheEndsAndTheStops) {
  EXPECT_THAT(milestones(pattern_with({30, 400, 950}, 1000), 2000),
              ElementsAre(0, 30, 400, 950, 1000));
}

TEST(Milestones, FillTheGapsEvenly) {
  EXPECT_THAT(milestones(pattern_with({0, 250, 1000}, 1000), 250),
              ElementsAre(0, 250, 500, 750, 1000));
  EXPECT_THAT(milestones(pattern_with({0, 300}, 300), 200), ElementsAre(0, 150, 300));
}

TEST(Milestones, HoldStopsAtOnePlaceOnce) {
  EXPECT_THAT(milestones(pattern_with({0, 400, 400, 1000}, 1000), 2000), ElementsAre(0, 400, 1000));
}

TEST(Milestones, RefuseWhatTheyCannotDivide) {
  const JourneyPattern pattern = pattern_with({0, 1000}, 1000);
  for (const double spacing_m :
       {0.0, -1.0, 0.5, std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_THROW(milestones(pattern, spacing_m), std::invalid_argument);
  }
  EXPECT_THROW(milestones(pattern_with({0, 0}, 0), 100), std::invalid_argument);
  EXPECT_THROW(milestones(pattern_with({0, 1001}, 1000), 100), std::invalid_argument);
  EXPECT_THROW(milestones(pattern_with({-1, 1000}, 1000), 100), std::invalid_argument);
}

TEST(MilestonesProperty, AreStrictlyIncreasingCompleteAndDense) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 500; ++i) {
    const double length_m = std::uniform_real_distribution<double>(1.0, 30'000.0)(random);
    const double spacing_m = std::uniform_real_distribution<double>(1.0, 500.0)(random);
    std::uniform_real_distribution<double> along(0.0, length_m);
    std::vector<double> stops;
    for (std::size_t n = random() % 60; n > 0; --n) stops.push_back(along(random));
    std::sort(stops.begin(), stops.end());
    const auto grid = milestones(pattern_with(stops, length_m), spacing_m);
    ASSERT_EQ(grid.front(), 0.0);
    ASSERT_EQ(grid.back(), length_m);
    for (std::size_t k = 1; k < grid.size(); ++k) {
      ASSERT_LT(grid[k - 1], grid[k]);
      ASSERT_LE(grid[k] - grid[k - 1], spacing_m * (1.0 + 1e-9));
    }
    for (const double stop : stops) {
      ASSERT_TRUE(std::binary_search(grid.begin(), grid.end(), stop));
    }
  }
}

TEST(ShapeVersion, IsTheSameForEver) {
  const JourneyPattern pattern = pattern_with({0, 400, 1000}, 1000);
  EXPECT_EQ(shape_version_id(pattern, milestones(pattern, 500)), 6525457413573919850);
}

TEST(ShapeVersion, ChangesWithWhatTheLibraryIsTold) {
  const JourneyPattern pattern = pattern_with({0, 400, 1000}, 1000);
  const auto grid = milestones(pattern, 500);
  const long long id = shape_version_id(pattern, grid);
  EXPECT_GE(id, 0);
  EXPECT_NE(shape_version_id(pattern, milestones(pattern, 200)), id);
  EXPECT_NE(shape_version_id(pattern_with({0, 400.002, 1000}, 1000), grid), id);
  EXPECT_EQ(shape_version_id(pattern_with({0, 400.0002, 1000}, 1000), grid), id);
  JourneyPattern renamed = pattern;
  renamed.ref = PatternRef("R/0/a-b/0123456789abcdee");
  EXPECT_NE(shape_version_id(renamed, grid), id);
}

}  // namespace
}  // namespace qiv
