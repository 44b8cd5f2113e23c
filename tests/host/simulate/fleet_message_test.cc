#include "simulate/fleet_message.h"

#include <gtest/gtest.h>

#include "feed/gtfs_realtime.h"
#include "host/simulate/small_town.h"
#include "simulate/fleet.h"

namespace qiv {
namespace {

TEST(FleetMessage, PassesOurOwnReaderWithoutARejection) {
  const Network network = testing::small_town_network();
  FleetOptions options;
  options.doubled_share = 0.2;
  options.without_trip_share = 0.2;
  Fleet fleet(network, options);
  const Instant now = testing::at("08:30:00");
  const auto reports = fleet.reports(now);
  const PositionBatch batch =
      read_vehicle_positions(fleet_message(reports, now).SerializeAsString());
  EXPECT_TRUE(batch.rejections.empty());
  EXPECT_TRUE(batch.remarks.empty());
  EXPECT_EQ(batch.time, now);
  ASSERT_EQ(batch.positions.size(), reports.size());
  for (std::size_t i = 0; i < reports.size(); ++i) {
    EXPECT_EQ(batch.positions[i].vehicle, reports[i].vehicle);
    EXPECT_EQ(batch.positions[i].trip, reports[i].trip);
    EXPECT_EQ(batch.positions[i].start_date, reports[i].start_date);
    EXPECT_EQ(batch.positions[i].time, reports[i].time);
    EXPECT_NEAR(batch.positions[i].place->lat_deg, reports[i].place->lat_deg, 1e-5);
  }
}

TEST(FleetMessage, TheSecondEntityOfAVehicleHasANameOfItsOwn) {
  VehiclePosition report;
  report.vehicle = VehicleId("A1");
  report.time = testing::at("08:30:00");
  const std::vector<VehiclePosition> reports(2, report);
  const auto message = fleet_message(reports, report.time);
  EXPECT_EQ(message.entity(0).id(), "A1");
  EXPECT_EQ(message.entity(1).id(), "A1/2");
}

}  // namespace
}  // namespace qiv
