#include "simulate/drive.h"

#include <gtest/gtest.h>

#include "host/simulate/small_town.h"

namespace qiv {
namespace {

using testing::at;
using testing::small_town_network;

class DriveTest : public ::testing::Test {
 protected:
  const Network network = small_town_network();
  const Driver driver{Draw(1), Traffic(Draw(1), 0.12)};
  const TripPlan& trip = network.trip(0);
  const JourneyPattern& pattern = network.pattern(trip.pattern);
  const Instant zero = at("00:00:00");
  const double departs_s = static_cast<double>(unix_seconds(zero + trip.departure()));
  DrivenTimes times;
};

TEST_F(DriveTest, CallsAtEveryStopInOrder) {
  driver.drive(trip, pattern, zero, departs_s, times);
  ASSERT_EQ(times.arrival_s.size(), trip.size());
  ASSERT_EQ(times.departure_s.size(), trip.size());
  EXPECT_EQ(times.departure_s.front(), departs_s);
  for (std::size_t i = 1; i < trip.size(); ++i) {
    EXPECT_GT(times.arrival_s[i], times.departure_s[i - 1]) << i;
    EXPECT_GE(times.departure_s[i], times.arrival_s[i]) << i;
  }
}

TEST_F(DriveTest, StandsAtAStopFromArrivalToDeparture) {
  driver.drive(trip, pattern, zero, departs_s, times);
  EXPECT_EQ(times.offset_m(pattern, times.arrival_s[3]), pattern.stops[3].offset_m);
  EXPECT_EQ(times.offset_m(pattern, times.departure_s[3]), pattern.stops[3].offset_m);
}

TEST_F(DriveTest, IsAtTheEndsBeforeAndAfter) {
  driver.drive(trip, pattern, zero, departs_s, times);
  EXPECT_EQ(times.offset_m(pattern, departs_s - 100.0), pattern.stops.front().offset_m);
  EXPECT_EQ(times.offset_m(pattern, departs_s + 90'000.0), pattern.stops.back().offset_m);
}

TEST_F(DriveTest, NeverGoesBackNorFasterThanAVehicleCan) {
  driver.drive(trip, pattern, zero, departs_s, times);
  double last_m = 0.0;
  for (double time_s = departs_s; time_s < times.arrival_s.back(); time_s += 1.0) {
    const double offset_m = times.offset_m(pattern, time_s);
    ASSERT_GE(offset_m, last_m);
    ASSERT_LT(offset_m - last_m, 34.0);
    last_m = offset_m;
  }
}

TEST_F(DriveTest, ALateVehicleDoesNotWaitAndAnEarlyOneDoes) {
  driver.drive(trip, pattern, zero, departs_s + 1200.0, times);
  EXPECT_LT(times.departure_s[5] - times.arrival_s[5], 30.0);
  driver.drive(trip, pattern, zero, departs_s - 1200.0, times);
  const double planned_s = static_cast<double>(unix_seconds(zero + trip.call(1).departure));
  EXPECT_EQ(times.departure_s[1], planned_s - 60.0);
}

}  // namespace
}  // namespace qiv
