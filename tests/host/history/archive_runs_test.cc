#include <gmock/gmock.h>

#include <sqlite3.h>

#include <numeric>
#include <random>

#include "history/archive.h"
#include "host/history/samples.h"
#include "host/history/temporary_folder.h"

namespace qiv {
namespace {

using samples::run_of;
using samples::sample_day;
using samples::TemporaryFolder;
using std::chrono::days;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::vector<std::string> trips(const std::vector<ArchivedRun>& runs) {
  std::vector<std::string> names;
  for (const ArchivedRun& archived : runs) names.push_back(archived.run.trip.trip.text());
  return names;
}

ArchivedRun finished_at(const std::string& time, const std::string& trip,
                        const std::string& pattern, ServiceDate day = sample_day) {
  ArchivedRun archived{run_of("V", trip, pattern, time + " arrives 1000"), {}};
  archived.run.trip.day = day;
  for (Progress& p : archived.run.progress) p.trip.day = day;
  return archived;
}

class ArchiveRunsTest : public testing::Test {
 protected:
  TemporaryFolder folder;
  Archive archive{folder / "archive.sqlite"};
};

TEST_F(ArchiveRunsTest, BringsARunBack) {
  const TripRun run = run_of("E918", "E918-1055", "DART/1", R"(
    08:00:00 departs 0
    08:01:10 at 512.123456789
    08:03:10 arrives 1000)");
  const std::vector<Call> calls = {{1, Seconds(28800), Seconds(28800)},
                                   {2, Seconds(29000), Seconds(29030)}};
  archive.add_runs(std::vector<ArchivedRun>{{run, calls}});
  const auto back = archive.runs();
  ASSERT_THAT(back, SizeIs(1));
  EXPECT_EQ(back[0].run, run);
  ASSERT_THAT(back[0].calls, SizeIs(2));
  EXPECT_EQ(back[0].calls[1].sequence, 2U);
  EXPECT_EQ(back[0].calls[1].arrival, Seconds(29000));
  EXPECT_EQ(back[0].calls[1].departure, Seconds(29030));
}

TEST_F(ArchiveRunsTest, KeepsRepetitionsAndVehiclesApart) {
  TripRun first = run_of("V", "T", "P", "08:00:00 at 0");
  TripRun repetition = first;
  repetition.trip.start = Seconds(600);
  for (Progress& p : repetition.progress) p.trip = repetition.trip;
  const TripRun second_vehicle = run_of("W", "T", "P", "08:00:00 at 0");
  archive.add_runs(std::vector<ArchivedRun>{{second_vehicle, {}}, {repetition, {}}, {first, {}}});
  const auto back = archive.runs();
  ASSERT_THAT(back, SizeIs(3));
  EXPECT_EQ(back[0].run, first);
  EXPECT_EQ(back[1].run, second_vehicle);
  EXPECT_EQ(back[2].run, repetition);
}

TEST_F(ArchiveRunsTest, ReplacesARunThatIsAddedAgain) {
  const auto old = run_of("V", "T", "P", "08:00:00 at 0");
  const auto replacement = run_of("V", "T", "Q", "08:00:00 at 0 \n 08:10:00 at 900");
  archive.add_runs(std::vector<ArchivedRun>{{old, {}}});
  archive.add_runs(std::vector<ArchivedRun>{{replacement, {}}});
  archive.add_runs(std::vector<ArchivedRun>{{replacement, {}}});
  const auto back = archive.runs();
  ASSERT_THAT(back, SizeIs(1));
  EXPECT_EQ(back[0].run, replacement);
  EXPECT_THAT(archive.runs({PatternRef("P"), {}, {}}), IsEmpty());
}

TEST_F(ArchiveRunsTest, SortsByFinishingWhateverTheOrderOfAdding) {
  std::vector<ArchivedRun> runs = {
      finished_at("08:10:00", "b", "P"), finished_at("08:20:00", "d", "P"),
      finished_at("08:15:00", "c", "Q"), finished_at("08:10:00", "a", "P"),
      finished_at("07:00:00", "e", "P", sample_day + days(1))};
  std::mt19937 random(7);
  for (int repetition = 0; repetition < 5; ++repetition) {
    std::shuffle(runs.begin(), runs.end(), random);
    Archive shuffled(folder / ("shuffled" + std::to_string(repetition)).c_str());
    shuffled.add_runs(runs);
    EXPECT_THAT(trips(shuffled.runs()), ElementsAre("e", "a", "b", "c", "d"));
    EXPECT_THAT(trips(shuffled.runs({PatternRef("P"), {}, {}})), ElementsAre("e", "a", "b", "d"));
  }
}

TEST_F(ArchiveRunsTest, AnswersForPatternAndDays) {
  for (int day = 0; day < 4; ++day) {
    const std::string number = std::to_string(day);
    archive.add_runs(std::vector{
        finished_at("08:0" + number + ":00", "P" + number, "P", sample_day + days(day)),
        finished_at("09:0" + number + ":00", "Q" + number, "Q", sample_day + days(day))});
  }
  EXPECT_THAT(trips(archive.runs({PatternRef("P"), sample_day + days(1), sample_day + days(2)})),
              ElementsAre("P1", "P2"));
  EXPECT_THAT(trips(archive.runs({{}, sample_day + days(3), {}})), ElementsAre("P3", "Q3"));
  EXPECT_THAT(trips(archive.runs({{}, {}, sample_day})), ElementsAre("P0", "Q0"));
  EXPECT_THAT(archive.runs({PatternRef("unknown"), {}, {}}), IsEmpty());
}

TEST_F(ArchiveRunsTest, ForgetsDays) {
  for (int day = 0; day < 4; ++day) {
    archive.add_runs(std::vector{
        finished_at("08:00:00", "T" + std::to_string(day), "P", sample_day + days(day))});
  }
  EXPECT_EQ(archive.remove_runs(sample_day + days(1), sample_day + days(2)), 2U);
  EXPECT_THAT(trips(archive.runs()), ElementsAre("T0", "T3"));
  archive.compact();
  EXPECT_THAT(trips(archive.runs()), ElementsAre("T0", "T3"));
}

TEST_F(ArchiveRunsTest, SaysWhichRunIsDamaged) {
  archive.add_runs(std::vector{finished_at("08:00:00", "T", "P")});
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open((folder / "archive.sqlite").c_str(), &raw), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(raw, "UPDATE run SET progress = x'0105'", nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(raw);
  try {
    archive.runs();
    FAIL() << "not noticed";
  } catch (const ArchiveError& error) {
    EXPECT_EQ(error.kind(), ArchiveError::Kind::damaged);
    EXPECT_THAT(error.what(), testing::HasSubstr("run T@20251007"));
  }
}

TEST_F(ArchiveRunsTest, FollowsTripsUnderWayUntilTheyFinish) {
  const TripRun run = run_of("V", "T", "P", R"(
    08:00:00 departs 0
    08:02:00 arrives 1000
    08:02:00 at 1000
    08:02:30 departs 1000)");
  for (const Progress& p : run.progress) {
    archive.append_progress(std::vector<AcceptedProgress>{{run.pattern, p}});
    archive.append_progress(std::vector<AcceptedProgress>{{run.pattern, p}});
  }
  TripRun expected = run;
  std::swap(expected.progress[1], expected.progress[2]);  // same time and place: fix first
  EXPECT_THAT(archive.under_way(), ElementsAre(expected));

  archive.add_runs(std::vector<ArchivedRun>{{run, {}}});
  EXPECT_THAT(archive.under_way(), IsEmpty());
  EXPECT_THAT(archive.runs(), SizeIs(1));
}

TEST_F(ArchiveRunsTest, CorrectsAndDropsTripsUnderWay) {
  const TripRun wrong = run_of("V", "T", "P", "08:00:00 at 0 \n 08:02:00 at 5000");
  const TripRun right = run_of("V", "T", "Q", "08:00:00 at 0 \n 08:02:10 at 1000");
  const TripRun other = run_of("W", "A", "P", "08:00:00 at 0");
  archive.correct_progress(wrong);
  archive.correct_progress(other);
  archive.correct_progress(right);
  EXPECT_THAT(archive.under_way(), ElementsAre(other, right));
  archive.remove_under_way(other.vehicle, other.trip);
  archive.remove_under_way(VehicleId("nobody"), other.trip);
  EXPECT_THAT(archive.under_way(), ElementsAre(right));
}

TEST_F(ArchiveRunsTest, KeepsWhatARecordedDayWasFollowedTo) {
  const ServiceDate next = sample_day + days(1);
  archive.keep_followed({sample_day, "s1", {finished_at("08:00:00", "a", "P")}});
  archive.keep_followed({next, "s2", {finished_at("09:00:00", "b", "P", next)}});
  EXPECT_THAT(trips(archive.runs()), ElementsAre("a", "b"));
  EXPECT_EQ(archive.runs()[0].followed, sample_day);
  EXPECT_EQ(archive.followed_runs(next), 1U);
  using States = std::map<ServiceDate, std::string>;
  EXPECT_EQ(archive.followed_states(), (States{{sample_day, "s1"}, {next, "s2"}}));

  archive.keep_followed({next, "s3", {finished_at("09:30:00", "c", "P", next)}});
  EXPECT_THAT(trips(archive.runs()), ElementsAre("a", "c")) << "b is replaced";
  archive.note_followed(sample_day, "s4");
  EXPECT_EQ(archive.followed_states(), (States{{sample_day, "s4"}, {next, "s3"}}));
  EXPECT_THAT(trips(archive.runs()), ElementsAre("a", "c"));
}

TEST_F(ArchiveRunsTest, ReadsTheRunsThatEndedFromAMomentOn) {
  archive.add_runs(std::vector{finished_at("09:00:00", "a", "P"), finished_at("09:30:00", "b", "P"),
                               finished_at("10:00:00", "c", "Q")});
  RunQuery query;
  query.ended_from = archive.runs().at(1).ended;
  EXPECT_THAT(trips(archive.runs(query)), ElementsAre("b", "c"));
  query.pattern = PatternRef("P");
  EXPECT_THAT(trips(archive.runs(query)), ElementsAre("b"));
  *query.ended_from += Seconds(1);
  EXPECT_THAT(archive.runs(query), IsEmpty());
}

TEST_F(ArchiveRunsTest, OfARunThatWasFollowedTwiceReadsTheLatest) {
  const auto followed_until = [](ServiceDate day) {
    return RunQuery{std::nullopt, std::nullopt, std::nullopt, day};
  };
  const ServiceDate next = sample_day + days(1);
  archive.add_runs(std::vector{finished_at("23:00:00", "night", "P")});
  archive.keep_followed({sample_day, "", {finished_at("23:10:00", "night", "P")}});
  archive.keep_followed({next, "", {finished_at("23:20:00", "night", "P")}});
  const auto time_of = [&](ServiceDate until) {
    const auto runs = archive.runs(followed_until(until));
    EXPECT_THAT(runs, SizeIs(1));
    return runs.at(0).run.progress.at(0).time;
  };
  EXPECT_EQ(time_of(sample_day - days(1)), samples::at("23:00:00")) << "told by a service";
  EXPECT_EQ(time_of(sample_day), samples::at("23:10:00"));
  EXPECT_EQ(time_of(next), samples::at("23:20:00"));
  EXPECT_THAT(archive.runs({PatternRef("P"), {}, {}}), SizeIs(1));
}

}  // namespace
}  // namespace qiv
