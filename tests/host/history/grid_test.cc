#include "history/grid.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <cmath>

#include "host/history/samples.h"
#include "model/settings.h"

namespace qiv {
namespace {

using samples::pattern_with_stops;
using testing::DoubleEq;
using testing::ElementsAre;
using testing::SizeIs;

TEST(GridTest, GivesEveryStopBetweenTheEndsTwoPlaces) {
  const Grid grid = make_grid(pattern_with_stops("P", {0, 1000, 1600}), 1e6);
  EXPECT_THAT(grid.places_m, ElementsAre(0, 1000, 1002, 1600));
  EXPECT_EQ(grid.milestones_m, grid.places_m);
  EXPECT_EQ(grid.places_m[Grid::arrival_place(0)], 0);
  EXPECT_EQ(grid.places_m[Grid::departure_place(0)], 0);
  EXPECT_EQ(grid.places_m[Grid::arrival_place(1)], 1000);
  EXPECT_EQ(grid.places_m[Grid::departure_place(1)], 1002);
  EXPECT_EQ(grid.places_m[Grid::arrival_place(2)], 1600);
}

TEST(GridTest, DividesWhatIsLongerThanTheSpacingEvenly) {
  const Grid grid = make_grid(pattern_with_stops("P", {0, 500, 1002}), 200);
  EXPECT_THAT(grid.milestones_m,
              ElementsAre(0, DoubleEq(500.0 / 3), DoubleEq(1000.0 / 3), 500, 502,
                          DoubleEq(502 + 500.0 / 3), DoubleEq(502 + 1000.0 / 3), 1002));
}

TEST(GridTest, BeginsAndEndsWithThePathEvenWhereItsStopsDoNot) {
  JourneyPattern pattern = pattern_with_stops("P", {30, 500, 980});
  pattern.path.back().offset_m = 1000;
  const Grid grid = make_grid(pattern, 1e6);
  EXPECT_THAT(grid.places_m, ElementsAre(30, 500, 502, 980));
  EXPECT_THAT(grid.milestones_m, ElementsAre(0, 30, 500, 502, 980, 1000));
}

TEST(GridTest, TellsStopsOnOneSpotApart) {
  const Grid grid = make_grid(pattern_with_stops("P", {0, 400, 400, 400}), 1e6);
  ASSERT_THAT(grid.places_m, SizeIs(6));
  EXPECT_LT(std::abs(grid.places_m[1] - 400), 3.0);
  for (std::size_t i = 1; i < grid.places_m.size(); ++i) {
    EXPECT_LT(grid.places_m[i - 1], grid.places_m[i]);
  }
}

RC_GTEST_PROP(GridTest, IncreasesStrictlyWithinTheSpacing, ()) {
  const auto steps_m =
      *rc::gen::nonEmpty(rc::gen::container<std::vector<unsigned>>(rc::gen::inRange(0U, 3000U)));
  std::vector<double> offsets_m = {0.0};
  for (const unsigned step_m : steps_m) offsets_m.push_back(offsets_m.back() + step_m);
  const double spacing_m = *rc::gen::inRange(10, 1000);
  const Grid grid = make_grid(pattern_with_stops("P", offsets_m), spacing_m);
  RC_ASSERT(grid.places_m.size() == 2 * (offsets_m.size() - 1));
  RC_ASSERT(grid.milestones_m.front() == 0.0);
  for (std::size_t i = 1; i < grid.milestones_m.size(); ++i) {
    const double gap_m = grid.milestones_m[i] - grid.milestones_m[i - 1];
    RC_ASSERT(gap_m > 0.0);
    RC_ASSERT(gap_m <= spacing_m + 1e-6);
  }
  for (const double place_m : grid.places_m) {
    RC_ASSERT(std::binary_search(grid.milestones_m.begin(), grid.milestones_m.end(), place_m));
  }
}

TEST(GridOffsetTest, PutsEvidenceOnThePlaceOfItsStopAndAFixWhereItIs) {
  const JourneyPattern pattern = pattern_with_stops("P", {0, 1000, 1600});
  const Grid grid = make_grid(pattern, 1e6);
  const auto offset_of = [&](const char* line) {
    return grid_offset_m(grid, pattern, samples::progress_of(line));
  };
  EXPECT_EQ(offset_of("08:00:00 arrives 1000.5"), 1000);
  EXPECT_EQ(offset_of("08:00:00 departs 1000.5"), 1002);
  EXPECT_EQ(offset_of("08:00:00 departs 0"), 0);
  EXPECT_EQ(offset_of("08:00:00 departs 1600"), 1600) << "nothing lies behind the last stop";
  EXPECT_EQ(offset_of("08:00:00 at 1001"), 1001);
  EXPECT_EQ(offset_of("08:00:00 at -5"), 0);
  EXPECT_EQ(offset_of("08:00:00 at 1700"), 1600);
}

}  // namespace
}  // namespace qiv
