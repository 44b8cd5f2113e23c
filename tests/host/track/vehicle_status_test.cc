// What the tracker says of vehicles that leave their path or stand.

#include <gtest/gtest.h>

#include "host/support/straight_line.h"
#include "track/tracker.h"

namespace qiv {
namespace {

using testing::fix;
using testing::stated;

class VehicleStatusTest : public ::testing::Test {
 protected:
  VehicleStatus after(const std::vector<VehiclePosition>& reports) {
    for (const VehiclePosition& report : reports) tracker.update(report, events);
    return tracker.vehicle(VehicleId("v"))->status;
  }
  bool on_a_trip() const { return tracker.vehicle(VehicleId("v"))->trip.has_value(); }

  Network network = testing::straight_network();
  Tracker tracker{network};
  std::vector<TrackEvent> events;
};

TEST_F(VehicleStatusTest, ADetouredVehicleKeepsItsTripAndComesBackToIt) {
  EXPECT_EQ(after({fix("v", "out", "08:00:00", 0), fix("v", "out", "08:02:00", 900)}),
            VehicleStatus::under_way);
  EXPECT_EQ(after({fix("v", "out", "08:03:00", 1200, 500)}), VehicleStatus::off_route);
  EXPECT_EQ(after({fix("v", "out", "08:04:00", 1500, 500)}), VehicleStatus::detoured);
  EXPECT_EQ(after({fix("v", "out", "08:10:00", 2000, 500), fix("v", "out", "08:16:00", 2500, 500)}),
            VehicleStatus::detoured);
  EXPECT_TRUE(on_a_trip());
  EXPECT_EQ(after({fix("v", "out", "08:20:00", 3000)}), VehicleStatus::under_way);
  EXPECT_EQ(std::get<Progress>(events.back()).time, testing::at("08:20:00"));
  EXPECT_EQ(tracker.rejections().count("detoured"), 3U);
}

TEST_F(VehicleStatusTest, ADetourHasItsEnd) {
  after({fix("v", "out", "08:00:00", 0), fix("v", "out", "08:02:00", 500),
         fix("v", "out", "08:03:00", 900, 500), fix("v", "out", "08:10:00", 1200, 500),
         fix("v", "out", "08:17:00", 1500, 500), fix("v", "out", "08:24:00", 1800, 500),
         fix("v", "out", "08:31:00", 2100, 500)});
  EXPECT_TRUE(on_a_trip());
  EXPECT_EQ(after({fix("v", "out", "08:33:01", 2400, 500)}), VehicleStatus::detoured);
  EXPECT_FALSE(on_a_trip());
}

TEST_F(VehicleStatusTest, AVehicleThatHasGoneElsewhereLosesItsTripSooner) {
  after({fix("v", "out", "08:00:00", 0), fix("v", "out", "08:02:00", 500),
         fix("v", "out", "08:03:00", 900, 500), fix("v", "out", "08:13:00", 900, 5000)});
  EXPECT_TRUE(on_a_trip());
  EXPECT_EQ(after({fix("v", "out", "08:13:01", 900, 5000)}), VehicleStatus::off_route);
  EXPECT_FALSE(on_a_trip());
}

TEST_F(VehicleStatusTest, StandingForTooLong) {
  EXPECT_EQ(after({fix("v", "out", "08:00:00", 0), fix("v", "out", "08:03:00", 1500),
                   fix("v", "out", "08:13:00", 1501)}),
            VehicleStatus::under_way);
  EXPECT_EQ(after({fix("v", "out", "08:13:01", 1502)}), VehicleStatus::standing);
  EXPECT_TRUE(on_a_trip());
  EXPECT_EQ(after({fix("v", "out", "08:13:30", 1600)}), VehicleStatus::under_way);
}

TEST_F(VehicleStatusTest, WaitingAtTheFirstStopIsNoStanding) {
  EXPECT_EQ(after({fix("v", "out", "07:00:00", 0), fix("v", "out", "08:30:00", 0)}),
            VehicleStatus::waiting);
}

TEST_F(VehicleStatusTest, AStationLevelFeedRepeatsTheArrivalForAsLongAsTheVehicleStands) {
  after({stated("v", "out", "07:59:00", StopStatus::stopped_at, 1, 0),
         stated("v", "out", "08:00:00", StopStatus::in_transit_to, 2, 0),
         stated("v", "out", "08:02:00", StopStatus::stopped_at, 2, 1000)});
  VehiclePosition repeated = stated("v", "out", "08:02:00", StopStatus::stopped_at, 2, 1000);
  repeated.received = testing::at("08:12:00");
  EXPECT_EQ(after({repeated}), VehicleStatus::under_way);
  repeated.received = testing::at("08:12:01");
  EXPECT_EQ(after({repeated}), VehicleStatus::standing);
  repeated = stated("v", "out", "08:13:00", StopStatus::in_transit_to, 3, 1000);
  EXPECT_EQ(after({repeated}), VehicleStatus::under_way);
  repeated.received = testing::at("08:40:00");
  EXPECT_EQ(after({repeated}), VehicleStatus::under_way);
}

}  // namespace
}  // namespace qiv
