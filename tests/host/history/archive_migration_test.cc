#include <gmock/gmock.h>
#include <sqlite3.h>

#include "history/archive.h"
#include "host/history/samples.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

using samples::at;
using samples::run_of;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// data/archive-v1.sqlite was written in version 1 of the format: two positions, one run, settings,
/// a timetable and an import.
class ArchiveMigrationTest : public testing::Test {
 protected:
  ArchiveMigrationTest() {
    std::filesystem::copy_file(QIV_HISTORY_TEST_DIR "/data/archive-v1.sqlite", file);
    std::filesystem::permissions(file, std::filesystem::perms(0644));
  }

  /// The definitions of all tables and indexes, in order of name.
  static std::vector<std::string> schema(const std::filesystem::path& of) {
    std::vector<std::string> found;
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(of.c_str(), &database), SQLITE_OK);
    const auto take = [](void* list, int, char** values, char**) {
      static_cast<std::vector<std::string>*>(list)->push_back(values[0]);
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(database,
                           "SELECT name || ': ' || coalesce(sql, '') FROM sqlite_master"
                           " ORDER BY name",
                           take, &found, nullptr),
              SQLITE_OK);
    sqlite3_close(database);
    return found;
  }

  samples::TemporaryFolder folder;
  std::filesystem::path file = folder / "archive.sqlite";
};

TEST_F(ArchiveMigrationTest, KeepsAllThatTheOldFileHeld) {
  const Archive archive(file);
  EXPECT_EQ(archive.summary().version, 3);

  const auto positions = archive.positions(Instant::min(), Instant::max());
  ASSERT_THAT(positions, SizeIs(2));
  EXPECT_EQ(positions[0].received, at("08:00:30"));
  EXPECT_EQ(positions[0].time, at("08:00:10"));
  EXPECT_EQ(positions[0].vehicle, VehicleId("E918"));
  EXPECT_EQ(positions[0].trip, TripId("E918-0800"));
  EXPECT_EQ(positions[0].route, RouteId("DART"));
  EXPECT_EQ(positions[0].direction, 1);
  EXPECT_EQ(positions[0].start_date, samples::sample_day);
  EXPECT_EQ(positions[0].start_time, parse_time_of_day("08:00:00"));
  EXPECT_EQ(positions[0].place, (LatLon{53.3347, -6.22979}));
  EXPECT_EQ(positions[0].bearing_deg, 12.5);
  EXPECT_EQ(positions[0].speed_mps, 12.96416);
  EXPECT_EQ(positions[0].stop, StopId("GCDK"));
  EXPECT_EQ(positions[0].stop_sequence, 16U);
  EXPECT_EQ(positions[0].status, StopStatus::stopped_at);
  EXPECT_EQ(positions[1].received, at("08:01:00"));
  EXPECT_TRUE(positions[1].time_is_received);
  EXPECT_EQ(positions[1].place, std::nullopt);

  const auto runs = archive.runs({PatternRef("DART/1"), {}, {}});
  ASSERT_THAT(runs, SizeIs(1));
  EXPECT_EQ(runs[0].run, run_of("E918", "E918-0800", "DART/1", R"(
    08:00:00 departs 0
    08:01:00 at 512.123456789
    08:03:10 arrives 1000)"));
  EXPECT_THAT(runs[0].calls, IsEmpty());

  EXPECT_EQ(archive.latest_settings()->settings.fallback.window, 77U);
  EXPECT_EQ(archive.latest_settings()->last_day, samples::sample_day);
  EXPECT_EQ(archive.timetables().front().name, "autumn.zip");
  EXPECT_EQ(archive.imports().front().rejections.at("no vehicle").count, 3U);
}

TEST_F(ArchiveMigrationTest, MakesTheTablesOfANewFile) {
  Archive{file};
  Archive{folder / "new.sqlite"};
  EXPECT_EQ(schema(file), schema(folder / "new.sqlite"));
}

/// data/archive-v2.sqlite was written in version 2: three positions, a run with its calls, a trip
/// under way, an outline, settings and a timetable.
TEST_F(ArchiveMigrationTest, KeepsAllThatAFileOfVersionTwoHeld) {
  std::filesystem::copy_file(QIV_HISTORY_TEST_DIR "/data/archive-v2.sqlite", folder / "two.sqlite");
  std::filesystem::permissions(folder / "two.sqlite", std::filesystem::perms(0644));
  Archive archive(folder / "two.sqlite");
  EXPECT_EQ(archive.summary().version, 3);
  EXPECT_THAT(archive.positions(Instant::min(), Instant::max()), SizeIs(3));
  EXPECT_EQ(archive.position_changes(at("08:00:00"), at("08:15:00")), 1U);
  EXPECT_EQ(archive.position_changes(at("08:00:00"), at("08:30:00")), 2U);
  EXPECT_EQ(archive.position_changes(Instant(Seconds(-900)), Instant()), 1U) << "before 1970";
  EXPECT_EQ(archive.position_changes(Instant(), Instant(Seconds(900))), 0U);

  const auto runs = archive.runs({PatternRef("DART/1"), {}, {}});
  ASSERT_THAT(runs, SizeIs(1));
  EXPECT_EQ(runs[0].run, run_of("E918", "E918-0800", "DART/1", R"(
    08:00:00 departs 0
    08:01:00 at 512.123456789
    08:03:10 arrives 1000)"));
  ASSERT_THAT(runs[0].calls, SizeIs(2));
  EXPECT_EQ(runs[0].calls[1].arrival, Seconds(29000));
  EXPECT_EQ(runs[0].followed, std::nullopt);
  EXPECT_THAT(archive.followed_states(), IsEmpty());
  ASSERT_THAT(archive.under_way(), SizeIs(1));
  EXPECT_THAT(archive.under_way()[0].progress, SizeIs(1));
  EXPECT_THAT(archive.pattern(PatternRef("DART/1"))->stops, SizeIs(2));
  EXPECT_EQ(archive.latest_settings()->settings.fallback.window, 77U);
  EXPECT_EQ(archive.timetables().front().hash, "aa");
  Archive{folder / "new.sqlite"};
  EXPECT_EQ(schema(folder / "two.sqlite"), schema(folder / "new.sqlite"));
}

TEST_F(ArchiveMigrationTest, KnowsWhatTheOldFileHeld) {
  Archive archive(file);
  const auto positions = archive.positions(Instant::min(), Instant::max());
  EXPECT_EQ(archive.record(positions), 0U);
  const auto runs = archive.runs();
  archive.add_runs(std::vector<ArchivedRun>{{runs[0].run, {{1, Seconds(0), Seconds(10)}}}});
  ASSERT_THAT(archive.runs(), SizeIs(1));
  EXPECT_THAT(archive.runs()[0].calls, SizeIs(1));
}

TEST_F(ArchiveMigrationTest, ReadingAloneDoesNotMigrate) {
  const auto before = schema(file);
  try {
    Archive(file, {ArchiveOptions::Access::read, {}, 0});
    FAIL() << "opened";
  } catch (const ArchiveError& error) {
    EXPECT_EQ(error.kind(), ArchiveError::Kind::older);
    EXPECT_THAT(error.what(), testing::HasSubstr("open it once for writing"));
  }
  EXPECT_EQ(schema(file), before);
}

}  // namespace
}  // namespace qiv
