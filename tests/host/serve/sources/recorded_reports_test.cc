#include "serve/sources/recorded_reports.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "gtfs-realtime.pb.h"
#include "host/history/temporary_folder.h"
#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;

/// A message that cancels a trip; no header time where `header` is empty.
std::string cancelation_of(const std::string& trip, std::optional<Instant> header) {
  transit_realtime::FeedMessage message;
  message.mutable_header()->set_gtfs_realtime_version("2.0");
  if (header) {
    message.mutable_header()->set_timestamp(static_cast<std::uint64_t>(unix_seconds(*header)));
  }
  auto& entity = *message.add_entity();
  entity.set_id("1");
  auto& descriptor = *entity.mutable_trip_update()->mutable_trip();
  descriptor.set_trip_id(trip);
  descriptor.set_start_date("20250303");
  descriptor.set_schedule_relationship(transit_realtime::TripDescriptor::CANCELED);
  return message.SerializeAsString();
}

class RecordedReportsTest : public ::testing::Test {
 protected:
  void put(const char* name, const std::string& bytes) const {
    std::ofstream(folder / name, std::ios::binary) << bytes;
  }

  RecordedReports read(const std::string& from, const std::string& until) const {
    FolderSourceOptions options;
    options.name = "agency";
    options.folder = folder.path();
    options.content = FeedContent::trip_updates;
    return read_recorded_reports(options, at(from), at(until));
  }

  samples::TemporaryFolder folder;
};

TEST_F(RecordedReportsTest, CountFromTheTimeInTheNameElseFromTheHeader) {
  put("a.pb", cancelation_of("later", at("08:10:00")));
  put("updates-20250303T080500Z.pb", cancelation_of("out", at("08:04:50")));
  const RecordedReports recorded = read("08:00:00", "09:00:00");
  ASSERT_EQ(recorded.reports.size(), 2U);
  EXPECT_EQ(recorded.reports[0].received, at("08:05:00"));
  EXPECT_EQ(recorded.reports[0].time(), at("08:04:50"));
  EXPECT_EQ(recorded.reports[0].content->updates.at(0).trip, TripId("out"));
  EXPECT_EQ(recorded.reports[0].source, "agency");
  EXPECT_EQ(recorded.reports[1].received, at("08:10:00"));
  EXPECT_EQ(recorded.reports[1].content->updates.at(0).trip, TripId("later"));
  EXPECT_EQ(recorded.not_used.total(), 0U);
}

TEST_F(RecordedReportsTest, ThoseOfOtherTimesAreLeftOut) {
  put("20250303T075959Z.pb", cancelation_of("before", at("07:59:59")));
  put("20250303T080000Z.pb", cancelation_of("first", at("08:00:00")));
  put("20250303T085959Z.pb", cancelation_of("last", at("08:59:59")));
  put("20250303T090000Z.pb", cancelation_of("after", at("09:00:00")));
  const RecordedReports recorded = read("08:00:00", "09:00:00");
  ASSERT_EQ(recorded.reports.size(), 2U);
  EXPECT_EQ(recorded.reports[0].content->updates.at(0).trip, TripId("first"));
  EXPECT_EQ(recorded.reports[1].content->updates.at(0).trip, TripId("last"));
}

TEST_F(RecordedReportsTest, WhatSaysTheSameAgainIsHeardAgain) {
  put("20250303T080000Z.pb", cancelation_of("out", at("08:00:00")));
  put("20250303T080100Z.pb", cancelation_of("out", at("08:00:00")));
  const RecordedReports recorded = read("08:00:00", "09:00:00");
  ASSERT_EQ(recorded.reports.size(), 2U);
  EXPECT_EQ(recorded.reports[1].received, at("08:01:00"));
  EXPECT_EQ(recorded.reports[1].content, recorded.reports[0].content);
}

TEST_F(RecordedReportsTest, WhatIsOfNoUseIsCounted) {
  put("20250303T080000Z.pb", "no message");
  put("no-time.pb", cancelation_of("out", std::nullopt));
  put("20251303T080000Z.txt", "notes");
  const RecordedReports recorded = read("08:00:00", "09:00:00");
  EXPECT_TRUE(recorded.reports.empty());
  EXPECT_EQ(recorded.not_used.entries().at("snapshot without a time").count, 2U)
      << "there is no month 13";
  EXPECT_EQ(recorded.not_used.total(), 3U);
}

TEST_F(RecordedReportsTest, AFolderThatIsNotThereIsAnError) {
  FolderSourceOptions options;
  options.folder = folder / "nowhere";
  options.content = FeedContent::alerts;
  EXPECT_THROW(read_recorded_reports(options, at("08:00:00"), at("09:00:00")), std::runtime_error);
}

}  // namespace
}  // namespace qiv
