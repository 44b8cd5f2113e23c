#include "simulate/gtfs_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "feed/file_bundle.h"
#include "feed/gtfs.h"
#include "host/simulate/small_town.h"

namespace qiv {
namespace {

GtfsResult read_back(const Timetable& timetable) {
  return read_gtfs(FileBundle::open_zip(zip_of(gtfs_files(timetable)), "town.zip"));
}

TEST(GtfsFiles, ATownReadsBackWithoutARejection) {
  const Timetable town = testing::small_town();
  const GtfsResult result = read_back(town);
  EXPECT_TRUE(result.rejections.empty());
  EXPECT_TRUE(result.remarks.empty());
  const Timetable& read = result.timetable;
  EXPECT_EQ(read.version, town.version);
  EXPECT_EQ(read.agencies.front().time_zone, "Etc/UTC");
  EXPECT_EQ(read.routes.size(), town.routes.size());
  ASSERT_EQ(read.trips.size(), town.trips.size());
  const Trip& trip = read.trips.back();
  const Trip& written = town.trips.back();
  EXPECT_EQ(trip.id, written.id);
  EXPECT_EQ(trip.direction, written.direction);
  ASSERT_EQ(trip.stop_times.size(), written.stop_times.size());
  EXPECT_EQ(trip.stop_times.back().arrival, written.stop_times.back().arrival);
  EXPECT_EQ(read.shapes.at(trip.shape).size(), trip.stop_times.size());
  EXPECT_TRUE(read.services.at(trip.service).runs_on(*ServiceDate::parse("2025-05-05")));
}

TEST(GtfsFiles, TextsWithCommasAndQuotesAreQuoted) {
  Timetable town = testing::small_town();
  town.stops.front().name = "Corner, \"old\"";
  EXPECT_THAT(gtfs_files(town).at("stops.txt"), ::testing::HasSubstr("\"Corner, \"\"old\"\"\""));
}

TEST(GtfsFiles, FrequenciesAndSingleDaysAreKept) {
  Timetable town = testing::small_town();
  town.frequencies.push_back({0, std::chrono::hours(8), std::chrono::hours(9), Seconds(600)});
  town.services.begin()->second.removed.insert(*ServiceDate::parse("2025-05-06"));
  const Timetable read = read_back(town).timetable;
  ASSERT_EQ(read.frequencies.size(), 1u);
  EXPECT_EQ(read.frequencies.front().headway, Seconds(600));
  EXPECT_FALSE(read.services.begin()->second.runs_on(*ServiceDate::parse("2025-05-06")));
}

}  // namespace
}  // namespace qiv
