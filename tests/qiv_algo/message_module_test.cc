#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "Journey.h"
#include "host_module/host_log.h"
#include "support/ProcessEnd.h"

// The library compiled against a message module of a host, which has the names that the library may
// use and a string of its own.

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const VehicleJourneyRef trip("T17", "2024-05-01");

class HostModule : public testing::Test {
 protected:
  HostModule() : journey("KernelRegression", {}, {1.0}, "arrival", 10, "ring") {
    journeys.initialize("KernelRegression", {}, {1.0}, "arrival", 10, "ring");
    HostLog::entries().clear();
    HostLog::failing_at().clear();
  }
  ~HostModule() override { HostLog::failing_at().clear(); }

  Forecast* update(double offset, long long time) {
    return journey.update("bus", trip, 10, 7, 1, offset, time, 0.0);
  }

  const std::vector<std::string>& entries() { return HostLog::entries(); }

  Journey journey;
  AllJourneys journeys;
};

TEST_F(HostModule, GetsTheRejectionsOfMilestones) {
  EXPECT_THROW(journey.read_milestones(10, 7, {5}), invalid_milestones);
  EXPECT_THROW(journey.read_milestones(10, 7, {-5, 10}), invalid_milestones);
  EXPECT_THROW(journey.read_milestones(10, 7, {0, 100, 100}), invalid_milestones);
  journey.read_history(10, 7, 1, {0, 1000});
  EXPECT_THROW(journey.read_milestones(10, 7, {0, 1, 2}), invalid_milestones);
  journey.read_milestones(10, 7, {0, 100});
  journey.read_bus_stops(10, 7, {}, {0, 60});
  EXPECT_THROW(journey.read_milestones(10, 7, {0, 50}), invalid_milestones);
  EXPECT_THAT(
      entries(),
      ElementsAre("error Journey::read_milestones KWXBN0060E %lld%u long long:7 unsigned:1",
                  "error Journey::read_milestones KWXBN0062E %lld%e long long:7 double:-5",
                  "error Journey::read_milestones KWXBN0063E %lld%u%u%e%e long long:7 unsigned:1 "
                  "unsigned:2 double:100 double:100",
                  "error Journey::read_milestones KWXBN0064E %lld%u%u long long:7 unsigned:2 "
                  "unsigned:3",
                  "error Journey::read_milestones KWXBN0061E %lld%e%e long long:7 double:60 "
                  "double:50"));
}

TEST_F(HostModule, GetsTheRejectionsOfBusStops) {
  EXPECT_THROW(journey.read_bus_stops(10, 7, {}, {5}), invalid_bus_stops);
  EXPECT_THROW(journey.read_bus_stops(10, 7, {}, {-5, 10}), invalid_bus_stops);
  EXPECT_THROW(journey.read_bus_stops(10, 7, {}, {0, 100, 100}), invalid_bus_stops);
  journey.read_milestones(10, 7, {0, 100});
  EXPECT_THROW(journey.read_bus_stops(10, 7, {}, {0, 101}), invalid_bus_stops);
  EXPECT_THAT(
      entries(),
      ElementsAre("error Journey::read_bus_stops KWXBN0070E %lld%u long long:7 unsigned:1",
                  "error Journey::read_bus_stops KWXBN0072E %lld%e long long:7 double:-5",
                  "error Journey::read_bus_stops KWXBN0073E %lld%u%u%e%e long long:7 unsigned:1 "
                  "unsigned:2 double:100 double:100",
                  "error Journey::read_bus_stops KWXBN0071E %lld%e%e long long:7 double:101 "
                  "double:100"));
}

TEST_F(HostModule, GetsTheRejectionsOfHistory) {
  EXPECT_THROW(journey.read_history(10, 7, 1, {5}), invalid_history);
  journey.read_history(10, 7, 1, {0, 1000});
  EXPECT_THROW(journey.read_history(10, 7, 1, {0, 200, -150}), invalid_history);
  EXPECT_THROW(journey.read_history(10, 7, 2, {1, 2, 3}), invalid_history);
  journey.read_milestones(10, 7, {0, 100});
  EXPECT_THROW(journey.read_history(10, 7, 1, {0, 1, 2}), invalid_history);
  EXPECT_THAT(entries(),
              ElementsAre("error Journey::read_history KWXBN0081E %lld%u%u long long:7 unsigned:0 "
                          "unsigned:1",
                          "error Journey::read_history KWXBN0082E %lld%u%u%u%d%d long long:7 "
                          "unsigned:1 unsigned:1 unsigned:2 int:200 int:-150",
                          "error Journey::read_history KWXBN0083E %lld%u%u%u long long:7 "
                          "unsigned:0 unsigned:3 unsigned:2",
                          "error Journey::read_history KWXBN0080E %lld%u%u%u long long:7 "
                          "unsigned:1 unsigned:3 unsigned:2"));
}

TEST_F(HostModule, GetsWhatHappensToReports) {
  journey.read_milestones(10, 7, {0, 100});
  update(50, 1000);
  EXPECT_THROW(update(40, 1100), invalid_update);
  EXPECT_THAT(
      entries(),
      ElementsAre("info Vehicle::update_position KWXBN0032I %s%s string:bus string:T17@T17",
                  "InfoMessage ForecastAlgorithm::compute_forecast KWXBN0027I",
                  "error Vehicle::update_position KWXBN0021E %e%s%s double:40 string:bus "
                  "string:T17@T17",
                  "Error Vehicle::update_position: Invalid update for bus:\nGiven time stamp: "
                  "1100\nGiven offset: 40\nGiven max_error: 0\nPrevious updates:\nTime stamp: "
                  "1000  Offset: 50\n"));
}

TEST_F(HostModule, GetsOffsetsOffTheRoute) {
  journey.read_bus_stops(10, 7, {"A", "B"}, {0, 100});
  journey.read_milestones(10, 7, {0, 60});
  journey.read_history(10, 7, 1, {0, 1000});
  EXPECT_THROW(update(50, 1000), std::invalid_argument);
  ASSERT_EQ(entries().size(), 2u);
  EXPECT_EQ(entries()[1],
            "error BusRoute::get_interpolation_parameters KWXBN0020E %e%e%e%lld double:100 "
            "double:0 double:60 long long:7");
}

TEST_F(HostModule, SeesAStringWithANulUpToIt) {
  Vehicle vehicle(std::string("b\0us", 4));
  vehicle.update_position(trip, 50, 1000, 0.0);
  EXPECT_THAT(entries(),
              ElementsAre("info Vehicle::update_position KWXBN0032I %s%s string:b string:T17@T17"));
}

TEST_F(HostModule, IsToldNothingOfWhatIsAccepted) {
  journeys.read_milestones("A", 10, 7, {0, 100});
  journeys.read_bus_stops("A", 10, 7, {"A", "B"}, {0, 100});
  journeys.read_history("A", 10, 7, 1, {0, 1000});
  EXPECT_THAT(entries(), IsEmpty());
}

// A module that throws: where nothing is declared its exception takes the place of the library's.

TEST_F(HostModule, ExceptionOutOfTheModuleLeavesTheJourneysOwnReaders) {
  HostLog::failing_at() = "KWXBN0060E";
  EXPECT_THROW(journey.read_milestones(10, 7, {}), LogFailure);
  HostLog::failing_at() = "KWXBN0070E";
  EXPECT_THROW(journey.read_bus_stops(10, 7, {}, {}), LogFailure);
  HostLog::failing_at() = "KWXBN0081E";
  EXPECT_THROW(journey.read_history(10, 7, 1, {}), LogFailure);
}

TEST_F(HostModule, ExceptionOutOfTheModuleLeavesAReport) {
  journeys.read_milestones("A", 10, 7, {0, 100});
  HostLog::failing_at() = "KWXBN0027I";
  EXPECT_THROW(journeys.update("A", "bus", trip, 10, 7, 1, 50, 1000, 0.0), LogFailure);
  HostLog::failing_at().clear();
  EXPECT_EQ(journeys.update("B", "bus", trip, 10, 7, 1, 50, 999, 0.0), nullptr)
      << "the report was recorded";
}

TEST_F(HostModule, ExceptionOutOfTheModuleTakesThePlaceOfTheRangeError) {
  journey.read_bus_stops(10, 7, {"A", "B"}, {0, 100});
  journey.read_milestones(10, 7, {0, 60});
  journey.read_history(10, 7, 1, {0, 1000});
  HostLog::failing_at() = "KWXBN0020E";
  EXPECT_THROW(update(50, 1000), LogFailure);
}

typedef HostModule HostModuleDeathTest;

TEST_F(HostModuleDeathTest, ExceptionOutOfTheModuleInTheRegistrysReadersEndsTheProcess) {
  HostLog::failing_at() = "KWXBN00";
  EXPECT_ENDS_THE_PROCESS(journeys.read_milestones("A", 10, 7, {}), "something");
  EXPECT_ENDS_THE_PROCESS(journeys.read_bus_stops("A", 10, 7, {}, {}), "something");
  EXPECT_ENDS_THE_PROCESS(journeys.read_history("A", 10, 7, 1, {}), "something");
}

TEST_F(HostModuleDeathTest, ExceptionOutOfTheModuleInUpdatePositionEndsTheProcess) {
  Vehicle vehicle("bus");
  HostLog::failing_at() = "KWXBN0032I";
  EXPECT_ENDS_THE_PROCESS(vehicle.update_position(trip, 50, 1000, 0.0), "something");
  HostLog::failing_at().clear();
  vehicle.update_position(trip, 50, 1000, 0.0);
  HostLog::failing_at() = "KWXBN0021E";
  EXPECT_ENDS_THE_PROCESS(vehicle.update_position(trip, 40, 1100, 0.0), "something");
  HostLog::failing_at() = "Error Vehicle::update_position: ";
  EXPECT_ENDS_THE_PROCESS(vehicle.update_position(trip, 40, 1100, 0.0), "something");
}

}  // namespace
