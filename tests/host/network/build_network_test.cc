#include "network/build_network.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "host/network/timetable_on_map.h"
#include "network/rejection_reasons.h"

namespace qiv {
namespace {

using test::AsciiMap;
using test::timetable_on_map;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

MATCHER_P(StopAt, offset_m, "") {
  return std::abs(arg.offset_m - offset_m) < 0.1;
}

// A town: the line from A to D, and a way round by x and y.
const AsciiMap town(R"(
          x---------y
          |         |
A---------B---------C---------D
)");

std::vector<std::string> refs_of(const Network& network) {
  std::vector<std::string> refs;
  for (const JourneyPattern& pattern : network.patterns()) refs.push_back(pattern.ref.text());
  return refs;
}

TEST(Patterns, AreSharedByTripsOfOneWay) {
  const Network network = build_network(timetable_on_map(town, R"(
    T1 route=1 dir=0 shape=ABCD  A 8:00:00  C 8:05:00  D 8:10:00
    T2 route=1 dir=0 shape=ABCD  A 9:00:00  C 9:06:00  D 9:12:00
  )"));
  ASSERT_THAT(network.patterns(), SizeIs(1));
  const JourneyPattern& pattern = network.pattern(0);
  EXPECT_EQ(pattern.route, RouteId("1"));
  EXPECT_EQ(pattern.direction, 0);
  EXPECT_TRUE(pattern.has_shape);
  EXPECT_THAT(pattern.ref.text(), ::testing::MatchesRegex("1/0/A-D/[0-9a-f]{16}"));
  EXPECT_THAT(pattern.stops, ElementsAre(StopAt(0.0), StopAt(200.0), StopAt(300.0)));
  EXPECT_EQ(pattern.length_m(), network.polyline(0).last_offset_m());
  EXPECT_TRUE(network.rejections().empty());
}

TEST(Patterns, DifferByRouteDirectionStopsAndPath) {
  const Network network = build_network(timetable_on_map(town, R"(
    T1 route=1 dir=0 shape=ABCD    A 8:00:00  C 8:05:00  D 8:10:00
    T2 route=2 dir=0 shape=ABCD    A 8:00:00  C 8:05:00  D 8:10:00
    T3 route=1 dir=1 shape=ABCD    A 8:00:00  C 8:05:00  D 8:10:00
    T4 route=1       shape=ABCD    A 8:00:00  C 8:05:00  D 8:10:00
    T5 route=1 dir=0 shape=ABCD    A 8:00:00  B 8:05:00  D 8:10:00
    T6 route=1 dir=0 shape=ABxyCD  A 8:00:00  C 8:05:00  D 8:10:00
    T7 route=1 dir=0               A 8:00:00  C 8:05:00  D 8:10:00
  )"));
  const auto refs = refs_of(network);
  EXPECT_THAT(refs, SizeIs(7));
  EXPECT_EQ(std::set(refs.begin(), refs.end()).size(), 7U);
}

TEST(Patterns, OfTwoShapesWithTheSamePointsAreOne) {
  Timetable timetable = timetable_on_map(town, R"(
    T1 shape=ABCD  A 8:00:00  D 8:10:00
    T2 shape=BCD   A 9:00:00  D 9:10:00
  )");
  timetable.shapes[ShapeId("BCD")] = timetable.shapes[ShapeId("ABCD")];
  timetable.shapes[ShapeId("BCD")][1].place.lat_deg += 1e-9;
  EXPECT_THAT(build_network(timetable).patterns(), SizeIs(1));
}

TEST(Patterns, WithAndWithoutAShapeAreOneWhereTheShapeIsStraightFromStopToStop) {
  const Network network = build_network(timetable_on_map(town, R"(
    T1 shape=ACD  A 8:00:00  C 8:05:00  D 8:10:00
    T2            A 9:00:00  C 9:05:00  D 9:10:00
    T3            A 9:00:00  B 9:05:00  D 9:10:00
  )"));
  EXPECT_THAT(network.patterns(), SizeIs(2));
  EXPECT_EQ(network.find_trip(TripId("T1"))->pattern, network.find_trip(TripId("T2"))->pattern);
}

TEST(Patterns, WithoutShapeRunStraightThroughTheStops) {
  const Network network = build_network(timetable_on_map(town, R"(
    T1  A 8:00:00  B 8:02:00  B 8:03:00  D 8:10:00
  )"));
  const JourneyPattern& pattern = network.pattern(0);
  EXPECT_FALSE(pattern.has_shape);
  EXPECT_THAT(pattern.path, SizeIs(3));
  EXPECT_THAT(pattern.stops, ElementsAre(StopAt(0.0), StopAt(100.0), StopAt(100.0), StopAt(300.0)));
  EXPECT_TRUE(network.rejections().empty());
}

TEST(Patterns, MayStartBeforeTheirFirstStop) {
  const Network network = build_network(timetable_on_map(town, R"(
    T1 shape=ABCD  B 8:00:00  C 8:10:00
  )"));
  EXPECT_THAT(network.pattern(0).stops, ElementsAre(StopAt(100.0), StopAt(200.0)));
  EXPECT_NEAR(network.pattern(0).length_m(), 300.0, 0.1);
}

TEST(Patterns, PutStopsLessThanAMetreApartOnOneOffset) {
  Timetable timetable = timetable_on_map(town, R"(
    T1 shape=ABCD  A 8:00:00  B 8:02:00  C 8:03:00  D 8:10:00
  )");
  const double metre_deg = 1.0 / metres_per_degree(53.35).east;
  timetable.stops[0].place.lon_deg += 0.6 * metre_deg;
  timetable.stops[2].place.lon_deg = timetable.stops[1].place.lon_deg + 0.6 * metre_deg;
  timetable.stops[3].place.lon_deg -= 0.6 * metre_deg;
  const JourneyPattern pattern = build_network(timetable).pattern(0);
  EXPECT_EQ(pattern.stops[0].offset_m, 0.0);
  EXPECT_EQ(pattern.stops[1].offset_m, pattern.stops[2].offset_m);
  EXPECT_EQ(pattern.stops[3].offset_m, pattern.length_m());
}

TEST(Patterns, LeadThroughAStopThatIsFarFromTheShape) {
  const AsciiMap map(R"(
               X











A---------B---------C---------D
)");
  const Network network = build_network(timetable_on_map(map, R"(
    T1 shape=AD  A 8:00:00  B 8:02:00  X 8:03:00  C 8:04:00  D 8:10:00
  )"));
  EXPECT_THAT(network.pattern(0).stops,
              ElementsAre(StopAt(0.0), StopAt(100.0), StopAt(390.0), StopAt(680.0), StopAt(780.0)));
  EXPECT_EQ(network.rejections().count(rejected::stop_off_shape), 1U);
  EXPECT_EQ(network.rejections().entries().at(std::string(rejected::stop_off_shape)).first,
            "stop_id 'X' of trip_id 'T1'");
  EXPECT_LT(network.polyline(0).project(map['X']).distance_m, 0.1);
}

TEST(Patterns, DoWithoutAShapeThatNoStopIsNear) {
  const AsciiMap map(R"(
A---------B











c---------d
)");
  const Network network = build_network(timetable_on_map(map, "T1 shape=cd  A 8:00:00  B 8:02:00"));
  EXPECT_FALSE(network.pattern(0).has_shape);
  EXPECT_NEAR(network.pattern(0).length_m(), 100.0, 0.1);
  EXPECT_EQ(network.rejections().count(rejected::useless_shape), 1U);
}

TEST(Patterns, DoWithoutAShapeThatIsNotThere) {
  Timetable timetable = timetable_on_map(town, "T1 shape=AD  A 8:00:00  D 8:02:00");
  timetable.shapes.clear();
  const Network network = build_network(timetable);
  EXPECT_FALSE(network.pattern(0).has_shape);
  EXPECT_EQ(network.rejections().count(rejected::unknown_shape), 1U);
}

TEST(Patterns, UseTheDistancesOfTheFeedWhereTheMapLeavesADraw) {
  const AsciiMap street(R"(
          P
A---------q-----------------------------b
)");
  Timetable timetable = timetable_on_map(street, R"(
    T1 shape=AqbqA  A 8:00:00 @0  P 8:01:00 @7  A 8:10:00 @8
  )");
  double dist = 0.0;  // in a unit of their own: the whole way is 8
  for (ShapePoint& point : timetable.shapes[ShapeId("AqbqA")]) {
    point.dist = dist;
    dist = dist == 0.0 ? 1.0 : dist == 1.0 ? 4.0 : dist == 4.0 ? 7.0 : 8.0;
  }
  EXPECT_THAT(build_network(timetable).pattern(0).stops,
              ElementsAre(StopAt(0.0), StopAt(700.0), StopAt(800.0)));
  // Distances that fall say nothing; the timetable speaks for the way out.
  timetable.shapes[ShapeId("AqbqA")][2].dist = 0.5;
  EXPECT_THAT(build_network(timetable).pattern(0).stops,
              ElementsAre(StopAt(0.0), StopAt(100.0), StopAt(800.0)));
}

TEST(Trips, HaveATimeAtEveryStop) {
  const Network network = build_network(timetable_on_map(town, R"(
    T1 shape=ABCD  A 8:00:00  B  C  D 8:06:00
  )"));
  const TripPlan& trip = network.trip(0);
  ASSERT_EQ(trip.size(), 4U);
  EXPECT_EQ(format_time_of_day(trip.call(1).arrival), "08:02:00");
  EXPECT_EQ(format_time_of_day(trip.call(2).departure), "08:04:00");
  EXPECT_EQ(trip.find_sequence(3), 2U);
  EXPECT_EQ(trip.find_sequence(9), std::nullopt);
}

TEST(Trips, AreCountedUnderTheReasonWhyTheyAreNotUsed) {
  Timetable timetable = timetable_on_map(town, R"(
    T1  A 8:00:00  D 8:06:00
    T2  A 8:00:00
    T3  A 8:00:00  B 8:01:00  C
    T4  A 8:00:00  A 8:01:00
    T5  A 8:00:00  B 8:03:00  C 8:02:00  D 8:06:00
    T6 service=never  A 8:00:00  D 8:06:00
  )");
  const Network network = build_network(timetable);
  const Rejections& rejections = network.rejections();
  EXPECT_EQ(rejections.count(rejected::few_stops), 1U);
  EXPECT_EQ(rejections.count(rejected::no_end_times), 1U);
  EXPECT_EQ(rejections.count(rejected::short_path), 1U);
  EXPECT_EQ(rejections.count(rejected::falling_time), 2U);
  EXPECT_EQ(rejections.count(rejected::unknown_service), 1U);
  EXPECT_EQ(rejections.entries().at(std::string(rejected::few_stops)).first, "trip_id 'T2'");
  std::vector<std::string> used;
  for (const TripPlan& trip : network.trips()) used.push_back(trip.id.text());
  EXPECT_THAT(used, ElementsAre("T1", "T5", "T6"));
  EXPECT_THAT(network.patterns(), SizeIs(2));  // T3's, which no trip uses, is not kept
}

TEST(Trips, PassOverStopsWithoutAPlace) {
  Timetable timetable = timetable_on_map(town, "T1  A 8:00:00  B 8:03:00  D 8:06:00");
  timetable.stops[1].place = {0.0, 0.0};
  const Network network = build_network(timetable);
  EXPECT_THAT(network.pattern(0).stops, SizeIs(2));
  EXPECT_EQ(network.trip(0).call(1).sequence, 3U);
  EXPECT_EQ(network.rejections().count(rejected::stop_place), 1U);
}

TEST(TimeZone, IsThatOfTheFirstAgency) {
  Timetable timetable = timetable_on_map(town, "T1  A 8:00:00  D 8:06:00", "America/New_York");
  timetable.agencies.push_back({AgencyId("B"), "Other", "Europe/Dublin"});
  const Network network = build_network(timetable);
  EXPECT_EQ(network.clock().time_zone(), "America/New_York");
  EXPECT_EQ(network.rejections().count(rejected::zone_of_agency), 1U);
  EXPECT_THAT(network.rejections().entries().at(std::string(rejected::zone_of_agency)).first,
              HasSubstr("Europe/Dublin"));
}

TEST(TimeZone, MayBeGiven) {
  Timetable timetable = timetable_on_map(town, "T1  A 8:00:00  D 8:06:00", "");
  EXPECT_THROW(build_network(timetable), std::runtime_error);
  NetworkOptions options;
  options.time_zone = "Europe/Dublin";
  EXPECT_EQ(build_network(timetable, options).clock().time_zone(), "Europe/Dublin");
  timetable.agencies.clear();
  EXPECT_THROW(build_network(timetable), std::runtime_error);
}

TEST(Network, OfAnEmptyTimetableIsEmpty) {
  const Network network = build_network(timetable_on_map(town, ""));
  EXPECT_TRUE(network.patterns().empty());
  EXPECT_TRUE(network.trips().empty());
  EXPECT_EQ(network.days(), std::nullopt);
}

TEST(Network, KeepsItsSpansWhenMoved) {
  Network first = build_network(timetable_on_map(town, "T1  A 8:00:00  D 8:06:00"));
  const TripPlan* trip = first.find_trip(TripId("T1"));
  const Network second = std::move(first);
  EXPECT_EQ(second.find_trip(TripId("T1")), trip);
  EXPECT_EQ(format_time_of_day(trip->arrival()), "08:06:00");
}

TEST(Network, LooksUpPatternsStopsAndRoutes) {
  const Network network = build_network(timetable_on_map(town, R"(
    T1 route=1 dir=0  A 8:00:00  D 8:10:00
    T2 route=1 dir=1  D 8:00:00  A 8:10:00
    T3 route=2        A 8:00:00  B 8:10:00
  )"));
  EXPECT_THAT(network.patterns_of(RouteId("1")), SizeIs(2));
  ASSERT_THAT(network.patterns_of(RouteId("1"), 1), SizeIs(1));
  EXPECT_EQ(network.patterns_of(RouteId("1"), 1)[0], network.find_trip(TripId("T2"))->pattern);
  EXPECT_THAT(network.patterns_of(RouteId("2"), 1), SizeIs(0));
  EXPECT_THAT(network.patterns_of(RouteId("9")), SizeIs(0));
  for (PatternIndex i = 0; i < network.patterns().size(); ++i) {
    EXPECT_EQ(network.find_pattern(network.pattern(i).ref), i);
  }
  EXPECT_EQ(network.find_pattern(PatternRef("1/0/A-D")), std::nullopt);
  EXPECT_EQ(network.stops()[network.find_stop(StopId("D")).value()].id, StopId("D"));
  EXPECT_EQ(network.find_stop(StopId("Z")), std::nullopt);
  EXPECT_EQ(network.find_route(RouteId("2"))->id, RouteId("2"));
  EXPECT_EQ(network.find_route(RouteId("9")), nullptr);
}

}  // namespace
}  // namespace qiv
