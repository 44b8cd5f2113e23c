#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "Vehicle.h"

namespace {

const double not_a_number = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const long long earliest = std::numeric_limits<long long>::min();
const long long latest = std::numeric_limits<long long>::max();

class VehicleInterpolationTest : public ::testing::Test {
 protected:
  void report(double offset, long long time) {
    vehicle.update_position(VehicleJourneyRef(), offset, time, 0.0);
  }

  Vehicle vehicle{"V1"};
};

TEST_F(VehicleInterpolationTest, InterpolatesBetweenTwoUpdates) {
  report(100.0, 1000);
  report(300.0, 1100);
  report(400.0, 1300);
  EXPECT_EQ(vehicle.interpolate(1, 100.0), 1000.0);
  EXPECT_EQ(vehicle.interpolate(1, 200.0), 1050.0);
  EXPECT_EQ(vehicle.interpolate(1, 250.0), 1075.0);
  EXPECT_EQ(vehicle.interpolate(1, 300.0), 1100.0);
  EXPECT_EQ(vehicle.interpolate(2, 300.0), 1100.0);
  EXPECT_EQ(vehicle.interpolate(2, 350.25), 1200.5);
}

TEST_F(VehicleInterpolationTest, InterpolatesBeyondTheTwoUpdatesAsWell) {
  report(100.0, 1000);
  report(300.0, 1100);
  EXPECT_EQ(vehicle.interpolate(1, 0.0), 950.0);
  EXPECT_EQ(vehicle.interpolate(1, 500.0), 1200.0);
}

TEST_F(VehicleInterpolationTest, DividesBeforeItMultiplies) {
  report(0.0, 0);
  report(49.0, 49);
  // 49 * (1 / 49) rounds below 1, (49 * 1) / 49 would not.
  EXPECT_EQ(vehicle.interpolate(1, 1.0), 0.9999999999999999);
}

TEST_F(VehicleInterpolationTest, EqualOffsetsPassAnInfiniteOrUndefinedRatioThrough) {
  report(100.0, 1000);
  report(100.0, 1100);
  EXPECT_EQ(vehicle.interpolate(1, 150.0), infinity);
  EXPECT_EQ(vehicle.interpolate(1, 50.0), -infinity);
  EXPECT_TRUE(std::isnan(vehicle.interpolate(1, 100.0)));
  report(100.0, 1100);
  EXPECT_TRUE(std::isnan(vehicle.interpolate(2, 150.0)));
}

TEST_F(VehicleInterpolationTest, InterpolatesAtNotANumber) {
  report(100.0, 1000);
  report(300.0, 1100);
  EXPECT_TRUE(std::isnan(vehicle.interpolate(1, not_a_number)));
  EXPECT_EQ(vehicle.interpolate(1, infinity), infinity);
}

TEST_F(VehicleInterpolationTest, DifferenceOfTimesWraps) {
  report(100.0, latest);
  report(0.0, earliest);
  EXPECT_EQ(vehicle.interpolate(1, 100.0), -9223372036854775808.0);
  EXPECT_EQ(vehicle.interpolate(1, 1e22), -9223372036854775808.0 - 1e20);
}

}  // namespace
