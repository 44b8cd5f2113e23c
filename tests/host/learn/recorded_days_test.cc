#include "learn/recorded_days.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "host/learn/straight_run.h"

namespace qiv {
namespace {

using std::chrono::days;
using testing::monday;
using testing::straight_run;

class RecordedRunsTest : public ::testing::Test {
 protected:
  Network network = testing::straight_network();
  PatternIndex straight = network.find_trip(TripId("out"))->pattern;
  Grid grid = make_grid(network.pattern(straight), 250.0);

  /// The straight line as an earlier timetable had it, without its stop C, and a run on it.
  PatternOutline earlier_outline() const {
    PatternOutline earlier = outline(network.pattern(straight), network.stops());
    earlier.ref = PatternRef("earlier");
    earlier.stops.erase(earlier.stops.begin() + 2);
    return earlier;
  }
  ArchivedRun earlier_run(ServiceDate day, int leg_s) const {
    ArchivedRun run{straight_run(network, "out", day, 8, leg_s), {}};
    run.run.pattern = PatternRef("earlier");
    run.run.trip.trip = TripId("of the earlier timetable");
    for (Progress& p : run.run.progress) p.trip = run.run.trip;
    for (const int minutes : {0, 2, 6, 8}) {
      const Seconds time = std::chrono::hours(7) + std::chrono::minutes(45 + minutes);
      run.calls.push_back({0, time, time});
    }
    return run;
  }
  static std::size_t lent(const std::vector<Trajectory>& trips) {
    return static_cast<std::size_t>(
        std::count_if(trips.begin(), trips.end(), [](const Trajectory& t) { return t.lent; }));
  }
};

TEST_F(RecordedRunsTest, HistoriesEndBeforeTheDay) {
  RecordedRuns runs(network);
  runs.add(straight_run(network, "out", monday, 8, 300));
  runs.add(straight_run(network, "out", monday + days(1), 8, 310));
  EXPECT_EQ(runs.before(monday, straight, grid).size(), 0U);
  EXPECT_EQ(runs.before(monday + days(1), straight, grid).size(), 1U);
  EXPECT_EQ(runs.before(monday + days(2), straight, grid).size(), 2U);
  EXPECT_EQ(runs.days(), (std::vector{monday, monday + days(1)}));
  EXPECT_EQ(runs.on(monday, straight).size(), 1U);
}

TEST_F(RecordedRunsTest, TheOrderOfAddingDoesNotMatter) {
  std::vector<TripRun> all;
  for (int i = 0; i < 4; ++i) {
    all.push_back(straight_run(network, "out", monday + days(i / 2), 8, 300));
    all.back().vehicle = VehicleId("v" + std::to_string(i % 2));
  }
  const auto order_of = [&] {
    RecordedRuns runs(network);
    for (const TripRun& run : all) runs.add(run);
    std::string order;
    for (const Trajectory& trip : runs.before(monday + days(9), straight, grid)) {
      order += to_string(trip.trip) + trip.vehicle.text() + " ";
    }
    return order;
  };
  const std::string order = order_of();
  std::reverse(all.begin(), all.end());
  EXPECT_EQ(order_of(), order);
}

TEST_F(RecordedRunsTest, ARelativeLendsToAPatternWithoutHistory) {
  RecordedRuns runs(network, {3});
  runs.know(earlier_outline());
  for (int i = 0; i < 5; ++i) runs.add(earlier_run(monday + days(i), 200 + i));
  const auto trips = runs.before(monday + days(5), straight, grid);
  ASSERT_EQ(trips.size(), 3U) << "the latest";
  EXPECT_EQ(lent(trips), 3U);
  EXPECT_EQ(trips[2].times_s.back(), 4 * 204);
  EXPECT_EQ(trips[2].scheduled_departure, std::chrono::hours(7) + std::chrono::minutes(45));
  EXPECT_EQ(trips[2].scheduled_s.back(), 8 * 60);
  EXPECT_EQ(lent(runs.before(monday + days(2), straight, grid)), 2U) << "of the days before";
  EXPECT_EQ(RecordedRuns(network, {0}).before(monday + days(5), straight, grid).size(), 0U);
}

TEST_F(RecordedRunsTest, OwnTripsTakeThePlaceOfLentOnes) {
  RecordedRuns runs(network, {3});
  runs.know(earlier_outline());
  for (int i = 0; i < 5; ++i) {
    runs.add(earlier_run(monday + days(i), 200));
    runs.add(straight_run(network, "out", monday + days(i), 8, 300));
  }
  const auto lent_on = [&](int day) {
    const auto trips = runs.before(monday + days(day), straight, grid);
    EXPECT_TRUE(std::is_partitioned(trips.begin(), trips.end(),
                                    [](const Trajectory& t) { return t.lent; }));
    return lent(trips);
  };
  EXPECT_EQ(lent_on(1), 1U);
  EXPECT_EQ(lent_on(2), 1U);
  EXPECT_EQ(lent_on(3), 0U);
  EXPECT_EQ(runs.before(monday + days(5), straight, grid).size(), 5U);
}

TEST_F(RecordedRunsTest, RemembersTheTimetableOfOwnTripsThatTheNetworkHasNoMore) {
  RecordedRuns runs(network);
  ArchivedRun run = earlier_run(monday, 200);
  run.run.pattern = network.pattern(straight).ref;
  const Seconds third = run.calls[1].departure + Seconds(120);
  run.calls.insert(run.calls.begin() + 2, {0, third, third});
  runs.add(run);
  const auto trips = runs.before(monday + days(1), straight, grid);
  ASSERT_EQ(trips.size(), 1U);
  EXPECT_FALSE(trips[0].lent);
  EXPECT_EQ(trips[0].scheduled_departure, std::chrono::hours(7) + std::chrono::minutes(45));
}

TEST_F(RecordedRunsTest, StrangersLendNothing) {
  RecordedRuns runs(network);
  PatternOutline back = earlier_outline();
  back.direction = 1;
  runs.know(back);
  runs.add(earlier_run(monday, 200));
  EXPECT_TRUE(runs.before(monday + days(5), straight, grid).empty());
}

}  // namespace
}  // namespace qiv
