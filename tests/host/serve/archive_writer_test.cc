#include "serve/archive_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/serve/line_service.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;
using testing::key_of;
using testing::LineService;

Progress progress_at(const std::string& time, double offset_m) {
  Progress progress;
  progress.vehicle = VehicleId("v");
  progress.trip = key_of("out");
  progress.time = progress.received = at(time);
  progress.offset_m = offset_m;
  return progress;
}

class ArchiveWriterTest : public ::testing::Test {
 protected:
  TripRun run(std::vector<Progress> progress) const {
    return {VehicleId("v"), key_of("out"), line.network->pattern(0).ref, std::move(progress)};
  }

  LineService line;
};

TEST_F(ArchiveWriterTest, NothingCountsBeforeItIsStored) {
  ArchiveWriter writer(line.archive);
  writer.add(fix("v", "out", "08:00:00", 0));
  writer.add(progress_at("08:00:00", 0), *line.network);
  EXPECT_EQ(writer.waiting(), 2U);
  EXPECT_EQ(writer.counts().positions, 0U);
  EXPECT_EQ(line.archive.summary().positions, 0U);
  EXPECT_TRUE(writer.commit());
  EXPECT_EQ(writer.waiting(), 0U);
  EXPECT_EQ(writer.counts().positions, 1U);
  EXPECT_EQ(writer.counts().progress, 1U);
  EXPECT_EQ(line.archive.summary().positions, 1U);
  EXPECT_EQ(line.archive.under_way().size(), 1U);
}

TEST_F(ArchiveWriterTest, KeepsTheOrderOfProgressCorrectionAndEnd) {
  ArchiveWriter writer(line.archive);
  writer.add(progress_at("08:00:00", 0), *line.network);
  writer.add(progress_at("08:01:00", 3000), *line.network);
  writer.add(Corrected{VehicleId("v"), key_of("out"), {progress_at("08:01:30", 700)}},
             *line.network);
  writer.add(progress_at("08:02:00", 900), *line.network);
  EXPECT_TRUE(writer.commit());
  ASSERT_EQ(line.archive.under_way().size(), 1U);
  const std::vector<Progress> kept = line.archive.under_way().front().progress;
  ASSERT_EQ(kept.size(), 2U);
  EXPECT_EQ(kept[0].offset_m, 700);
  EXPECT_EQ(kept[1].offset_m, 900);
  writer.add_finished({run(kept), {}});
  EXPECT_TRUE(writer.commit());
  EXPECT_TRUE(line.archive.under_way().empty());
  EXPECT_EQ(line.archive.summary().runs, 1U);
  EXPECT_EQ(writer.counts().trips, 1U);
}

TEST_F(ArchiveWriterTest, ATripWithoutProgressLeavesNothing) {
  ArchiveWriter writer(line.archive);
  writer.add_finished({run({}), {}});
  EXPECT_EQ(writer.waiting(), 0U);
}

TEST_F(ArchiveWriterTest, WaitsWhileTheArchiveCannotBeWritten) {
  Archive other(line.folder / "archive.sqlite");
  Archive impatient(line.folder / "archive.sqlite",
                    {ArchiveOptions::Access::write, std::chrono::milliseconds(1), 0});
  ArchiveWriter writer(impatient);
  other.together([&] {
    other.record(std::vector{fix("w", "out", "08:00:00", 0)});
    writer.add(fix("v", "out", "08:00:00", 0));
    EXPECT_FALSE(writer.commit());
    EXPECT_THAT(writer.last_error(), ::testing::HasSubstr("another program"));
  });
  EXPECT_EQ(writer.counts().failures, 1U);
  EXPECT_EQ(writer.counts().losses, 0U);
  EXPECT_TRUE(writer.commit());
  EXPECT_EQ(writer.last_error(), "");
  EXPECT_EQ(line.archive.summary().positions, 2U);
}

TEST_F(ArchiveWriterTest, GivesUpTheOldestBeyondItsLimit) {
  Archive small(line.folder / "small.sqlite",
                {ArchiveOptions::Access::write, std::chrono::milliseconds(1), 200'000});
  ArchiveWriter::Options options;
  options.most_rows = 30'000;
  ArchiveWriter writer(small, options);
  for (int i = 0; i < 40'000; ++i) {
    VehiclePosition position = fix("v", "out", "08:00:00", i);
    position.received += Seconds(i);
    writer.add(position);
  }
  EXPECT_FALSE(writer.commit());
  EXPECT_THAT(writer.last_error(), ::testing::HasSubstr("make room"));
  EXPECT_EQ(writer.counts().losses, 10'000U);
  EXPECT_EQ(writer.waiting(), 30'000U);
  EXPECT_EQ(small.summary().positions, 0U);
}

}  // namespace
}  // namespace qiv
