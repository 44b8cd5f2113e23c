#include "evaluate/assignment_score.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/track/two_lines.h"

namespace qiv {
namespace {

using testing::fix;

/// One trip of each line, every minute from before the departure to behind the end.
std::vector<VehiclePosition> day() {
  std::vector<VehiclePosition> reports;
  for (int minute = -3; minute <= 14; ++minute) {
    const double along_m = std::clamp(500.0 * minute, 0.0, 4000.0);
    VehiclePosition one = fix("v1", "one-0800", "08:00:00", along_m);
    one.time += Seconds(60 * minute);
    one.received = one.time;
    one.route = RouteId("1");
    reports.push_back(one);
    VehiclePosition two = fix("v2", "two-0803", "08:03:00", std::min(along_m, 2000.0),
                              std::max(0.0, along_m - 2000.0));
    two.time += Seconds(60 * minute);
    two.received = two.time;
    two.route = RouteId("2");
    reports.push_back(two);
  }
  std::stable_sort(reports.begin(), reports.end(),
                   [](const auto& a, const auto& b) { return a.received < b.received; });
  return reports;
}

AssignmentScore score_of(HiddenTrip hidden) {
  const Network network = testing::two_lines();
  AssignmentTest test(network, {}, hidden);
  test.add_day(day());
  return test.score();
}

TEST(AssignmentScoreTest, FindsTheTripsThatWereHidden) {
  const AssignmentScore score = score_of(HiddenTrip::all);
  EXPECT_EQ(score.trips, 2U);
  EXPECT_EQ(score.trips_found, 2U);
  EXPECT_EQ(score.reports + score.others, day().size());
  EXPECT_GT(score.right, 0U);
  EXPECT_EQ(score.right, score.assigned);
  EXPECT_LT(score.assigned, score.reports) << "on the shared street it cannot be known";
  EXPECT_EQ(score.until_found.size(), 2U);
  std::uint64_t stated = 0;
  for (const AssignmentScore::Stated& tenth : score.stated) stated += tenth.reports;
  EXPECT_EQ(stated, score.assigned);
}

TEST(AssignmentScoreTest, AStatedRouteFindsThemSooner) {
  const AssignmentScore all = score_of(HiddenTrip::all);
  const AssignmentScore route = score_of(HiddenTrip::route);
  ASSERT_EQ(route.trips_found, 2U);
  EXPECT_GT(route.right, all.right);
  EXPECT_LE(route.until_found.back(), all.until_found.back());
}

TEST(AssignmentScoreTest, IsToldToPeopleAndPrograms) {
  const AssignmentScore score = score_of(HiddenTrip::route);
  EXPECT_NE(assignment_text(score).find("found                      100.0 %"), std::string::npos);
  const auto json = nlohmann::json::parse(assignment_json(score));
  EXPECT_EQ(json["trips_found"], 2);
  EXPECT_EQ(json["stated"].size(), 10U);
}

TEST(AssignmentScoreTest, NothingRecordedIsNoMistake) {
  const Network network = testing::two_lines();
  AssignmentTest test(network, {}, HiddenTrip::all);
  test.add_day({});
  EXPECT_EQ(test.score().reports, 0U);
  EXPECT_NE(assignment_text(test.score()).find("0.0 %"), std::string::npos);
}

}  // namespace
}  // namespace qiv
