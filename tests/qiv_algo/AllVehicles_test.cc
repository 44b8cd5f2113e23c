#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "Vehicle.h"
#include "support/RecordedLog.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const VehicleJourneyRef trip("T17", "2024-05-01");
const VehicleJourneyRef next_trip("T18", "2024-05-01");

class AllVehiclesTest : public ::testing::Test {
 protected:
  RecordedLog log;
  AllVehicles vehicles;
};

TEST_F(AllVehiclesTest, KnowsNobodyAtFirst) {
  EXPECT_EQ(vehicles["V1"], nullptr);
  EXPECT_EQ(vehicles[""], nullptr);
}

TEST_F(AllVehiclesTest, InitializeFeedsTheFirstReport) {
  vehicles.initialize("V1", trip, 120.5, 1000, 10.0);
  ASSERT_NE(vehicles["V1"], nullptr);
  EXPECT_EQ(vehicles["V1"]->size(), 1u);
  EXPECT_EQ(vehicles["V1"]->get_offset(0), 120.5);
  EXPECT_EQ(vehicles["V1"]->get_time(0), 1000);
  EXPECT_THAT(log.lines(),
              ElementsAre(R"(info Vehicle::update_position KWXBN0032I %s%s ("V1", "T17@T17"))"));
}

TEST_F(AllVehiclesTest, InitializeLeavesTheStartTimeToTheJourney) {
  vehicles.initialize("V1", trip, 120.5, 1000, 10.0);
  EXPECT_EQ(vehicles["V1"]->get_start_time(), 0);
}

TEST_F(AllVehiclesTest, InitializeAcceptsAnyFirstReport) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_NO_THROW(vehicles.initialize("V1", trip, nan, 1000, nan));
  EXPECT_NO_THROW(vehicles.initialize("V2", trip, -5.0, -1000, -10.0));
  ASSERT_NE(vehicles["V1"], nullptr);
  EXPECT_TRUE(std::isnan(vehicles["V1"]->get_offset(0)));
  ASSERT_NE(vehicles["V2"], nullptr);
  EXPECT_EQ(vehicles["V2"]->get_offset(0), -5.0);
}

TEST_F(AllVehiclesTest, LookingUpAStrangerInsertsNothing) {
  vehicles.initialize("V1", trip, 0.0, 1000, 10.0);
  EXPECT_EQ(vehicles["V2"], nullptr);
  EXPECT_EQ(vehicles["V2"], nullptr);
  // A null entry would be asked whether it is alive.
  vehicles.remove_inactive_vehicles();
  EXPECT_NE(vehicles["V1"], nullptr);
}

TEST_F(AllVehiclesTest, IdentifiersAreComparedByteByByte) {
  vehicles.initialize("v1", trip, 1.0, 1000, 10.0);
  vehicles.initialize("V1", trip, 2.0, 1000, 10.0);
  vehicles.initialize(std::string("V1\0a", 4), trip, 3.0, 1000, 10.0);
  vehicles.initialize("", trip, 4.0, 1000, 10.0);
  EXPECT_EQ(vehicles["v1"]->get_last_offset(), 1.0);
  EXPECT_EQ(vehicles["V1"]->get_last_offset(), 2.0);
  EXPECT_EQ(vehicles[std::string("V1\0a", 4)]->get_last_offset(), 3.0);
  EXPECT_EQ(vehicles[""]->get_last_offset(), 4.0);
  EXPECT_EQ(vehicles["V1 "], nullptr);
}

TEST_F(AllVehiclesTest, HandsOutTheSameVehicleUntilItIsRemoved) {
  vehicles.initialize("V2", trip, 0.0, 1000, 10.0);
  Vehicle* const vehicle = vehicles["V2"];
  vehicles.initialize("V1", trip, 0.0, 1000, 10.0);
  vehicles.initialize("V3", trip, 0.0, 1000, 10.0);
  vehicles.remove_vehicle("V1");
  EXPECT_EQ(vehicles["V2"], vehicle);
}

TEST_F(AllVehiclesTest, RemoveVehicleRemovesThatOne) {
  vehicles.initialize("V1", trip, 0.0, 1000, 10.0);
  vehicles.initialize("V2", trip, 0.0, 1000, 10.0);
  vehicles.remove_vehicle("V1");
  EXPECT_EQ(vehicles["V1"], nullptr);
  EXPECT_NE(vehicles["V2"], nullptr);
}

TEST_F(AllVehiclesTest, RemovingAStrangerChangesNothing) {
  vehicles.initialize("V2", trip, 0.0, 1000, 10.0);
  vehicles.remove_vehicle("V1");
  EXPECT_EQ(vehicles["V1"], nullptr);
  EXPECT_NE(vehicles["V2"], nullptr);
  // A null entry would be asked whether it is alive.
  vehicles.remove_inactive_vehicles();
  EXPECT_NE(vehicles["V2"], nullptr);
}

TEST_F(AllVehiclesTest, ARemovedVehicleComesBackAsANewOne) {
  vehicles.initialize("V1", trip, 300.0, 1000, 10.0);
  vehicles["V1"]->set_start_time(900);
  vehicles.remove_vehicle("V1");
  vehicles.initialize("V1", trip, 5.0, 500, 0.0);
  EXPECT_EQ(vehicles["V1"]->size(), 1u);
  EXPECT_EQ(vehicles["V1"]->get_last_offset(), 5.0);
  EXPECT_EQ(vehicles["V1"]->get_start_time(), 0);
}

TEST_F(AllVehiclesTest, RemoveAllVehiclesRemovesEveryOne) {
  vehicles.initialize("V1", trip, 0.0, 1000, 10.0);
  vehicles.initialize("V2", trip, 0.0, 1000, 10.0);
  vehicles.remove_all_vehicles();
  EXPECT_EQ(vehicles["V1"], nullptr);
  EXPECT_EQ(vehicles["V2"], nullptr);
  vehicles.remove_all_vehicles();
  vehicles.initialize("V1", trip, 0.0, 1000, 10.0);
  EXPECT_NE(vehicles["V1"], nullptr);
}

TEST_F(AllVehiclesTest, ANewVehicleSurvivesTheFirstSweep) {
  vehicles.initialize("V1", trip, 0.0, 1000, 10.0);
  vehicles.remove_inactive_vehicles();
  EXPECT_NE(vehicles["V1"], nullptr);
}

TEST_F(AllVehiclesTest, TheSecondSweepInARowRemovesAllSurvivorsOfTheFirst) {
  vehicles.initialize("V1", trip, 0.0, 1000, 10.0);
  vehicles.initialize("V2", trip, 0.0, 1000, 10.0);
  vehicles.initialize("V3", trip, 0.0, 1000, 10.0);
  vehicles.remove_inactive_vehicles();
  vehicles.remove_inactive_vehicles();
  EXPECT_EQ(vehicles["V1"], nullptr);
  EXPECT_EQ(vehicles["V2"], nullptr);
  EXPECT_EQ(vehicles["V3"], nullptr);
}

TEST_F(AllVehiclesTest, ASweepAsksEveryVehicleOnce) {
  vehicles.initialize("V1", trip, 0.0, 1000, 10.0);
  vehicles.initialize("V2", trip, 0.0, 1000, 10.0);
  vehicles.initialize("V3", trip, 0.0, 1000, 10.0);
  vehicles.remove_inactive_vehicles();
  vehicles["V1"]->update_position(trip, 10.0, 1010, 10.0);
  vehicles["V3"]->update_position(trip, 10.0, 1010, 10.0);
  vehicles.remove_inactive_vehicles();
  EXPECT_NE(vehicles["V1"], nullptr);
  EXPECT_EQ(vehicles["V2"], nullptr);
  EXPECT_NE(vehicles["V3"], nullptr);
  vehicles["V3"]->update_position(trip, 20.0, 1020, 10.0);
  vehicles.remove_inactive_vehicles();
  EXPECT_EQ(vehicles["V1"], nullptr);
  EXPECT_NE(vehicles["V3"], nullptr);
}

TEST_F(AllVehiclesTest, ARejectedReportDoesNotSaveAVehicleFromTheSweep) {
  vehicles.initialize("V1", trip, 100.0, 1000, 10.0);
  vehicles.remove_inactive_vehicles();
  EXPECT_THROW(vehicles["V1"]->update_position(trip, 50.0, 1010, 10.0), invalid_update);
  vehicles.remove_inactive_vehicles();
  EXPECT_EQ(vehicles["V1"], nullptr);
}

TEST_F(AllVehiclesTest, ANewTripSavesAVehicleFromTheSweepWithAsManyUpdatesAsBefore) {
  vehicles.initialize("V1", trip, 100.0, 1000, 10.0);
  vehicles.remove_inactive_vehicles();
  vehicles["V1"]->update_position(next_trip, 0.0, 1010, 10.0);
  ASSERT_EQ(vehicles["V1"]->size(), 1u);
  vehicles.remove_inactive_vehicles();
  EXPECT_NE(vehicles["V1"], nullptr);
}

TEST_F(AllVehiclesTest, SweepingAnEmptyRegistryDoesNothing) {
  vehicles.remove_inactive_vehicles();
  EXPECT_EQ(vehicles["V1"], nullptr);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(AllVehiclesTest, ASecondInitializeReplacesTheVehicleAndDoesNotReleaseIt) {
  vehicles.initialize("V1", trip, 100.0, 1000, 10.0);
  const std::unique_ptr<Vehicle> replaced(vehicles["V1"]);
  replaced->set_start_time(900);
  vehicles.initialize("V1", next_trip, 5.0, 1500, 10.0);
  EXPECT_NE(vehicles["V1"], replaced.get());
  EXPECT_EQ(vehicles["V1"]->size(), 1u);
  EXPECT_EQ(vehicles["V1"]->get_last_offset(), 5.0);
  EXPECT_EQ(vehicles["V1"]->get_start_time(), 0);
  vehicles.remove_all_vehicles();
  replaced->update_position(trip, 110.0, 1010, 10.0);
  EXPECT_EQ(replaced->size(), 2u);
  EXPECT_EQ(replaced->get_last_offset(), 110.0);
  EXPECT_EQ(replaced->get_start_time(), 900);
}

}  // namespace
