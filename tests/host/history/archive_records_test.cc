#include "history/archive_records.h"

#include <gmock/gmock.h>

#include "history/archive.h"
#include "host/history/samples.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

using samples::at;
using samples::sample_day;
using samples::TemporaryFolder;
using std::chrono::days;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ArchiveRecordsTest : public testing::Test {
 protected:
  TemporaryFolder folder;
  Archive archive{folder / "archive.sqlite"};
};

TEST_F(ArchiveRecordsTest, GivesTheSettingsAddedLastAndKeepsTheOlder) {
  EXPECT_FALSE(archive.latest_settings());
  for (const unsigned window : {10U, 20U, 30U}) {
    SettingsRecord record{at("03:00:00") - days(window), sample_day + days(window), {}};
    record.settings.fallback.window = window;
    archive.add_settings(record);
  }
  const auto latest = archive.latest_settings();
  ASSERT_TRUE(latest);
  EXPECT_EQ(latest->settings.fallback.window, 30U);
  EXPECT_EQ(latest->learned, at("03:00:00") - days(30));
  EXPECT_EQ(latest->last_day, sample_day + days(30));
  ASSERT_THAT(archive.settings(), SizeIs(3));
  EXPECT_EQ(archive.settings().front().settings.fallback.window, 10U);

  EXPECT_EQ(archive.remove_settings(1), 2U);
  ASSERT_THAT(archive.settings(), SizeIs(1));
  EXPECT_EQ(archive.latest_settings()->settings.fallback.window, 30U);
}

TEST_F(ArchiveRecordsTest, NotesTimetablesInOrder) {
  archive.add_timetable({"spring.zip", "aa", at("08:00:00")});
  archive.add_timetable({"spring-copy.zip", "aa", at("09:00:00")});
  archive.add_timetable({"summer.zip", "bb", at("10:00:00")});
  archive.add_timetable({"spring.zip", "aa", at("11:00:00")});
  std::vector<std::string> names;
  for (const TimetableRecord& record : archive.timetables()) {
    names.push_back(record.name + " " + record.hash + " " + format_utc(record.taken));
  }
  EXPECT_THAT(
      names, ElementsAre("spring.zip aa 2025-10-07T08:00:00Z", "summer.zip bb 2025-10-07T10:00:00Z",
                         "spring.zip aa 2025-10-07T11:00:00Z"));
}

TEST_F(ArchiveRecordsTest, NotesImportsWithTheirRejections) {
  archive.add_import({"b.csv", "h1", at("08:00:00"), 5, 5, {{"no vehicle", {2, "b.csv:3"}}}});
  archive.add_import({"a.csv", "", at("08:01:00"), 7, 0, {}});
  archive.add_import({"b.csv",
                      "h2",
                      at("09:00:00"),
                      9,
                      4,
                      {{"bad time", {1, "b.csv:1"}}, {"no vehicle", {3, "b.csv:4"}}}});
  const auto imports = archive.imports();
  ASSERT_THAT(imports, SizeIs(2));
  EXPECT_EQ(imports[0].source, "a.csv");
  EXPECT_THAT(imports[0].rejections, IsEmpty());
  EXPECT_EQ(imports[1].hash, "h2");
  EXPECT_EQ(imports[1].taken, at("09:00:00"));
  EXPECT_EQ(imports[1].rows, 9U);
  EXPECT_EQ(imports[1].added, 4U);
  ASSERT_THAT(imports[1].rejections, SizeIs(2));
  EXPECT_EQ(imports[1].rejections.at("no vehicle").count, 3U);
  EXPECT_EQ(imports[1].rejections.at("no vehicle").first, "b.csv:4");
}

TEST_F(ArchiveRecordsTest, KeepsPatterns) {
  PatternOutline a{PatternRef("A"), RouteId("R"), 0, {{StopId("x"), 0.0}, {StopId("y"), 0.1}}, 1.0};
  const PatternOutline b{PatternRef("B"), RouteId("R"), {}, {{StopId("x"), 5.0}}, 9.0};
  archive.keep_patterns(std::vector{b, a});
  a.stops.pop_back();
  archive.keep_patterns(std::vector{a, a});
  EXPECT_THAT(archive.patterns(), ElementsAre(a, b));
  EXPECT_EQ(archive.pattern(PatternRef("A")), a);
  EXPECT_EQ(archive.pattern(PatternRef("R")), std::nullopt);
  EXPECT_EQ(archive.pattern(PatternRef("Z")), std::nullopt);
}

TEST_F(ArchiveRecordsTest, KeepsFinishedPartsOfOneWork) {
  using Parts = std::map<std::string, std::string>;
  const std::string bytes("a\0b", 3);
  archive.add_partials("first", {{"one", bytes}, {"two", ""}});
  archive.add_partials("first", {{"three", "3"}, {"two", "2"}});
  EXPECT_EQ(archive.partials("first"), (Parts{{"one", bytes}, {"three", "3"}, {"two", "2"}}));
  EXPECT_THAT(archive.partials("second"), IsEmpty());

  archive.add_partials("second", {{"one", "1"}});
  EXPECT_THAT(archive.partials("first"), IsEmpty()) << "stale";
  EXPECT_EQ(archive.partials("second"), (Parts{{"one", "1"}}));
  archive.remove_partials();
  EXPECT_THAT(archive.partials("second"), IsEmpty());
}

TEST_F(ArchiveRecordsTest, WritesTogetherOrNotAtAll) {
  EXPECT_THROW(archive.together([&] {
    archive.add_timetable({"spring.zip", "aa", at("08:00:00")});
    archive.keep_patterns(std::vector<PatternOutline>{{PatternRef("A"), RouteId("R"), 0, {}, 1.0}});
    throw std::runtime_error("on second thoughts");
  }),
               std::runtime_error);
  EXPECT_THAT(archive.timetables(), IsEmpty());
  EXPECT_THAT(archive.patterns(), IsEmpty());

  archive.together([&] {
    archive.keep_patterns(std::vector<PatternOutline>{{PatternRef("A"), RouteId("R"), 0, {}, 1.0}});
    EXPECT_THAT(archive.patterns(), SizeIs(1));
    try {
      archive.together([&] {
        archive.add_timetable({"spring.zip", "aa", at("08:00:00")});
        throw std::runtime_error("only this part");
      });
    } catch (const std::runtime_error&) {
    }
  });
  EXPECT_THAT(archive.patterns(), SizeIs(1));
  EXPECT_THAT(archive.timetables(), IsEmpty());
}

TEST_F(ArchiveRecordsTest, SumsUpWhatItHolds) {
  const ArchiveSummary empty = archive.summary();
  EXPECT_EQ(empty.version, 3);
  EXPECT_EQ(empty.positions, 0U);
  EXPECT_EQ(empty.first_received, std::nullopt);
  EXPECT_EQ(empty.first_day, std::nullopt);

  VehiclePosition position;
  for (const char* received : {"08:00:00", "08:30:00"}) {
    position.received = at(received);
    archive.record(std::vector{position});
  }
  archive.add_runs(std::vector<ArchivedRun>{{samples::run_of("V", "T", "P", "08:00:00 at 0"), {}}});
  archive.correct_progress(samples::run_of("V", "U", "P", "08:00:00 at 0"));
  const ArchiveSummary summary = archive.summary();
  EXPECT_EQ(summary.positions, 2U);
  EXPECT_EQ(summary.first_received, at("08:00:00"));
  EXPECT_EQ(summary.last_received, at("08:30:00"));
  EXPECT_EQ(summary.runs, 1U);
  EXPECT_EQ(summary.first_day, sample_day);
  EXPECT_EQ(summary.last_day, sample_day);
  EXPECT_EQ(summary.under_way, 1U);
  EXPECT_GT(summary.bytes, 4096U);
}

}  // namespace
}  // namespace qiv
