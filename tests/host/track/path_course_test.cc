#include "track/path_course.h"

#include <gtest/gtest.h>

#include <cmath>

#include "geo/distance.h"
#include "host/track/two_lines.h"

namespace qiv {
namespace {

using testing::at;
using testing::seen;

PatternIndex pattern_of(const Network& network, const char* trip) {
  return network.find_trip(TripId(trip))->pattern;
}

class PathCourseTest : public ::testing::Test {
 protected:
  PathCourse course_on(const char* trip) { return {network, pattern_of(network, trip), options}; }

  /// Gives the reports, all of which count.
  static void give(PathCourse& course, const std::vector<VehiclePosition>& reports) {
    const VehiclePosition* before = nullptr;
    for (const VehiclePosition& report : reports) {
      CourseStep step;
      if (before != nullptr) {
        step = {false, distance_m(*before->place, *report.place), report.time - before->time};
      }
      course.take(report, step);
      before = &report;
    }
  }

  Network network = testing::two_lines();
  TrackOptions options;
};

TEST_F(PathCourseTest, ForwardAlongThePathFitsBetterWithEveryStep) {
  PathCourse course = course_on("one-0800");
  std::vector<VehiclePosition> reports;
  double before = -1.0;
  for (int i = 0; i < 5; ++i) {
    reports.push_back(seen("v", "08:0" + std::to_string(i) + ":00", 300.0 + 500.0 * i));
    course = course_on("one-0800");
    give(course, reports);
    ASSERT_EQ(course.places().size(), 1U);
    EXPECT_GT(course.places().front().fit, before);
    before = course.places().front().fit;
  }
  EXPECT_NEAR(course.places().front().offset_m(), 2300.0, 1.0);
  EXPECT_EQ(course.places().front().since(), at("08:00:00"));
}

TEST_F(PathCourseTest, TheOtherDirectionIsNoCourse) {
  const std::vector<VehiclePosition> reports = {
      seen("v", "08:00:00", 300), seen("v", "08:01:00", 800), seen("v", "08:02:00", 1300)};
  PathCourse out = course_on("one-0800");
  PathCourse back = course_on("back-0820");
  give(out, reports);
  give(back, reports);
  EXPECT_GT(out.places().front().fit, back.places().front().fit + 2.0);
  EXPECT_EQ(back.places().front().marks.size(), 1U);
}

TEST_F(PathCourseTest, EndsWhenTheVehicleLeavesThePath) {
  PathCourse course = course_on("one-0800");
  std::vector<VehiclePosition> reports = {seen("v", "08:00:00", 1500), seen("v", "08:01:00", 2000)};
  give(course, reports);
  ASSERT_FALSE(course.places().empty());
  for (const char* const time : {"08:02:00", "08:03:00", "08:04:00", "08:05:00", "08:06:00"}) {
    course.take(seen("v", time, 2000, 800), {false, 500.0, Seconds(60)});
  }
  EXPECT_TRUE(course.places().empty());
}

TEST_F(PathCourseTest, ACourseMayComeThroughOnePlaceTwice) {
  const Network loop = testing::straight_network();
  PathCourse course(loop, pattern_of(loop, "loop1"), options);
  give(course, {seen("v", "10:01:00", 500)});
  EXPECT_EQ(course.places().size(), 2U);
  give(course, {seen("v", "10:01:00", 500), seen("v", "10:02:00", 1000)});
  EXPECT_NEAR(course.places().front().offset_m(), 1000.0, 1.0);
}

TEST_F(PathCourseTest, TheDepartureIsTheLastMomentAtTheFirstStop) {
  PathCourse course = course_on("one-0800");
  course.take(seen("v", "07:50:00", 5), {});
  course.stay(at("08:00:30"));
  course.take(seen("v", "08:01:30", 400), {false, 395.0, Seconds(60)});
  const CourseMarks& marks = course.places().front().marks;
  ASSERT_EQ(marks.size(), 2U);
  EXPECT_TRUE(marks.begin()->at_start);
  EXPECT_EQ(marks.begin()->time, at("08:00:30"));
}

TEST_F(PathCourseTest, AStopThatTheFeedStatesCounts) {
  VehiclePosition next_b = seen("v", "08:01:00", 500);
  next_b.stop = StopId("B");
  VehiclePosition next_a = next_b;
  next_a.stop = StopId("A");
  PathCourse fits = course_on("one-0800");
  PathCourse contradicts = course_on("one-0800");
  PathCourse silent = course_on("one-0800");
  fits.take(next_b, {});
  contradicts.take(next_a, {});
  silent.take(seen("v", "08:01:00", 500), {});
  EXPECT_GT(fits.places().front().fit, silent.places().front().fit);
  EXPECT_LT(contradicts.places().front().fit, silent.places().front().fit);
}

TEST_F(PathCourseTest, ABearingAgainstThePathCounts) {
  VehiclePosition east = seen("v", "08:01:00", 500);
  east.bearing_deg = 90.0;
  VehiclePosition west = east;
  west.bearing_deg = 270.0;
  PathCourse along = course_on("one-0800");
  PathCourse against = course_on("one-0800");
  along.take(east, {});
  against.take(west, {});
  EXPECT_GT(along.places().front().fit, against.places().front().fit + 2.0);
}

TEST(CourseMarksTest, KeepTheFirstAndTheLatest) {
  CourseMarks marks;
  for (int i = 0; i < 100; ++i) marks.add({from_unix_seconds(i), 10.0 * i, false});
  EXPECT_LE(marks.size(), 8U);
  EXPECT_EQ(marks.begin()->offset_m, 0.0);
  EXPECT_EQ(marks.latest().offset_m, 990.0);
  for (const CourseMarks::Mark* mark = marks.begin() + 1; mark != marks.end(); ++mark) {
    EXPECT_LT((mark - 1)->time, mark->time);
  }
}

}  // namespace
}  // namespace qiv
