#include "geo/polyline.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <random>
#include <stdexcept>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "host/geo/ascii_map.h"

namespace qiv {

static void PrintTo(const LineMatch& match, std::ostream* out) {
  *out << match.offset_m << " m along, " << match.distance_m << " m away, heading "
       << match.heading_deg;
}

namespace {

using test::AsciiMap;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

MATCHER_P(Metres, expected, "") {
  return std::abs(arg - expected) < 0.05;
}

// At the offset, coming past at the distance, heading that way.
MATCHER_P3(Passes, offset_m, distance_m, heading_deg, "") {
  return std::abs(arg.offset_m - offset_m) < 0.05 && std::abs(arg.distance_m - distance_m) < 0.05 &&
         angle_between_deg(arg.heading_deg, heading_deg) < 0.05;
}

TEST(MeasurePath, SumsTheDistances) {
  const AsciiMap map(R"(
A---------B
          |
          C
)");
  const auto path = map.path("ABC");
  ASSERT_THAT(path, SizeIs(3));
  EXPECT_EQ(path[0].offset_m, 0.0);
  EXPECT_THAT(path[1].offset_m, Metres(100.0));
  EXPECT_THAT(path[2].offset_m, Metres(140.0));
}

TEST(MeasurePath, OfNothingIsNothing) {
  EXPECT_THAT(measure_path({}), IsEmpty());
}

TEST(Project, FindsTheNearestPointOfTheLine) {
  const AsciiMap map(R"(
     x
A---------B
          |
        y |
          C     z
)");
  const Polyline line(map.path("ABC"));
  EXPECT_THAT(line.project(map['x']), Passes(50.0, 20.0, 90.0));
  EXPECT_THAT(line.project(map['y']), Passes(140.0, 20.0, 180.0));
  EXPECT_THAT(line.project(map['z']), Passes(160.0, 60.0, 180.0));
  EXPECT_THAT(line.project(map['A']), Passes(0.0, 0.0, 90.0));
}

TEST(Project, KeepsToThePartThatIsAskedFor) {
  const AsciiMap map(R"(
A---------B
     x    |
D---------C
)");
  const Polyline line(map.path("ABCD"));
  EXPECT_THAT(line.project(map['x'], 0.0, 120.0), Passes(50.0, 20.0, 90.0));
  EXPECT_THAT(line.project(map['x'], 120.0, 240.0), Passes(190.0, 20.0, 270.0));
  EXPECT_THAT(line.project(map['x'], 110.0, 120.0), Passes(120.0, 50.0, 180.0));
  EXPECT_THAT(line.project(map['x'], 70.0, 70.0), Passes(70.0, std::hypot(20.0, 20.0), 90.0));
  EXPECT_THAT(line.project(map['A'], -500.0, 900.0), Passes(0.0, 0.0, 90.0));
}

TEST(Project, TakesTheFirstOfEquallyNearPoints) {
  const AsciiMap map(R"(
A---------B
     x
)");
  EXPECT_THAT(Polyline(map.path("ABA")).project(map['x']), Passes(50.0, 20.0, 90.0));
}

TEST(Candidates, OfASelfCrossingLineAreItsTwoPasses) {
  const AsciiMap map(R"(
          C---------B
          |         |
          |         |
A---------x---------D
          |
          E
)");
  const Polyline line(map.path("AxDBCxE"));
  EXPECT_THAT(line.candidates(map['x'], 30.0),
              ElementsAre(Passes(100.0, 0.0, 90.0), Passes(420.0, 0.0, 180.0)));
}

TEST(Candidates, OfAStreetUsedBothWaysAreItsTwoDirections) {
  const AsciiMap map(R"(
A-------------------B
     x          y
)");
  const Polyline line(map.path("ABA"));
  EXPECT_THAT(line.candidates(map['x'], 30.0),
              ElementsAre(Passes(50.0, 20.0, 90.0), Passes(350.0, 20.0, 270.0)));
  // The turn lies within the radius here.
  EXPECT_THAT(line.candidates(map['y'], 100.0),
              ElementsAre(Passes(160.0, 20.0, 90.0), Passes(240.0, 20.0, 270.0)));
}

TEST(Candidates, OfABendAreOne) {
  // 8 m and 10 m from the legs of a corner: no two ways past a stop.
  const std::vector<LatLon> corner{{53.35, -6.26}, {53.35, -6.259}, {53.351, -6.259}};
  const Polyline line(measure_path(corner));
  const MetresPerDegree scale = metres_per_degree(53.35);
  const LatLon inside{53.35 + 8.0 / scale.north, -6.259 - 10.0 / scale.east};
  const auto found = line.candidates(inside, 50.0);
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_NEAR(found[0].distance_m, 8.0, 0.01);
}

TEST(Candidates, AreNoneBeyondTheRadius) {
  const AsciiMap map(R"(
     x
A---------B
)");
  const Polyline line(map.path("AB"));
  EXPECT_THAT(line.candidates(map['x'], 19.0), IsEmpty());
  EXPECT_THAT(line.candidates(map['x'], 21.0), SizeIs(1));
  EXPECT_THAT(line.candidates(map['x'], -1.0), IsEmpty());
}

TEST(Candidates, AreSplitWhereTheLineLeavesTheRadius) {
  const AsciiMap map(R"(
     B    C
     |    |
A----x----D
)");
  const Polyline line(map.path("xBCD"));
  EXPECT_THAT(line.candidates(map['D'], 45.0), ElementsAre(Passes(130.0, 0.0, 180.0)));
  EXPECT_THAT(line.candidates(map['x'], 55.0),
              ElementsAre(Passes(0.0, 0.0, 0.0), Passes(130.0, 50.0, 180.0)));
}

TEST(Line, GivesPlaceAndHeadingAtAnOffset) {
  const AsciiMap map(R"(
A---------B
          |
          C
)");
  const Polyline line(map.path("ABC"));
  EXPECT_LT(distance_m(line.point_at(100.0), map['B']), 0.05);
  EXPECT_LT(distance_m(line.point_at(-7.0), map['A']), 0.05);
  EXPECT_LT(distance_m(line.point_at(1e9), map['C']), 0.05);
  EXPECT_NEAR(distance_m(line.point_at(40.0), map['A']), 40.0, 0.05);
  EXPECT_NEAR(line.heading_at(50.0), 90.0, 0.05);
  EXPECT_NEAR(line.heading_at(120.0), 180.0, 0.05);
  EXPECT_NEAR(line.heading_at(line.last_offset_m()), 180.0, 0.05);
  EXPECT_NEAR(line.heading_at(-3.0), 90.0, 0.05);
}

TEST(Line, TakesRepeatedPointsForOne) {
  const AsciiMap map(R"(
     x
A---------B
)");
  const Polyline line(map.path("AAABBB"));
  EXPECT_THAT(line.project(map['x']), Passes(50.0, 20.0, 90.0));
  EXPECT_THAT(line.candidates(map['B'], 10.0), ElementsAre(Passes(100.0, 0.0, 90.0)));
  EXPECT_NEAR(line.heading_at(0.0), 90.0, 0.05);
  EXPECT_NEAR(line.heading_at(100.0), 90.0, 0.05);
}

TEST(Line, MayBeASinglePlace) {
  const AsciiMap map("A    x");
  const Polyline line(map.path("AA"));
  EXPECT_THAT(line.project(map['x']), Passes(0.0, 50.0, 0.0));
  EXPECT_THAT(line.candidates(map['x'], 60.0), ElementsAre(Passes(0.0, 50.0, 0.0)));
  EXPECT_EQ(line.point_at(10.0), map['A']);
  EXPECT_EQ(line.heading_at(0.0), 0.0);
}

TEST(Line, PassesTheAntimeridian) {
  const AsciiMap map(R"(
     x    y    z
A---------------------------------------B
)",
                     {-17.8, 179.9990});
  ASSERT_LT(map['B'].lon_deg, 0.0);
  for (const char* direction : {"AB", "BA"}) {
    const Polyline line(map.path(direction));
    EXPECT_THAT(line.last_offset_m(), Metres(400.0));
    for (const char place : {'x', 'y', 'z'}) {
      const LineMatch match = line.project(map[place]);
      EXPECT_THAT(match.distance_m, Metres(20.0));
      EXPECT_LT(distance_m(line.point_at(match.offset_m), map[place]), 20.1);
      EXPECT_THAT(line.candidates(map[place], 25.0), SizeIs(1));
    }
  }
}

TEST(Line, AnswersForAPlaceThatIsNone) {
  const AsciiMap map("A---------B");
  const Polyline line(map.path("AB"));
  const LatLon nowhere{std::numeric_limits<double>::quiet_NaN(), 0.0};
  EXPECT_TRUE(std::isnan(line.project(nowhere).distance_m));
  EXPECT_THAT(line.candidates(nowhere, 1e6), IsEmpty());
}

TEST(Line, RefusesWhatIsNoPath) {
  const LatLon a{53.35, -6.26};
  const double nan = std::numeric_limits<double>::quiet_NaN();
  using Path = std::vector<PathPoint>;
  EXPECT_THROW(Polyline(Path{}), std::invalid_argument);
  EXPECT_THROW(Polyline(Path{{a, 0.0}}), std::invalid_argument);
  EXPECT_THROW(Polyline(Path{{a, 10.0}, {a, 5.0}}), std::invalid_argument);
  EXPECT_THROW(Polyline(Path{{a, 0.0}, {a, nan}}), std::invalid_argument);
  EXPECT_THROW(Polyline(Path{{a, 0.0}, {{nan, 0.0}, 5.0}}), std::invalid_argument);
}

/// A line that wanders through a few hundred metres and crosses itself often.
std::vector<PathPoint> tangle(std::mt19937_64& random, std::size_t points) {
  std::normal_distribution<double> step(0.0, 0.0006);
  std::vector<LatLon> places{{53.35, -6.26}};
  while (places.size() < points) {
    places.push_back({places.back().lat_deg * 0.9 + 53.35 * 0.1 + step(random),
                      places.back().lon_deg * 0.9 - 6.26 * 0.1 + step(random)});
  }
  return measure_path(places);
}

std::vector<LatLon> places_around(std::mt19937_64& random, int count) {
  std::normal_distribution<double> around(0.0, 0.002);
  std::vector<LatLon> places;
  for (int i = 0; i < count; ++i) {
    places.push_back({53.35 + around(random), -6.26 + around(random)});
  }
  return places;
}

TEST(LineProperty, ProjectionIsAsNearAsTheNearestOfItsPoints) {
  std::mt19937_64 random(3);
  for (const std::size_t points : {2U, 3U, 9U, 40U, 300U}) {
    const Polyline line(tangle(random, points));
    for (const LatLon& place : places_around(random, 40)) {
      double nearest_m = std::numeric_limits<double>::infinity();
      for (double offset_m = 0.0; offset_m < line.last_offset_m(); offset_m += 0.25) {
        nearest_m = std::min(nearest_m, distance_m(place, line.point_at(offset_m)));
      }
      const LineMatch match = line.project(place);
      EXPECT_NEAR(match.distance_m, nearest_m, 0.3);
      EXPECT_LE(match.distance_m, nearest_m + 0.05);
      EXPECT_NEAR(distance_m(place, line.point_at(match.offset_m)), match.distance_m, 0.05);
    }
  }
}

TEST(LineProperty, CandidatesAreInOrderAndHoldTheProjection) {
  std::mt19937_64 random(4);
  const Polyline line(tangle(random, 300));
  for (const LatLon& place : places_around(random, 300)) {
    const LineMatch nearest = line.project(place);
    const auto found = line.candidates(place, nearest.distance_m + 60.0);
    ASSERT_FALSE(found.empty());
    const auto best = std::min_element(
        found.begin(), found.end(),
        [](const LineMatch& a, const LineMatch& b) { return a.distance_m < b.distance_m; });
    EXPECT_EQ(best->distance_m, nearest.distance_m);
    EXPECT_EQ(best->offset_m, nearest.offset_m);
    for (std::size_t i = 0; i < found.size(); ++i) {
      EXPECT_LE(found[i].distance_m, nearest.distance_m + 60.0);
      EXPECT_NEAR(distance_m(place, line.point_at(found[i].offset_m)), found[i].distance_m, 0.01);
      if (i > 0) {
        EXPECT_LT(found[i - 1].offset_m, found[i].offset_m);
      }
    }
  }
}

// The plain twin: walk along the line and note the valleys of the distance.
TEST(LineProperty, CandidatesAreTheValleysOfTheDistance) {
  std::mt19937_64 random(5);
  const Polyline line(tangle(random, 60));
  const double radius_m = 120.0;
  for (const LatLon& place : places_around(random, 60)) {
    std::vector<double> valleys;
    double low = std::numeric_limits<double>::infinity();
    double high = 0.0;
    const auto end_valley = [&] {
      if (low <= radius_m) valleys.push_back(low);
      low = std::numeric_limits<double>::infinity();
    };
    for (double offset_m = 0.0; offset_m <= line.last_offset_m(); offset_m += 0.05) {
      const double here_m = distance_m(place, line.point_at(offset_m));
      if (here_m > radius_m) {
        end_valley();
        continue;
      }
      const bool climbed = low + Polyline::min_rise_m <= high;
      if (climbed && here_m + Polyline::min_rise_m <= high) end_valley();
      if (here_m < low) low = high = here_m;
      high = std::max(high, here_m);
    }
    end_valley();

    std::vector<double> found;
    for (const LineMatch& match : line.candidates(place, radius_m)) {
      found.push_back(match.distance_m);
    }
    EXPECT_THAT(found, ::testing::Pointwise(::testing::DoubleNear(0.1), valleys));
  }
}

}  // namespace
}  // namespace qiv
