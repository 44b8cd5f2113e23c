#include "history/pattern_outline.h"

#include <gmock/gmock.h>

#include <sstream>

#include "host/history/samples.h"

namespace qiv {
namespace {

using samples::run_of;
using testing::ElementsAre;
using testing::IsEmpty;

/// Reads "A 0, B 1000, C 2000": stops and offsets of route R, direction 0; the path ends at the
/// last.
PatternOutline outline_of(const std::string& ref, const std::string& text) {
  PatternOutline result{PatternRef(ref), RouteId("R"), 0, {}, 0.0};
  std::istringstream calls(text);
  for (std::string call; std::getline(calls, call, ',');) {
    std::istringstream words(call);
    std::string stop;
    words >> stop >> result.length_m;
    result.stops.push_back({StopId(stop), result.length_m});
  }
  return result;
}

const PatternOutline plain = outline_of("plain", "A 0, B 1000, C 2000, D 3000");

TEST(PatternOutlineTest, NamesTheStopsOfAPattern) {
  const std::vector<Stop> stops = {{StopId("A"), "", {}}, {StopId("B"), "", {}}};
  JourneyPattern pattern = samples::pattern_with_stops("P", {5, 900});
  const PatternOutline made = outline(pattern, stops);
  EXPECT_EQ(made.ref, PatternRef("P"));
  EXPECT_EQ(made.route, RouteId("R"));
  EXPECT_EQ(made.direction, 0);
  EXPECT_THAT(made.stops, ElementsAre(PatternOutline::CallingPoint{StopId("A"), 5},
                                      PatternOutline::CallingPoint{StopId("B"), 900}));
  EXPECT_EQ(made.length_m, 900);
}

TEST(KinshipTest, IsTheShareOfStopsInTheSameOrder) {
  EXPECT_EQ(kinship(plain, plain), 1.0);
  EXPECT_EQ(kinship(plain, outline_of("", "A 0, B 900, X 1500, C 2100, D 3000")), 0.8);
  EXPECT_EQ(kinship(plain, outline_of("", "D 0, C 1000, B 2000, A 3000")), 0.25);
  EXPECT_EQ(kinship(plain, outline_of("", "X 0, Y 1000")), 0.0);
}

TEST(KinshipTest, IsNoneBetweenRoutesAndDirections) {
  PatternOutline other = plain;
  other.direction = 1;
  EXPECT_EQ(kinship(plain, other), 0.0);
  other = plain;
  other.route = RouteId("S");
  EXPECT_EQ(kinship(plain, other), 0.0);
}

TEST(CoverageTest, IsTheShareOfTheStopsThatTheOtherHas) {
  const PatternOutline middle = outline_of("middle", "B 0, C 1000");
  EXPECT_EQ(coverage(plain, middle), 1.0) << "a short working";
  EXPECT_EQ(coverage(middle, plain), 0.5);
  EXPECT_EQ(kinship(plain, middle), 0.5);
  PatternOutline other = plain;
  other.direction = 1;
  EXPECT_EQ(coverage(plain, other), 0.0);
}

TEST(ReprojectTest, AShortWorkingNeedsOnlyItsOwnStops) {
  const auto moved = reproject(run_of("V", "T", "plain", R"(
    08:00:00 departs 0
    08:02:00 arrives 1000
    08:02:30 departs 1000
    08:05:00 arrives 2000
    08:08:00 arrives 3000)"),
                               plain, outline_of("middle", "B 0, C 1000"));
  ASSERT_TRUE(moved);
  EXPECT_EQ(*moved, run_of("V", "T", "middle", R"(
    08:02:00 arrives 0
    08:02:30 departs 0
    08:05:00 arrives 1000)"));
}

TEST(ReprojectTest, CarriesStationEventsOverExactly) {
  const PatternOutline longer = outline_of("longer", "A 0, B 1100, C 2500, D 3600");
  const auto moved = reproject(run_of("V", "T", "plain", R"(
    08:00:00 departs 0
    08:02:00 arrives 1000
    08:02:30 departs 1000
    08:05:00 arrives 2000
    08:05:30 departs 2000
    08:08:00 arrives 3000)"),
                               plain, longer);
  ASSERT_TRUE(moved);
  EXPECT_EQ(*moved, run_of("V", "T", "longer", R"(
    08:00:00 departs 0
    08:02:00 arrives 1100
    08:02:30 departs 1100
    08:05:00 arrives 2500
    08:05:30 departs 2500
    08:08:00 arrives 3600)"));
}

TEST(ReprojectTest, IsLinearBetweenSharedStops) {
  const PatternOutline other = outline_of("other", "A 0, B 2002, C 3002, D 4002");
  const auto moved = reproject(run_of("V", "T", "plain", R"(
    08:00:00 at 2
    08:01:00 at 501
    08:02:00 at 1002
    08:06:00 at 3000)"),
                               plain, other);
  ASSERT_TRUE(moved);
  EXPECT_EQ(*moved, run_of("V", "T", "other", R"(
    08:00:00 at 2
    08:01:00 at 1002
    08:02:00 at 2004
    08:06:00 at 4002)"));
}

TEST(ReprojectTest, MakesAFixOfAnEventAtAStopThatIsNotShared) {
  const PatternOutline express = outline_of("express", "A 0, B 1000, D 3000");
  const auto moved = reproject(run_of("V", "T", "plain", R"(
    08:00:00 departs 0
    08:02:00 arrives 1000
    08:05:00 arrives 2000
    08:08:00 arrives 3000)"),
                               plain, express);
  ASSERT_TRUE(moved);
  EXPECT_EQ(*moved, run_of("V", "T", "express", R"(
    08:00:00 departs 0
    08:02:00 arrives 1000
    08:05:00 at 2000
    08:08:00 arrives 3000)"));
}

TEST(ReprojectTest, CutsARunWhereTheOtherPatternBeginsAndEnds) {
  const PatternOutline shorter = outline_of("shorter", "B 0, C 1000, D 2000");
  const PatternOutline full = outline_of("full", "A 0, B 1000, C 2000, D 3000, E 4000");
  const auto moved = reproject(run_of("V", "T", "full", R"(
    08:00:00 at 0
    08:01:40 at 900
    08:02:00 at 1100
    08:04:00 at 2000
    08:05:40 at 2900
    08:06:00 at 3100)"),
                               full, shorter);
  ASSERT_TRUE(moved);
  TripRun expected = run_of("V", "T", "shorter", R"(
    08:01:50 at 0
    08:02:00 at 100
    08:04:00 at 1000
    08:05:40 at 1900
    08:05:50 at 2000)");
  expected.progress.front().received = samples::at("08:02:05");
  expected.progress.back().received = samples::at("08:06:05");
  ASSERT_EQ(moved->progress.size(), expected.progress.size());
  for (std::size_t i = 0; i < expected.progress.size(); ++i) {
    EXPECT_NEAR(moved->progress[i].offset_m, expected.progress[i].offset_m, 2.0);
    EXPECT_EQ(moved->progress[i].time, expected.progress[i].time);
    EXPECT_EQ(moved->progress[i].received, expected.progress[i].received);
  }
}

TEST(ReprojectTest, KeepsTheEndsThatBothPatternsHave) {
  PatternOutline from = outline_of("from", "A 20, B 1000, C 2000");
  PatternOutline to = outline_of("to", "A 10, B 1000, C 1990");
  from.length_m = 2040;
  to.length_m = 2000;
  const auto moved = reproject(
      run_of("V", "T", "from", "08:00:00 at 0 \n 08:01:00 at 15 \n 08:06:00 at 2040"), from, to);
  ASSERT_TRUE(moved);
  std::vector<double> offsets_m;
  for (const Progress& p : moved->progress) offsets_m.push_back(p.offset_m);
  EXPECT_THAT(offsets_m, ElementsAre(0, 5, 10, 1990, 2000));
}

TEST(ReprojectTest, GivesNothingForStrangers) {
  const TripRun run = run_of("V", "T", "plain", "08:00:00 at 0 \n 08:06:00 at 3000");
  EXPECT_FALSE(reproject(run, plain, outline_of("", "A 0, X 1000, Y 2000, D 3000")));
  PatternOutline back = plain;
  back.direction = 1;
  EXPECT_FALSE(reproject(run, plain, back));
}

TEST(ReprojectTest, GivesNothingWhenTooLittleIsLeft) {
  const PatternOutline shorter = outline_of("shorter", "B 0, C 1000, D 2000");
  EXPECT_FALSE(
      reproject(run_of("V", "T", "plain", "08:00:00 at 0 \n 08:01:00 at 900"), plain, shorter));
}

}  // namespace
}  // namespace qiv
