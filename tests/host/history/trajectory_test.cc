#include "history/trajectory.h"

#include <gmock/gmock.h>

#include "host/history/samples.h"

namespace qiv {
namespace {

using samples::at;
using samples::pattern_with_stops;
using samples::run_of;
using testing::ElementsAre;
using testing::Optional;

/// Four stops, the places of each, and one milestone between.
const JourneyPattern line = pattern_with_stops("line", {0, 1000, 2000, 3000});
const std::vector<double> milestones = {0, 500, 1000, 1002, 2000, 2002, 3000};

std::variant<Trajectory, std::string_view> made(const std::string& text,
                                                const TrajectoryRules& rules = {}) {
  return make_trajectory(run_of("V", "T", "line", text), line, milestones, rules);
}

Trajectory trajectory(const std::string& text) {
  auto result = made(text);
  if (const auto* reason = std::get_if<std::string_view>(&result)) {
    ADD_FAILURE() << "no trajectory: " << *reason;
    return {};
  }
  return std::get<Trajectory>(result);
}

std::string rejected(const std::string& text, const TrajectoryRules& rules = {}) {
  const auto result = made(text, rules);
  const auto* reason = std::get_if<std::string_view>(&result);
  return reason ? std::string(*reason) : "not rejected";
}

TEST(TrajectoryTest, TakesTimesOfStationEvents) {
  const Trajectory t = trajectory(R"(
    08:00:00 departs 0
    08:02:00 arrives 1000
    08:02:30 departs 1000
    08:04:30 arrives 2000
    08:05:30 departs 2000
    08:07:00 arrives 3000)");
  EXPECT_THAT(t.times_s, ElementsAre(0, 60, 120, 150, 270, 330, 420));
  EXPECT_EQ(t.departed, at("08:00:00"));
  EXPECT_EQ(t.finished, at("08:07:05"));
  EXPECT_EQ(t.vehicle, VehicleId("V"));
  EXPECT_EQ(t.trip.trip, TripId("T"));
}

TEST(TrajectoryTest, IsLinearInDistanceBetweenReports) {
  const Trajectory t = trajectory(R"(
    08:00:00 at 0
    08:00:40 at 400
    08:02:30 at 1500
    08:03:20 at 2000
    08:05:00 at 3000)");
  EXPECT_THAT(t.times_s, ElementsAre(0, 50, 100, 100, 200, 200, 300));
}

TEST(TrajectoryTest, StartsWithTheLastReportAtTheFirstStop) {
  const Trajectory t = trajectory(R"(
    07:50:00 at 3
    07:58:00 at 20
    08:00:00 at 45
    08:00:30 at 500
    08:03:00 at 1900
    08:05:00 at 3000)");
  EXPECT_EQ(t.departed, at("08:00:00"));
  EXPECT_THAT(t.times_s[0], 0);
  EXPECT_THAT(t.times_s[1], 30);
}

TEST(TrajectoryTest, BelievesADepartureMoreThanALaterFixNearby) {
  const Trajectory t = trajectory(R"(
    07:58:00 arrives 0
    08:00:00 departs 0
    08:00:20 at 40
    08:01:00 at 500
    08:03:00 at 1900
    08:05:00 at 3000)");
  EXPECT_EQ(t.departed, at("08:00:00"));
  EXPECT_EQ(t.times_s[1], 60);
}

TEST(TrajectoryTest, CountsNoSecondStopAsTheFirst) {
  const JourneyPattern close = pattern_with_stops("close", {0, 40, 1000});
  const auto result = make_trajectory(run_of("V", "T", "close", R"(
    08:00:00 departs 0
    08:01:00 arrives 40
    08:02:00 departs 40
    08:04:00 arrives 1000)"),
                                      close, std::vector<double>{0, 40, 42, 1000});
  EXPECT_THAT(std::get<Trajectory>(result).times_s, ElementsAre(0, 60, 120, 240));
}

TEST(TrajectoryTest, ExtrapolatesAStartThatIsJustMissed) {
  const Trajectory t = trajectory(R"(
    08:00:10 at 100
    08:01:00 at 600
    08:03:00 at 1900
    08:05:00 at 3000)");
  EXPECT_EQ(t.departed, at("08:00:00"));  // 10 m/s on the first leg
  EXPECT_EQ(t.times_s[1], 50);
}

TEST(TrajectoryTest, ExtrapolatesNoSlowerThanTheRulesAllow) {
  const Trajectory t = trajectory(R"(
    08:10:00 at 100
    08:20:00 at 260
    08:22:00 at 1400
    08:24:00 at 1900
    08:25:00 at 3000)");
  EXPECT_EQ(t.departed, at("08:09:10"));  // 2 m/s
}

TEST(TrajectoryTest, ExtrapolatesAnEndThatIsJustMissed) {
  const Trajectory t = trajectory(R"(
    08:00:00 at 0
    08:02:00 at 1200
    08:04:00 at 2400
    08:05:00 at 2900)");
  EXPECT_EQ(t.times_s.back(), 300 + 12);  // 500 m in 60 s on the last leg
  EXPECT_EQ(t.finished, at("08:05:05"));
}

/// A fix every 400 m, from `first_m` to `last_m`, at 10 m/s.
std::string coarse_fixes(int first_m, int last_m) {
  std::string text;
  for (int offset_m = first_m; offset_m <= last_m; offset_m += 400) {
    const Seconds time(8 * 3600 + offset_m / 10);
    text += format_time_of_day(time) + " at " + std::to_string(offset_m) + "\n";
  }
  return text;
}

TEST(TrajectoryTest, ToleratesAtBothEndsTheStepOfCoarseFixes) {
  const Trajectory t = trajectory(coarse_fixes(350, 2750));
  EXPECT_EQ(t.departed, at("08:00:00"));
  EXPECT_THAT(t.times_s, ElementsAre(0, 50, 100, 100, 200, 200, 300));
  EXPECT_EQ(rejected(coarse_fixes(450, 2850)), "begins late");
  EXPECT_EQ(rejected(coarse_fixes(0, 2400)), "ends early");
}

TEST(TrajectoryTest, ToleratesNoMoreThanItsShareOfThePath) {
  TrajectoryRules rules;
  rules.widest_end_share = 0.1;
  EXPECT_EQ(rejected(coarse_fixes(290, 3100), rules), "not rejected");
  EXPECT_EQ(rejected(coarse_fixes(310, 3150), rules), "begins late");
}

TEST(TrajectoryTest, ToleratesNoSuchStepWhereStopsAreStated) {
  EXPECT_EQ(rejected("08:00:35 arrives 350 \n" + coarse_fixes(750, 2750)), "begins late");
  EXPECT_EQ(rejected(coarse_fixes(0, 2400) + "08:04:35 arrives 2750"), "ends early");
}

TEST(TrajectoryTest, IsFinishedWithTheReportThatReachesTheEnd) {
  const Trajectory t = trajectory(R"(
    08:00:00 departs 0
    08:02:30 arrives 1500
    08:05:00 arrives 3000
    08:30:00 at 3000)");
  EXPECT_EQ(t.finished, at("08:05:05"));
}

TEST(TrajectoryTest, LetsAVehicleStandForLong) {
  const Trajectory t = trajectory(R"(
    08:00:00 departs 0
    08:02:00 arrives 1000
    08:42:00 departs 1000
    08:44:00 arrives 2000
    08:46:00 arrives 3000)");
  EXPECT_EQ(t.times_s[3] - t.times_s[2], 40 * 60);
}

TEST(TrajectoryTest, RejectsWhatIsNoWholeTrip) {
  EXPECT_EQ(rejected(""), "too few reports");
  EXPECT_EQ(rejected("08:00:00 departs 0"), "too few reports");
  EXPECT_EQ(rejected("08:00:00 at 0 \n 08:00:10 at 10"), "too few reports");
  EXPECT_EQ(rejected("08:02:00 arrives 1000 \n 08:04:00 arrives 2000 \n 08:07:00 arrives 3000"),
            "begins late");
  EXPECT_EQ(rejected("08:00:00 departs 0 \n 08:02:00 arrives 1000 \n 08:04:00 arrives 2000"),
            "ends early");
}

TEST(TrajectoryTest, RejectsATripWhoseDepartureNobodySaw) {
  EXPECT_EQ(rejected(R"(
    07:55:00 arrives 0
    08:02:00 arrives 1000
    08:04:00 arrives 2000
    08:06:00 arrives 3000)"),
            "departure unseen");
}

TEST(TrajectoryTest, RejectsGaps) {
  EXPECT_EQ(rejected(R"(
    08:00:00 at 0
    08:01:00 at 500
    08:21:01 at 1500
    08:25:00 at 3000)"),
            "gap too long");
  EXPECT_EQ(rejected("08:00:00 at 0 \n 08:01:00 at 500 \n 08:04:00 at 2100 \n 08:05:00 at 3000"),
            "gap too wide");
}

TEST(TrajectoryTest, AllowsAnyLegBetweenNeighbouringStops) {
  const JourneyPattern shuttle = pattern_with_stops("shuttle", {0, 9000});
  const auto result =
      make_trajectory(run_of("V", "T", "shuttle", "08:00:00 departs 0 \n 08:10:00 arrives 9000"),
                      shuttle, std::vector<double>{0, 9000});
  EXPECT_THAT(std::get<Trajectory>(result).times_s, ElementsAre(0, 600));
}

TEST(TrajectoryTest, RejectsImpossibleSpeeds) {
  EXPECT_EQ(rejected(R"(
    08:00:00 at 0
    08:01:00 at 900
    08:01:02 at 1800
    08:05:00 at 3000)"),
            "too fast");
}

TEST(TrajectoryTest, RejectsWhatGoesBackOrIsNowhere) {
  EXPECT_EQ(rejected("08:00:00 at 0 \n 08:05:00 at 1500 \n 08:04:00 at 3000"), "goes back");
  EXPECT_EQ(rejected("08:00:00 at 0 \n 08:03:00 at 1500 \n 08:04:00 at 1400"), "goes back");
  TripRun run = run_of("V", "T", "line", "08:00:00 at 0 \n 08:03:00 at 1500 \n 08:05:00 at 3000");
  run.progress[1].offset_m = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(std::get<std::string_view>(make_trajectory(run, line, milestones)), "goes back");
}

TEST(TrajectoryTest, RejectsATripWithoutEnd) {
  EXPECT_EQ(rejected(R"(
    08:00:00 departs 0
    08:02:00 arrives 1000
    33:02:00 departs 1000
    33:04:00 arrives 2000
    33:06:00 arrives 3000)"),
            "lasts too long");
}

TEST(PassingTimesTest, AreThoseBetweenTheReports) {
  const TripRun run = run_of("V", "T", "line", R"(
    08:00:00 at 100
    08:01:40 arrives 1000
    08:02:00 departs 1000
    08:03:00 at 1602)");
  const auto unix_s = [](const char* time) { return static_cast<double>(unix_seconds(at(time))); };
  EXPECT_THAT(
      passing_times_s(run, std::vector<double>{0, 100, 550, 1000, 1002, 1302, 1602, 1603}),
      ElementsAre(std::nullopt, Optional(unix_s("08:00:00")), Optional(unix_s("08:00:50")),
                  Optional(unix_s("08:01:40")), Optional(unix_s("08:02:00")),
                  Optional(unix_s("08:02:30")), Optional(unix_s("08:03:00")), std::nullopt));
}

TEST(PassingTimesTest, AreNoneForAnEmptyRun) {
  EXPECT_THAT(passing_times_s(TripRun{}, std::vector<double>{0}), ElementsAre(std::nullopt));
}

}  // namespace
}  // namespace qiv
