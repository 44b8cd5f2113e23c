#include "network/stop_match.h"

#include <cmath>
#include <string_view>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "host/geo/ascii_map.h"

namespace qiv {
namespace {

using test::AsciiMap;
using ::testing::ElementsAre;
using ::testing::Eq;

constexpr double max_distance_m = 200.0;

MATCHER_P(At, offset_m, "") {
  return arg.has_value() && std::abs(*arg - offset_m) < 0.1;
}

const auto off_path = Eq(std::nullopt);

std::vector<StopOnPath> stops_at(const AsciiMap& map, std::string_view letters) {
  std::vector<StopOnPath> stops;
  for (const LatLon& place : map.places(letters)) stops.push_back({place, {}, {}});
  return stops;
}

std::vector<std::optional<double>> match(const AsciiMap& map, std::string_view path,
                                         std::string_view stops) {
  return match_stops(Polyline(map.path(path)), stops_at(map, stops), max_distance_m);
}

TEST(StopMatch, PutsStopsWhereThePathIsNearest) {
  const AsciiMap map(R"(
     P
a---------b
          |
          |
        Q c----R
)");
  EXPECT_THAT(match(map, "abc", "PQR"), ElementsAre(At(50.0), At(160.0), At(160.0)));
}

TEST(StopMatch, FollowsALoop) {
  const AsciiMap map(R"(
d----R----c
|         |
S         Q
|         |
a----P----b
)");
  // Round once, from P and back to P.
  EXPECT_THAT(match(map, "PbcdaP", "PQRSP"),
              ElementsAre(At(0.0), At(90.0), At(180.0), At(270.0), At(360.0)));
}

TEST(StopMatch, GoesOutAndBackOnOneStreet) {
  const AsciiMap map(R"(
     Q         S
a------------------------b
          R         T
)");
  // Out along the street to b and back: stops of both sides, in the order of the trip.
  EXPECT_THAT(match(map, "aba", "aQSbTRa"), ElementsAre(At(0.0), At(50.0), At(150.0), At(250.0),
                                                        At(300.0), At(400.0), At(500.0)));
}

TEST(StopMatch, PassesTheMiddleOfAFigureEightTwice) {
  const AsciiMap map(R"(
     c---------b
     |         |
     |         |
a----M---------d
     |
     |
     e
)");
  EXPECT_THAT(match(map, "aMdbcMe", "aMbMe"),
              ElementsAre(At(0.0), At(50.0), At(210.0), At(370.0), At(430.0)));
}

TEST(StopMatch, RunsRoundALollipop) {
  const AsciiMap map(R"(
               c-----R-----d
               |           |
a----P----Q----b           S
               |           |
               f-----T-----e
)");
  // Along the stick, round the head, and back along the stick.
  EXPECT_THAT(match(map, "abcdefba", "aPQRSTQPa"),
              ElementsAre(At(0.0), At(50.0), At(100.0), At(250.0), At(350.0), At(450.0), At(600.0),
                          At(650.0), At(700.0)));
}

TEST(StopMatch, ServesOneStopTwiceInARow) {
  const AsciiMap map("a----P----b");
  EXPECT_THAT(match(map, "ab", "aPPb"), ElementsAre(At(0.0), At(50.0), At(50.0), At(100.0)));
}

TEST(StopMatch, DoesNotForceTheEnds) {
  const AsciiMap map("a---------P---------Q---------b");
  EXPECT_THAT(match(map, "ab", "PQ"), ElementsAre(At(100.0), At(200.0)));
}

TEST(StopMatch, LetsStopsOutOfOrderByLittleShareAnOffset) {
  const AsciiMap map(R"(
     Q  P
a---------------b
)");
  EXPECT_THAT(match(map, "ab", "aPQb"), ElementsAre(At(0.0), At(65.0), At(65.0), At(160.0)));
}

TEST(StopMatch, LeavesStopsOffThePathThatAreFarFromIt) {
  const AsciiMap map(R"(
               F











a---------P---------Q---------b
)");
  EXPECT_THAT(match(map, "ab", "aPFQb"),
              ElementsAre(At(0.0), At(100.0), off_path, At(200.0), At(300.0)));
  EXPECT_THAT(match(map, "ab", "FF"), ElementsAre(off_path, off_path));
}

TEST(StopMatch, LeavesStopsOffThePathThatTheOrderDoesNotAllow) {
  const AsciiMap map("a---------P---------R-------------------Q---------b");
  EXPECT_THAT(match(map, "ab", "aQPRb"),
              ElementsAre(At(0.0), off_path, At(100.0), At(200.0), At(500.0)));
}

// On an out-and-back street a stop is as near to one direction as to the other: only a hint tells.
class StopOnBothWays : public ::testing::Test {
 protected:
  const AsciiMap map{R"(
          P
a---------q-----------------------------b
)"};
  const Polyline path{map.path("aba")};
  std::vector<StopOnPath> stops = stops_at(map, "aPa");

  std::vector<std::optional<double>> matched() const {
    return match_stops(path, stops, max_distance_m);
  }
};

TEST_F(StopOnBothWays, LiesWhereTheTimetableSuggests) {
  stops[0].timed_offset_m = 0.0;
  stops[2].timed_offset_m = 800.0;
  stops[1].timed_offset_m = 600.0;
  EXPECT_THAT(matched(), ElementsAre(At(0.0), At(700.0), At(800.0)));
  stops[1].timed_offset_m = 200.0;
  EXPECT_THAT(matched(), ElementsAre(At(0.0), At(100.0), At(800.0)));
}

TEST_F(StopOnBothWays, LiesWhereTheFeedStates) {
  stops[0].stated_offset_m = 0.0;
  stops[2].stated_offset_m = 800.0;
  stops[1].stated_offset_m = 710.0;
  stops[1].timed_offset_m = 200.0;
  EXPECT_THAT(matched(), ElementsAre(At(0.0), At(700.0), At(800.0)));
}

TEST_F(StopOnBothWays, IsNotMovedByAStatedOffsetFarFromIt) {
  stops[0].stated_offset_m = 0.0;
  stops[2].stated_offset_m = 800.0;
  stops[1].stated_offset_m = 450.0;  // 250 m from the stop
  stops[1].timed_offset_m = 200.0;
  EXPECT_THAT(matched(), ElementsAre(At(0.0), At(100.0), At(800.0)));
}

TEST_F(StopOnBothWays, IsNotMovedByDistancesOfWhichMostAreWrong) {
  // As if the stops were stated in kilometres on a shape in metres.
  stops[0].stated_offset_m = 0.0;
  stops[1].stated_offset_m = 0.7;
  stops[2].stated_offset_m = 0.8;
  stops[2].timed_offset_m = 800.0;
  EXPECT_THAT(matched(), ElementsAre(At(0.0), At(100.0), At(800.0)));
}

TEST_F(StopOnBothWays, IsPlacedByTheMapWhereTheMapTells) {
  const AsciiMap two_lanes(R"(
c---------P-----------------------------d

a---------------------------------------b
)");
  auto outward = stops_at(two_lanes, "aPc");
  for (StopOnPath& stop : outward) stop.stated_offset_m = 150.0;
  const auto placed = match_stops(Polyline(two_lanes.path("abdc")), outward, max_distance_m);
  EXPECT_THAT(placed, ElementsAre(At(0.0), At(740.0), At(840.0)));
}

TEST(StopMatch, OfATripRoundALoopUsesItsEnds) {
  const AsciiMap map(R"(
d---------c
|         |
A---------b
)");
  auto stops = stops_at(map, "AA");
  const Polyline loop(map.path("AbcdA"));
  stops[0].timed_offset_m = 0.0;
  stops[1].timed_offset_m = loop.last_offset_m();
  EXPECT_THAT(match_stops(loop, stops, max_distance_m),
              ElementsAre(At(0.0), At(loop.last_offset_m())));
}

TEST(StopMatch, EndsOnAPathThatPassesAStopAThousandTimes) {
  const AsciiMap map("a----P----b");
  std::string there_and_back;
  for (int i = 0; i < 1000; ++i) there_and_back += "ab";
  const auto matched = match(map, there_and_back, "PPPPPPPPPP");
  for (std::size_t i = 0; i < matched.size(); ++i) {
    ASSERT_TRUE(matched[i].has_value());
    if (i > 0) {
      EXPECT_LE(*matched[i - 1], *matched[i]);
    }
  }
}

TEST(StopMatch, OfNoStopsIsNothing) {
  const AsciiMap map("a----b");
  EXPECT_TRUE(match(map, "ab", "").empty());
}

}  // namespace
}  // namespace qiv
