#include "engine/trip_board.h"

#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

/// Three trips of a block, of which the board is told in any order.
class TripBoardTest : public ::testing::Test {
 protected:
  static TripKey key(const char* trip) { return {TripId(trip), testing::monday, Seconds(0)}; }
  static ScheduledTrip scheduled(const char* trip, const char* previous, const char* next) {
    ScheduledTrip schedule;
    schedule.key = key(trip);
    if (previous != nullptr) schedule.previous = key(previous);
    if (next != nullptr) schedule.next = key(next);
    return schedule;
  }
  const TripBoard::Row& row(const char* trip) { return board.rows().at(key(trip)); }

  ScheduledTrip first = scheduled("1", nullptr, "2");
  ScheduledTrip second = scheduled("2", "1", "3");
  ScheduledTrip third = scheduled("3", "2", nullptr);
  TripBoard board;
};

TEST_F(TripBoardTest, TripsOfABlockAreLinkedAsTheyComeAndGo) {
  board.announce(third, 0);
  board.announce(first, 0);
  EXPECT_EQ(row("3").previous, nullptr);
  board.announce(second, 0);
  EXPECT_EQ(row("1").previous, nullptr);
  EXPECT_EQ(row("2").previous, &row("1"));
  EXPECT_EQ(row("3").previous, &row("2"));
  board.remove(key("2"));
  EXPECT_EQ(row("3").previous, nullptr);
  board.remove(key("2"));
  board.announce(second, 0);
  EXPECT_EQ(row("3").previous, &row("2"));
}

TEST_F(TripBoardTest, ATripThatGetsItsVehicleKeepsItsPlace) {
  board.announce(first, 0);
  board.announce(second, 0);
  const auto live = std::make_shared<LiveTrip>();
  live->schedule = first;
  board.put(live, 1);
  EXPECT_EQ(row("2").previous, &row("1"));
  EXPECT_EQ(row("1").with_vehicle(), live.get());
  EXPECT_EQ(row("1").shard, 1U);
  EXPECT_FALSE(row("1").announced);
  live->left = true;
  EXPECT_EQ(row("1").with_vehicle(), nullptr) << "the vehicle has gone on to another trip";
  board.announce(first, 0);
  EXPECT_TRUE(row("1").announced);
  EXPECT_EQ(row("1").shard, 0U);
}

TEST_F(TripBoardTest, AnnouncedAgainATripKeepsWhatIsShown) {
  board.announce(first, 0);
  board.rows().at(key("1")).announced->histories = 7;
  board.announce(first, 0);
  EXPECT_EQ(row("1").announced->histories, 7U);
}

}  // namespace
}  // namespace qiv
