#include "serve/archive_history.h"

#include <gmock/gmock.h>

#include "host/learn/straight_run.h"
#include "host/serve/line_service.h"
#include "learn/recorded_days.h"

namespace qiv {
namespace {

using std::chrono::days;
using testing::LineService;
using testing::monday;
using testing::straight_run;

class ArchiveHistoryTest : public ::testing::Test {
 protected:
  ArchiveHistoryTest() {
    PatternOutline earlier = outline(network.pattern(straight), network.stops());
    earlier.ref = PatternRef("earlier");
    earlier.stops.erase(earlier.stops.begin() + 2);
    line.archive.keep_patterns(std::vector{earlier});
    for (int i = 0; i < 7; ++i) {
      ArchivedRun run{straight_run(network, "out", monday + days(i), 8, 200 + i), {}};
      run.run.pattern = PatternRef("earlier");
      run.run.trip.trip = TripId("of the earlier timetable");
      for (Progress& progress : run.run.progress) progress.trip = run.run.trip;
      line.archive.add_runs(std::vector{run});
    }
  }

  /// What the replay of recorded days begins with.
  std::vector<Trajectory> recorded_before(ServiceDate day) const {
    RecordedRuns runs(network);
    for (const PatternOutline& pattern : line.archive.patterns()) runs.know(pattern);
    line.archive.read_runs({}, [&](ArchivedRun&& run) { runs.add(std::move(run)); });
    return runs.before(day, straight, grid);
  }
  /// What the live service begins with.
  std::vector<Trajectory> live_before(ServiceDate day) const {
    const auto bounds = std::make_shared<HistoryBounds>();
    bounds->ended_before = Instant(day.days());
    return archive_history(line.archive, network, bounds)(straight, grid);
  }
  static void expect_same(const std::vector<Trajectory>& live,
                          const std::vector<Trajectory>& recorded) {
    ASSERT_EQ(live.size(), recorded.size());
    for (std::size_t i = 0; i < live.size(); ++i) {
      EXPECT_EQ(live[i].trip, recorded[i].trip) << i;
      EXPECT_EQ(live[i].lent, recorded[i].lent) << i;
      EXPECT_EQ(live[i].times_s, recorded[i].times_s) << i;
      EXPECT_EQ(live[i].scheduled_departure, recorded[i].scheduled_departure) << i;
    }
  }

  LineService line;
  const Network& network = *line.network;
  PatternIndex straight = network.find_trip(TripId("out"))->pattern;
  Grid grid = make_grid(network.pattern(straight), 250.0);
};

TEST_F(ArchiveHistoryTest, AColdPatternIsLentTheSameTripsAsInAReplay) {
  const auto live = live_before(monday + days(7));
  EXPECT_EQ(live.size(), 5U);
  EXPECT_TRUE(live.at(0).lent);
  expect_same(live, recorded_before(monday + days(7)));
  EXPECT_EQ(live_before(monday + days(2)).size(), 2U) << "those that had begun";
  expect_same(live_before(monday + days(2)), recorded_before(monday + days(2)));
}

TEST_F(ArchiveHistoryTest, OwnTripsTakeThePlaceOfLentOnes) {
  for (int i = 0; i < 2; ++i) {
    line.archive.add_runs(
        std::vector{ArchivedRun{straight_run(network, "out", monday + days(i), 8, 300), {}}});
  }
  const auto live = live_before(monday + days(7));
  ASSERT_EQ(live.size(), 5U);
  EXPECT_TRUE(live[2].lent);
  EXPECT_FALSE(live[3].lent);
  expect_same(live, recorded_before(monday + days(7)));
}

TEST_F(ArchiveHistoryTest, LendsNothingWhereItIsAskedNotTo) {
  const auto bounds = std::make_shared<HistoryBounds>();
  EXPECT_TRUE(archive_history(line.archive, network, bounds, {0})(straight, grid).empty());
}

TEST_F(ArchiveHistoryTest, LendsWhatRanBeforeTheDayAtWhateverMomentItIsAsked) {
  const auto bounds = std::make_shared<HistoryBounds>();
  const HistorySource history = archive_history(line.archive, network, bounds);
  EXPECT_EQ(history(straight, grid).size(), 5U);
  bounds->lent_before = monday + days(2);
  EXPECT_EQ(history(straight, grid).size(), 2U);
  for (const Trajectory& lent : history(straight, grid)) EXPECT_LT(lent.trip.day, monday + days(2));
}

}  // namespace
}  // namespace qiv
