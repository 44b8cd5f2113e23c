#include "engine/trip_clock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/engine/slow_trip.h"

namespace qiv {
namespace {

using ::testing::ElementsAre;

class TripClockTest : public ::testing::Test {
 protected:
  const TripPlan& trip(const char* id) const { return *network.find_trip(TripId(id), Seconds(0)); }

  Network network = testing::network_with_slow_trip();
  Grid grid = make_grid(network.pattern(trip("out").pattern), 1e6);
};

TEST_F(TripClockTest, DefaultIsTheElapsedTime) {
  EXPECT_EQ(TripClock().lag_s(1500), 0.0);
  std::vector<int> times_s = {0, 5};
  TripClock().subtract({0, 10}, times_s);
  EXPECT_THAT(times_s, ElementsAre(0, 5));
}

TEST_F(TripClockTest, LagsByTheDifferenceOfTheTimetables) {
  const TripClock clock(grid, trip("slow"), trip("out"));
  EXPECT_NEAR(clock.lag_s(grid.places_m[Grid::arrival_place(2)]), 0.0, 1e-9);
  EXPECT_NEAR(clock.lag_s(grid.places_m[Grid::arrival_place(3)]), 60.0, 1e-9);
  EXPECT_NEAR(clock.lag_s(2501.0), 30.0, 0.1) << "linear between the places";
  EXPECT_NEAR(clock.lag_s(grid.places_m.back()), 120.0, 1e-9);
  EXPECT_EQ(TripClock(grid, trip("later"), trip("out")).lag_s(3000), 0.0)
      << "an hour later is no lag";
}

TEST_F(TripClockTest, AtAPlaceItLagsAsAtItsOffset) {
  const TripClock clock(grid, trip("slow"), trip("out"));
  for (std::size_t place = 0; place < grid.places_m.size(); ++place) {
    EXPECT_EQ(clock.lag_at_place_s(place), clock.lag_s(grid.places_m[place]));
    EXPECT_EQ(TripClock().lag_at_place_s(place), 0.0);
  }
}

TEST_F(TripClockTest, SubtractedTimesStayAscending) {
  const TripClock clock(grid, trip("slow"), trip("out"));
  std::vector<int> times_s = {0, 250, 260, 270};
  clock.subtract({0.0, 2000.0, grid.places_m[Grid::arrival_place(3)], grid.places_m.back()},
                 times_s);
  EXPECT_THAT(times_s, ElementsAre(0, 250, 250, 250));
}

TEST_F(TripClockTest, ATimetableIsATrajectory) {
  const std::vector<int> times_s = timetable_trajectory_s(grid, trip("slow"));
  ASSERT_EQ(times_s.size(), grid.milestones_m.size());
  EXPECT_EQ(times_s.front(), 0);
  EXPECT_EQ(times_s.back(), 600);
  EXPECT_THAT(scheduled_times_s(trip("slow")), ElementsAre(0, 120, 120, 240, 240, 420, 420, 600));
}

}  // namespace
}  // namespace qiv
