#include "evaluate/snapshot_record.h"

#include <gmock/gmock.h>

#include "host/evaluate/recording.h"
#include "host/feed/packing.h"

namespace qiv {
namespace {

using testing::at;
using testing::entity;
using ::testing::HasSubstr;
using testing::snapshot;

constexpr Seconds five_minutes(300);

std::string trip_in(const TripUpdateBatch* batch) {
  return batch == nullptr ? "none" : batch->updates.at(0).trip.text();
}

TEST(SnapshotRecordTest, ShowsTheLastThatIsNotLater) {
  const TemporaryFolder folder;
  // In the order of time, not of names.
  folder.write("b.pb", snapshot("08:00:00", entity("first", "")));
  folder.write("a.pb", snapshot("08:00:30", entity("second", "")));
  SnapshotRecord record(folder.path(), five_minutes);
  EXPECT_EQ(record.size(), 2U);
  EXPECT_EQ(trip_in(record.at(at("07:59:59"))), "none");
  EXPECT_EQ(trip_in(record.at(at("08:00:00"))), "first");
  EXPECT_EQ(trip_in(record.at(at("08:00:29"))), "first");
  EXPECT_EQ(trip_in(record.at(at("08:00:30"))), "second");
  EXPECT_EQ(record.shown(), 2U);
}

TEST(SnapshotRecordTest, AnOldSnapshotIsNotOnDisplay) {
  const TemporaryFolder folder;
  folder.write("a.pb", snapshot("08:00:00", entity("out", "")));
  SnapshotRecord record(folder.path(), five_minutes);
  EXPECT_EQ(trip_in(record.at(at("08:05:00"))), "out");
  EXPECT_EQ(trip_in(record.at(at("08:05:01"))), "none");
}

TEST(SnapshotRecordTest, OfOneTimeTheLastByNameCounts) {
  const TemporaryFolder folder;
  folder.write("1.pb", snapshot("08:00:00", entity("old", "")));
  folder.write("2.pb", snapshot("08:00:00", entity("new", "")));
  SnapshotRecord record(folder.path(), five_minutes);
  EXPECT_EQ(record.size(), 1U);
  EXPECT_EQ(trip_in(record.at(at("08:00:00"))), "new");
}

TEST(SnapshotRecordTest, ReadsAZipFileAndAPackedOne) {
  const TemporaryFolder folder;
  folder.write("day.zip",
               zip_of({{"x/1.pb", snapshot("08:00:00", entity("out", ""))},
                       {"x/2.pb.gz", gzip_of(snapshot("08:01:00", entity("later", "")))}}));
  SnapshotRecord record(folder.path() / "day.zip", five_minutes);
  EXPECT_EQ(trip_in(record.at(at("08:00:10"))), "out");
  EXPECT_EQ(trip_in(record.at(at("08:01:10"))), "later");
}

TEST(SnapshotRecordTest, WithoutAHeadersTimeTheNewestUpdateTells) {
  const TemporaryFolder folder;
  const std::string time = "timestamp: " + std::to_string(unix_seconds(at("08:00:00")));
  folder.write("a.pb",
               message_of("header { gtfs_realtime_version: \"2.0\" }" + entity("out", time)));
  folder.write("b.pb", message_of("header { gtfs_realtime_version: \"2.0\" }"));
  SnapshotRecord record(folder.path(), five_minutes);
  EXPECT_EQ(trip_in(record.at(at("07:59:59"))), "none");
  EXPECT_EQ(trip_in(record.at(at("08:00:00"))), "out");
  EXPECT_EQ(record.rejections().count("snapshot without a time"), 1U);
}

TEST(SnapshotRecordTest, WhatIsNoSnapshotIsCounted) {
  const TemporaryFolder folder;
  folder.write("a.pb", snapshot("08:00:00", entity("out", "") + "entity { id: \"2\" alert {} }"));
  folder.write("README.txt", "recorded on a Monday");
  folder.write("empty.pb", "");
  folder.write("half.pb", snapshot("08:00:10", entity("out", "")).substr(0, 30));
  folder.write("zeros.pb", std::string(100'000, '\0'));
  folder.write("damaged.pb.gz", "\x1f\x8b\x08 and no more");
  SnapshotRecord record(folder.path(), five_minutes);
  EXPECT_EQ(record.size(), 1U);
  EXPECT_EQ(record.rejections().count("not a GTFS-realtime message"), 4U);
  EXPECT_EQ(record.rejections().count("file cannot be read"), 1U);
  EXPECT_EQ(trip_in(record.at(at("08:00:00"))), "out");
  EXPECT_EQ(record.rejections().count("entity without trip update"), 1U);
}

TEST(SnapshotRecordTest, WithoutAnySnapshotTheErrorNamesTheRemedy) {
  const TemporaryFolder folder;
  folder.write("README.txt", "nothing yet");
  try {
    SnapshotRecord(folder.path(), five_minutes);
    FAIL() << "a folder without snapshots was taken";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), HasSubstr("holds no recorded trip updates (not a GTFS-realtime "
                                        "message: README.txt): name a GTFS-realtime message"));
  }
  EXPECT_THROW(SnapshotRecord(folder.path() / "missing", five_minutes), std::runtime_error);
}

}  // namespace
}  // namespace qiv
