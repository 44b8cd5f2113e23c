#include "track/trip_candidates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/track/two_lines.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::monday;

class TripCandidatesTest : public ::testing::Test {
 protected:
  std::vector<TripCandidate> find(const std::string& time, double offset_m,
                                  const VehiclePosition& report = {}) {
    CoursePlace place;
    place.marks.add({at(time), offset_m, offset_m <= 50.0});
    std::vector<TripCandidate> found;
    candidates.find(network.find_trip(TripId("one-0800"))->pattern, place, report, found);
    return found;
  }

  static std::vector<std::string> names(const std::vector<TripCandidate>& found) {
    std::vector<std::string> names;
    for (const TripCandidate& candidate : found) names.push_back(to_string(candidate.key()));
    return names;
  }

  Network network = testing::two_lines();
  TripCandidates candidates{network};
};

TEST_F(TripCandidatesTest, TheTripsThatMayBeAtThePlaceByTheirTimes) {
  EXPECT_THAT(names(find("08:05:00", 2000)), ElementsAre("one-0800@20250303"));
  EXPECT_THAT(names(find("08:40:00", 2000)), ElementsAre("one-0800@20250303", "one-0830@20250303"));
  EXPECT_THAT(names(find("12:00:00", 2000)), IsEmpty());
}

TEST_F(TripCandidatesTest, AVehicleAtTheFirstStopMayWaitForATripToCome) {
  EXPECT_THAT(names(find("08:20:00", 0)), ElementsAre("one-0800@20250303", "one-0830@20250303"));
  EXPECT_THAT(names(find("07:20:00", 0)), IsEmpty());
}

TEST_F(TripCandidatesTest, TheNearestToItsTimetableFitsBest) {
  const auto found = find("08:37:00", 2000);
  ASSERT_THAT(names(found), ElementsAre("one-0800@20250303", "one-0830@20250303"));
  EXPECT_GT(found[1].fit, found[0].fit + 3.0);
}

TEST_F(TripCandidatesTest, WhatTheReportStatesNarrowsThem) {
  VehiclePosition report;
  report.start_time = *parse_time_of_day("08:30:00");
  EXPECT_THAT(names(find("08:40:00", 2000, report)), ElementsAre("one-0830@20250303"));
  report.start_time.reset();
  report.start_date = monday + std::chrono::days(1);
  EXPECT_THAT(names(find("08:40:00", 2000, report)), IsEmpty());
}

TEST_F(TripCandidatesTest, OnlyTripsThatRunThatDay) {
  Timetable timetable = testing::two_lines_timetable();
  timetable.services[ServiceId("daily")].removed.insert(monday);
  const Network closed = build_network(timetable);
  TripCandidates none(closed);
  CoursePlace place;
  place.marks.add({at("08:05:00"), 2000.0, false});
  std::vector<TripCandidate> found;
  none.find(closed.find_trip(TripId("one-0800"))->pattern, place, {}, found);
  EXPECT_THAT(found, IsEmpty());
}

TEST_F(TripCandidatesTest, TripsBeyondMidnightBelongToTheDayBefore) {
  Timetable timetable = testing::two_lines_timetable();
  for (StopTime& call : timetable.trips.front().stop_times) {
    *call.arrival += Seconds(17 * 3600);
    *call.departure += Seconds(17 * 3600);
  }
  const Network night = build_network(timetable);
  TripCandidates nightly(night);
  CoursePlace place;
  place.marks.add({at("01:05:00", monday + std::chrono::days(1)), 2000.0, false});
  std::vector<TripCandidate> found;
  nightly.find(night.find_trip(TripId("one-0800"))->pattern, place, {}, found);
  EXPECT_THAT(names(found), ElementsAre("one-0800@20250303"));
}

TEST(DelayFitTest, EarlyIsRarerThanLate) {
  EXPECT_GT(delay_fit(Seconds(0), false), delay_fit(Seconds(300), false));
  EXPECT_GT(delay_fit(Seconds(300), false), delay_fit(Seconds(-300), false));
  EXPECT_GT(delay_fit(Seconds(300), false), delay_fit(Seconds(300), true));
  EXPECT_GT(delay_fit(Seconds(0), false), 0.0);
  EXPECT_LT(delay_fit(Seconds(-1800), false), -3.0);
}

TEST(WaitingFitTest, TheNextDepartureIsTheLikeliest) {
  EXPECT_GT(waiting_fit(Seconds(60)), waiting_fit(Seconds(900)));
  EXPECT_GT(waiting_fit(Seconds(900)), delay_fit(Seconds(-900), true));
}

}  // namespace
}  // namespace qiv
