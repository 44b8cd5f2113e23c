#include "worker/history_book.h"

#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;

class HistoryBookTest : public ::testing::Test {
 protected:
  /// A run over the whole line, `leg_s` from stop to stop.
  FinishedTrip run(const std::string& vehicle, int leg_s) const {
    const auto schedule = network.schedule({TripId("out"), testing::monday, Seconds(0)});
    FinishedTrip trip;
    trip.run = {VehicleId(vehicle), schedule->key, network.pattern(schedule->pattern()).ref, {}};
    for (int i = 0; i <= 16; ++i) {
      Progress progress;
      progress.time = progress.received = at("08:00:00") + Seconds(i * leg_s / 4);
      progress.offset_m = 250.0 * i;
      trip.run.progress.push_back(progress);
    }
    trip.finished = trip.run.progress.back().received;
    return trip;
  }

  std::vector<Trajectory> trajectories(const HistoryBook& book) const {
    const PatternIndex pattern =
        network.schedule({TripId("out"), testing::monday, Seconds(0)})->pattern();
    return book.source(network)(pattern, make_grid(network.pattern(pattern), 500.0));
  }

  Network network = testing::straight_network();
};

TEST_F(HistoryBookTest, KeepsTheOrderInWhichTripsCame) {
  HistoryBook book;
  EXPECT_TRUE(book.take(run("slow", 200)));
  EXPECT_TRUE(book.take(run("fast", 100)));
  const auto made = trajectories(book);
  ASSERT_EQ(made.size(), 2U);
  EXPECT_EQ(made[0].vehicle, VehicleId("slow"));
  EXPECT_EQ(made[1].vehicle, VehicleId("fast"));
  EXPECT_EQ(made[0].finished, at("08:13:20"));
}

TEST_F(HistoryBookTest, TheSameTripTwiceIsOne) {
  HistoryBook book;
  EXPECT_TRUE(book.take(run("v", 100)));
  EXPECT_FALSE(book.take(run("v", 100)));
  EXPECT_EQ(book.trips(), 1U);
  EXPECT_EQ(trajectories(book).size(), 1U);
}

TEST_F(HistoryBookTest, TripsOfLaterStayOut) {
  HistoryBook book(at("08:10:00"));
  EXPECT_TRUE(book.take(run("fast", 100)));
  EXPECT_FALSE(book.take(run("slow", 200)));
  EXPECT_EQ(trajectories(book).size(), 1U);
}

TEST_F(HistoryBookTest, APatternWithoutTripsHasNone) {
  EXPECT_TRUE(trajectories(HistoryBook()).empty());
}

}  // namespace
}  // namespace qiv
