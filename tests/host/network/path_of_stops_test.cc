#include "network/path_of_stops.h"

#include <cmath>
#include <string>
#include <string_view>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "host/geo/ascii_map.h"

namespace qiv {
namespace {

using test::AsciiMap;
using ::testing::ElementsAre;

using Offsets = std::vector<std::optional<double>>;

MATCHER_P(Metres, expected, "") {
  return std::abs(arg - expected) < 0.1;
}

/// The places of a path by the letters of the map, "?" for a place that has none.
std::string letters_of(const MeasuredPath& measured, const AsciiMap& map,
                       std::string_view letters) {
  std::string text;
  for (const PathPoint& point : measured.path) {
    char found = '?';
    for (const char letter : letters) {
      if (distance_m(map[letter], point.place) < 0.1) found = letter;
    }
    text += found;
  }
  return text;
}

void expect_measured(const MeasuredPath& measured) {
  const auto again = [&] {
    std::vector<LatLon> places;
    for (const PathPoint& point : measured.path) places.push_back(point.place);
    return measure_path(places);
  }();
  for (std::size_t i = 0; i < again.size(); ++i) {
    EXPECT_NEAR(measured.path[i].offset_m, again[i].offset_m, 0.01);
    if (i > 0) {
      EXPECT_LT(measured.path[i - 1].offset_m, measured.path[i].offset_m);
    }
  }
}

TEST(PathThroughStops, IsStraight) {
  const AsciiMap map(R"(
A---------B
          |
          C
)");
  const auto measured = path_through(map.places("ABBC"));
  EXPECT_EQ(letters_of(measured, map, "ABC"), "ABC");
  EXPECT_THAT(measured.stop_offsets_m,
              ElementsAre(Metres(0.0), Metres(100.0), Metres(100.0), Metres(140.0)));
}

class PathAlongShape : public ::testing::Test {
 protected:
  //  The shape leads from a over b to c; X and Y lie off it.
  const AsciiMap map{R"(
               X----Y
               :    :
a----P---------u----v----Q----b
                              |
                              c
)"};
  const std::vector<PathPoint> shape = map.path("abc");
  const Polyline line{shape};

  MeasuredPath along(std::string_view stops, const Offsets& offsets) const {
    const MeasuredPath measured = path_along(shape, line, map.places(stops), offsets);
    expect_measured(measured);
    return measured;
  }
};

TEST_F(PathAlongShape, IsTheShapeWhereAllStopsAreOnIt) {
  const auto measured = along("PQ", {50.0, 250.0});
  EXPECT_EQ(letters_of(measured, map, "abcPQ"), "aPQbc");
  EXPECT_THAT(measured.stop_offsets_m, ElementsAre(Metres(50.0), Metres(250.0)));
}

TEST_F(PathAlongShape, GoesOutToAStopAndBack) {
  const auto measured = along("PXQ", {50.0, std::nullopt, 250.0});
  EXPECT_EQ(letters_of(measured, map, "abcuvPQX"), "aPuXuQbc");
  EXPECT_THAT(measured.stop_offsets_m, ElementsAre(Metres(50.0), Metres(190.0), Metres(330.0)));
}

TEST_F(PathAlongShape, GoesThroughAllStopsOfOneExcursion) {
  const auto measured = along("PXYQ", {50.0, std::nullopt, std::nullopt, 250.0});
  EXPECT_EQ(letters_of(measured, map, "abcuvPQXY"), "aPuXYvQbc");
  EXPECT_THAT(measured.stop_offsets_m,
              ElementsAre(Metres(50.0), Metres(190.0), Metres(240.0), Metres(330.0)));
}

TEST_F(PathAlongShape, BeginsAndEndsAtStopsOffIt) {
  const auto begins = along("XQ", {std::nullopt, 250.0});
  EXPECT_EQ(letters_of(begins, map, "abcuvPQX"), "XuQbc");
  EXPECT_THAT(begins.stop_offsets_m, ElementsAre(Metres(0.0), Metres(140.0)));
  const auto ends = along("PY", {50.0, std::nullopt});
  EXPECT_EQ(letters_of(ends, map, "abcuvPQY"), "aPvY");
  EXPECT_THAT(ends.stop_offsets_m, ElementsAre(Metres(50.0), Metres(240.0)));
}

TEST_F(PathAlongShape, GoesBackForAStopThatIsOutOfOrder) {
  const auto measured = along("QPb", {250.0, std::nullopt, shape[1].offset_m});
  EXPECT_EQ(letters_of(measured, map, "abcPQ"), "aQPQbc");
  EXPECT_THAT(measured.stop_offsets_m, ElementsAre(Metres(250.0), Metres(450.0), Metres(700.0)));
}

}  // namespace
}  // namespace qiv
