#include "network/shape_version.h"

#include "gtest/gtest.h"

namespace qiv {
namespace {

JourneyPattern pattern_with(const std::vector<double>& stop_offsets_m) {
  JourneyPattern pattern;
  pattern.ref = PatternRef("R/0/a-b/0123456789abcdef");
  for (const double offset_m : stop_offsets_m) pattern.stops.push_back({0, offset_m});
  return pattern;
}

const std::vector<double> grid_m = {0, 400, 700, 1000};

TEST(ShapeVersion, IsTheSameForEver) {
  EXPECT_EQ(shape_version_id(pattern_with({0, 400, 1000}), grid_m), 6525457413573919850);
}

TEST(ShapeVersion, ChangesWithWhatTheLibraryIsTold) {
  const JourneyPattern pattern = pattern_with({0, 400, 1000});
  const long long id = shape_version_id(pattern, grid_m);
  EXPECT_GE(id, 0);
  EXPECT_NE(shape_version_id(pattern, {0, 400, 600, 800, 1000}), id);
  EXPECT_NE(shape_version_id(pattern_with({0, 400.002, 1000}), grid_m), id);
  EXPECT_EQ(shape_version_id(pattern_with({0, 400.0002, 1000}), grid_m), id);
  JourneyPattern renamed = pattern;
  renamed.ref = PatternRef("R/0/a-b/0123456789abcdee");
  EXPECT_NE(shape_version_id(renamed, grid_m), id);
}

}  // namespace
}  // namespace qiv
