#include "publish/vehicle_positions.h"

#include <gtest/gtest.h>

#include "host/publish/small_network.h"

namespace qiv {
namespace {

using testing::at;
using transit_realtime::FeedMessage;

PublishedVehicle vehicle(const std::string& id) {
  PublishedVehicle vehicle;
  vehicle.vehicle = VehicleId(id);
  vehicle.time = at("08:06:00");
  vehicle.place = {53.32, -6.2};
  return vehicle;
}

FeedMessage feed(const std::vector<PublishedVehicle>& vehicles) {
  static const Network network = testing::small_network();
  return vehicle_positions(vehicles, network, at("08:07:00"));
}

TEST(VehiclePositions, HasTheHeaderOfAFullDataSet) {
  const FeedMessage message = feed({});
  EXPECT_EQ(message.header().gtfs_realtime_version(), "2.0");
  EXPECT_EQ(message.header().incrementality(), transit_realtime::FeedHeader::FULL_DATASET);
  EXPECT_EQ(message.header().timestamp(), static_cast<std::uint64_t>(unix_seconds(at("08:07:00"))));
  EXPECT_EQ(message.header().feed_version(), "autumn");
}

TEST(VehiclePositions, AFollowedVehicleHasItsTripAndNextStop) {
  PublishedVehicle followed = vehicle("V7");
  followed.trip = TripKey{TripId("T1"), testing::first_of_october, Seconds(0)};
  followed.reported_trip = TripId("other");
  followed.offset_m = 1500.0;
  followed.bearing_deg = 90.0;
  followed.speed_mps = 8.0;
  const FeedMessage message = feed({followed});
  ASSERT_EQ(message.entity_size(), 1);
  const transit_realtime::VehiclePosition& position = message.entity(0).vehicle();
  EXPECT_EQ(message.entity(0).id(), "V7");
  EXPECT_EQ(position.trip().trip_id(), "T1");
  EXPECT_EQ(position.trip().start_date(), "20251001");
  EXPECT_FALSE(position.trip().has_start_time());
  EXPECT_EQ(position.trip().route_id(), "L1");
  EXPECT_EQ(position.trip().direction_id(), 1u);
  EXPECT_EQ(position.stop_id(), "PARK");
  EXPECT_EQ(position.current_stop_sequence(), 5u);
  EXPECT_EQ(position.current_status(), transit_realtime::VehiclePosition::IN_TRANSIT_TO);
  EXPECT_FLOAT_EQ(position.position().latitude(), 53.32F);
  EXPECT_FLOAT_EQ(position.position().bearing(), 90.0F);
  EXPECT_FLOAT_EQ(position.position().speed(), 8.0F);
  EXPECT_EQ(position.timestamp(), static_cast<std::uint64_t>(unix_seconds(at("08:06:00"))));
}

TEST(VehiclePositions, ARepetitionHasItsStartTime) {
  PublishedVehicle followed = vehicle("V7");
  followed.trip = TripKey{TripId("R"), testing::first_of_october, Seconds(36'000)};
  EXPECT_EQ(feed({followed}).entity(0).vehicle().trip().start_time(), "10:00:00");
}

TEST(VehiclePositions, AVehicleThatIsNotFollowedHasWhatItReports) {
  PublishedVehicle lost = vehicle("V8");
  lost.reported_trip = TripId("ghost");
  const FeedMessage message = feed({lost, vehicle("V9")});
  EXPECT_EQ(message.entity(0).vehicle().trip().trip_id(), "ghost");
  EXPECT_FALSE(message.entity(0).vehicle().trip().has_start_date());
  EXPECT_FALSE(message.entity(0).vehicle().has_current_status());
  EXPECT_FALSE(message.entity(1).vehicle().has_trip());
}

TEST(VehiclePositions, NoVehicleTwiceNorLaterThanTheHeader) {
  PublishedVehicle early = vehicle("V7");
  early.time = at("09:00:00");
  const FeedMessage message = feed({early, vehicle("V7")});
  ASSERT_EQ(message.entity_size(), 1);
  EXPECT_EQ(message.entity(0).vehicle().timestamp(), message.header().timestamp());
}

}  // namespace
}  // namespace qiv
