// Hand-computed values of the twin's single objects. The twin is what the library is compared
// with, so a misreading shared by both would show only here.

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "twin/Journey.h"
#include "twin/Log.h"
#include "twin/Numbers.h"

namespace twin {
namespace {

using support::LogEntry;
using testing::ElementsAre;
using testing::IsEmpty;

const double nan = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const long long latest = std::numeric_limits<long long>::max();
const long long earliest = std::numeric_limits<long long>::min();

std::vector<std::string> logged() {
  std::vector<std::string> lines;
  for (const LogEntry& entry : Log::entries()) {
    std::ostringstream line;
    line << entry;
    lines.push_back(line.str());
  }
  return lines;
}

/// What is written to the standard error stream while it lives.
class CapturedErrors {
 public:
  CapturedErrors() : _before(std::cerr.rdbuf(_text.rdbuf())) {}
  ~CapturedErrors() { std::cerr.rdbuf(_before); }
  std::string text() const { return _text.str(); }

 private:
  std::ostringstream _text;
  std::streambuf* _before;
};

class Twin : public testing::Test {
 protected:
  Twin() : journey("KernelRegression", {}, {1.0}, "arrival", 10, "ring") { Log::clear(); }

  Journey journey;
};

TEST(TwinNumbers, ConvertAndWrap) {
  EXPECT_EQ(to_long_long(2.9), 2);
  EXPECT_EQ(to_long_long(-2.9), -2);
  EXPECT_EQ(to_long_long(-9223372036854775808.0), earliest);
  EXPECT_EQ(to_long_long(9223372036854775808.0), earliest);
  EXPECT_EQ(to_long_long(nan), earliest);
  EXPECT_EQ(to_long_long(infinity), earliest);
  EXPECT_EQ(difference(earliest, 1), latest);
  EXPECT_EQ(difference(latest, -1), earliest);
}

class TwinRoute : public Twin {
 protected:
  TwinRoute() : route(journey) {}

  std::pair<unsigned int, double> parameters(double offset) const {
    std::pair<unsigned int, double> result(77, 0.77);
    route.get_interpolation_parameters(offset, result.first, result.second);
    return result;
  }

  BusRoute route;
};

TEST_F(TwinRoute, KeepsTheTwoLists) {
  EXPECT_FALSE(route.is_initialized());
  route.read_bus_stops({10, 20}, {"A", "B", "C"});
  EXPECT_FALSE(route.bus_stops_is_initialized());
  EXPECT_EQ(route.get_nb_bus_stops(), 2u);
  EXPECT_EQ(route.get_stopID(1), "B");
  EXPECT_EQ(route.get_offset(1), 20);
  route.remove_bus_stops();
  route.read_milestones({0, 100, 250});
  EXPECT_TRUE(route.bus_stops_is_initialized());
  EXPECT_TRUE(route.milestones_is_initialized());
  EXPECT_EQ(route.get_nb_bus_stops(), 0u);
  EXPECT_EQ(route.last_milestone_offset(), 250);
  EXPECT_EQ(route.last_bus_stop_offset(), -infinity);
  route.read_milestones({0, 7});
  EXPECT_EQ(route.get_nb_milestones(), 2u);
  route.remove_milestones();
  EXPECT_EQ(route.get_nb_milestones(), 0u);
  EXPECT_EQ(route.last_milestone_offset(), -infinity);
}

TEST_F(TwinRoute, ReadsACombinedList) {
  route.read({0, 50, 120}, {true, false, true}, {"S1", "X", "S3"});
  EXPECT_EQ(route.get_nb_milestones(), 3u);
  ASSERT_EQ(route.get_nb_bus_stops(), 2u);
  EXPECT_EQ(route.get_stopID(1), "S3");
  EXPECT_EQ(route.get_offset(1), 120);
}

TEST_F(TwinRoute, MissingIdentifiersAreEmpty) {
  route.read_bus_stops({10, 20}, {"A"});
  EXPECT_EQ(route.get_stopID(1), "");
  route.read({0, 50}, {true, true}, {});
  EXPECT_EQ(route.get_stopID(1), "");
}

TEST_F(TwinRoute, ComparesMilestones) {
  EXPECT_TRUE(route.identical_milestones({}));
  route.read_milestones({0, 100});
  EXPECT_TRUE(route.identical_milestones({-0.0, 100}));
  EXPECT_FALSE(route.identical_milestones({100, 0}));
  EXPECT_FALSE(route.identical_milestones({0}));
  EXPECT_FALSE(route.identical_milestones({0, 100, 200}));
  EXPECT_FALSE(route.identical_milestones({0, nan}));
}

TEST_F(TwinRoute, LocatesOffsets) {
  route.read_milestones({0, 100, 300});
  EXPECT_EQ(parameters(50), std::make_pair(1u, 0.5));
  EXPECT_EQ(parameters(100), std::make_pair(2u, 0.0));
  EXPECT_EQ(parameters(0), std::make_pair(1u, 0.0));
  EXPECT_EQ(parameters(300), std::make_pair(2u, 1.0));
  EXPECT_EQ(parameters(nan), std::make_pair(77u, 0.77));
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(TwinRoute, BeforeTheFirstMilestone) {
  route.read_milestones({20, 100});
  EXPECT_FALSE(route.is_in_range(10));
  EXPECT_EQ(parameters(10), std::make_pair(0u, 0.5));
}

TEST_F(TwinRoute, RefusesOffsetsOutOfRange) {
  route.read_milestones({0, 100, 300});
  for (const double offset : {300.0001, -1.0}) {
    try {
      parameters(offset);
      FAIL() << offset;
    } catch (const std::invalid_argument& error) {
      EXPECT_STREQ(error.what(), offset < 0 ? "offset -1 out of range [0,300]"
                                            : "offset 300 out of range [0,300]");
    }
  }
  EXPECT_EQ(logged()[1],
            "error BusRoute::get_interpolation_parameters KWXBN0020E \"%e%e%e%lld\" "
            "(-0x1p+0=-1, 0x0p+0=0, 0x1.2cp+8=300, -1ll)");
}

TEST_F(TwinRoute, Ranges) {
  EXPECT_TRUE(route.is_in_range(-5));
  route.read_milestones({0, 100, 300});
  EXPECT_TRUE(route.is_in_range(0));
  EXPECT_TRUE(route.is_in_range(300));
  EXPECT_FALSE(route.is_in_range(300.5));
  EXPECT_FALSE(route.is_in_range(nan));
  EXPECT_FALSE(route.is_in_termination_stop(300, 10));
  EXPECT_TRUE(route.is_in_termination_stop(305, 10));
  EXPECT_FALSE(route.is_in_termination_stop(310, 10));
}

TEST(TwinHistory, RingReplacesSlotOne) {
  History history(3, History::ring);
  EXPECT_EQ(history.length(), 0u);
  EXPECT_TRUE(history.is_compatible(9));
  for (int i = 1; i <= 5; ++i) history.push_back({i});
  ASSERT_EQ(history.size(), 3u);
  EXPECT_THAT(history[0], ElementsAre(1));
  EXPECT_THAT(history[1], ElementsAre(5));
  EXPECT_THAT(history[2], ElementsAre(3));
}

TEST(TwinHistory, CapacitiesOneAndZero) {
  History one(1, History::ring);
  one.push_back({1});
  one.push_back({2});
  EXPECT_THAT(one[0], ElementsAre(2));
  for (const History::Replace strategy : {History::ring, History::random}) {
    History none(0, strategy);
    none.push_back({1});
    EXPECT_EQ(none.size(), 0u);
  }
}

TEST(TwinHistory, RandomReplacesTheSlotOfRand) {
  History history(3, History::random);
  for (int i = 1; i <= 3; ++i) history.push_back({i});
  std::srand(5);
  const unsigned int slot = static_cast<unsigned int>(std::rand()) % 3;
  std::srand(5);
  history.push_back({4});
  EXPECT_EQ(history.size(), 3u);
  EXPECT_THAT(history[slot], ElementsAre(4));
}

TEST(TwinHistory, Interpolates) {
  History history(2, History::ring);
  history.push_back({100, 200, 400});
  EXPECT_EQ(history.interpolate(0, 0, 0.7), 0.0);
  EXPECT_EQ(history.interpolate(0, 2, 0.25), 250.0);
  EXPECT_EQ(history.interpolate(0, 1, 0.0), 100.0);
  EXPECT_EQ(history.interpolate(0, 2, 1.0), 400.0);
  history.push_back({1});
  EXPECT_FALSE(history.is_compatible(3));
  EXPECT_EQ(history.length(), 3u);
}

TEST(TwinAllHistories, ByCategory) {
  AllHistories histories;
  histories.initialize(50, "ring");
  EXPECT_FALSE(histories.is_initialized());
  EXPECT_EQ(histories.length(), 0u);
  EXPECT_TRUE(histories.is_compatible(4));
  histories.push_back(5, {1, 2, 3});
  histories.push_back(-1, {1, 2});
  EXPECT_EQ(histories.length(), 2u);
  EXPECT_FALSE(histories.is_compatible(3));
  EXPECT_EQ(histories[4], nullptr);
  EXPECT_EQ(histories[5]->max_size(), 50u);
  histories.remove_all_histories();
  EXPECT_EQ(histories[5], nullptr);
}

TEST(TwinAllHistories, UnknownStrategyStillSetsTheCapacity) {
  AllHistories histories;
  histories.initialize(3, "ring");
  try {
    histories.initialize(50, "Random");
    FAIL();
  } catch (const std::invalid_argument& error) {
    EXPECT_STREQ(error.what(), "Replacement strategy Random hasn't been implemented yet.");
  }
  histories.push_back(1, {1, 2});
  EXPECT_EQ(histories[1]->_max_size, 50u);
  EXPECT_EQ(histories[1]->_strategy, History::ring);
}

TEST(TwinVehicleJourneyRef, JoinsTheFirstPartTwice) {
  const VehicleJourneyRef dated("T17", "2024-05-01");
  EXPECT_EQ(dated.get_string(), "T17@T17");
  EXPECT_EQ(VehicleJourneyRef("T17", "").get_string(), "T17");
  EXPECT_TRUE(dated != VehicleJourneyRef("T17", "2024-05-02"));
  EXPECT_TRUE(dated == VehicleJourneyRef("T17", "2024-05-01"));
  EXPECT_TRUE(VehicleJourneyRef() == VehicleJourneyRef("", ""));
}

class TwinVehicle : public testing::Test {
 protected:
  TwinVehicle() : trip("T", ""), vehicle("V") { Log::clear(); }

  std::vector<std::pair<long long, double>> updates() const {
    std::vector<std::pair<long long, double>> result;
    for (const Position& update : vehicle._updates) result.push_back({update.time, update.offset});
    return result;
  }

  bool accepts(double offset, long long time, double max_error) {
    try {
      vehicle.update_position(trip, offset, time, max_error);
      return true;
    } catch (invalid_update&) {
      return false;
    }
  }

  VehicleJourneyRef trip;
  Vehicle vehicle;
};

typedef std::pair<long long, double> At;

TEST_F(TwinVehicle, StartsEmpty) {
  EXPECT_EQ(vehicle.get_last_time(), 0);
  EXPECT_EQ(vehicle.get_last_offset(), 0.0);
  EXPECT_FALSE(vehicle.is_alive());
}

TEST_F(TwinVehicle, AppendsAndPullsUp) {
  EXPECT_TRUE(accepts(100, 10, 0));
  EXPECT_TRUE(accepts(95, 20, 5));
  EXPECT_FALSE(accepts(94, 30, 5));
  EXPECT_FALSE(accepts(nan, 30, 5));
  EXPECT_FALSE(accepts(200, 30, nan));
  EXPECT_THAT(updates(), ElementsAre(At(10, 100), At(20, 100)));
}

TEST_F(TwinVehicle, InsertsLateReportsBetweenTheirNeighbours) {
  accepts(100, 10, 0);
  accepts(200, 30, 0);
  EXPECT_TRUE(accepts(205, 20, 5));
  EXPECT_TRUE(accepts(98, 20, 5) == false);
  EXPECT_TRUE(accepts(90, 10, 10));
  EXPECT_FALSE(accepts(206, 25, 5));
  EXPECT_FALSE(accepts(94, 10, 5));
  EXPECT_TRUE(accepts(105, 5, 5));
  EXPECT_TRUE(accepts(-7, 1, 5));
  EXPECT_FALSE(accepts(0, 0, -8));
  EXPECT_THAT(updates(), ElementsAre(At(1, -7), At(5, 100), At(10, 100), At(10, 100), At(20, 200),
                                     At(30, 200)));
}

TEST_F(TwinVehicle, EqualToTheNewestTimeHasNoNextUpdate) {
  accepts(100, 10, 0);
  EXPECT_TRUE(accepts(500, 10, 0));
  EXPECT_TRUE(accepts(495, 10, 5));
  EXPECT_FALSE(accepts(494, 10, 5));
  EXPECT_THAT(updates(), ElementsAre(At(10, 100), At(10, 500), At(10, 500)));
}

TEST_F(TwinVehicle, FirstReportIsStoredAsItIs) {
  EXPECT_TRUE(accepts(nan, 0, nan));
  EXPECT_EQ(vehicle.size(), 1u);
  EXPECT_THAT(logged(), IsEmpty());
  EXPECT_TRUE(vehicle._vehicleJourneyRef == VehicleJourneyRef());
}

TEST_F(TwinVehicle, ALaterReportOfAnotherTripStartsAnew) {
  accepts(100, 10, 0);
  vehicle.set_start_time(4);
  EXPECT_TRUE(vehicle.is_alive());
  EXPECT_FALSE(vehicle.is_alive());
  Log::clear();
  vehicle.update_position(VehicleJourneyRef("U", "D"), 110, 10, 0);
  EXPECT_THAT(logged(), IsEmpty());
  EXPECT_EQ(vehicle.size(), 2u);
  EXPECT_TRUE(vehicle._vehicleJourneyRef == trip);
  vehicle.update_position(VehicleJourneyRef("U", "D"), 5, 11, 0);
  EXPECT_THAT(updates(), ElementsAre(At(11, 5)));
  EXPECT_EQ(vehicle.get_start_time(), 4);
  EXPECT_EQ(vehicle._last_size, 0u);
  EXPECT_TRUE(vehicle.is_alive());
  EXPECT_THAT(logged(), ElementsAre("info Vehicle::update_position KWXBN0032I \"%s%s\" "
                                    "(\"V\", \"U@U\")"));
}

TEST_F(TwinVehicle, RejectionIsLoggedTwiceAndTold) {
  accepts(1234.5, 10, 0);
  Log::clear();
  try {
    vehicle.update_position(trip, 100, 20, 0.00001);
    FAIL();
  } catch (invalid_update& error) {
    const std::string detail =
        "Invalid update for V:\nGiven time stamp: 20\nGiven offset: 100\n"
        "Given max_error: 1e-05\nPrevious updates:\nTime stamp: 10  Offset: 1234.5\n";
    EXPECT_EQ(error._detail_msg, detail);
    EXPECT_EQ(error.detail(), detail);
    EXPECT_EQ(error.what(), "Invalid update: decreasing offset(s).\n" + detail);
    EXPECT_EQ(error.what(), "Invalid update: decreasing offset(s).\n" + detail);
    EXPECT_THAT(logged(), ElementsAre("error Vehicle::update_position KWXBN0021E \"%e%s%s\" "
                                      "(0x1.9p+6=100, \"V\", \"T\")",
                                      "error Vehicle::update_position text \"" + detail + "\""));
  }
}

TEST(TwinInvalidUpdate, Texts) {
  invalid_update out_of_range(invalid_update::offset_out_of_range);
  EXPECT_STREQ(out_of_range.what(), "Invalid update: offset(s) out of range.");
  invalid_update alone(invalid_update::decreasing_offsets);
  EXPECT_STREQ(alone.what(), "Invalid update: decreasing offset(s).");
  EXPECT_STREQ(alone.detail(),
               "Invalid update for :\nGiven time stamp: 0\nGiven offset: 0\n"
               "Given max_error: 0\nPrevious updates:\n");
  invalid_update unknown(static_cast<invalid_update::Cause>(0));
  unknown._cause = invalid_update::decreasing_offsets;
  std::deque<Position> updates = {{1.2e6, 5}};
  unknown._updates = &updates;
  invalid_update copy(unknown);
  updates.push_back({0.0001, 6});
  EXPECT_STREQ(copy.what(),
               "Invalid update: decreasing offset(s).\nInvalid update for :\n"
               "Given time stamp: 0\nGiven offset: 0\nGiven max_error: 0\nPrevious updates:\n"
               "Time stamp: 5  Offset: 1.2e+06\nTime stamp: 6  Offset: 0.0001\n");
}

TEST(TwinVehicleInterpolate, DividesFirst) {
  Vehicle vehicle("V");
  vehicle.update_position(VehicleJourneyRef(), 100, 1000, 0);
  vehicle.update_position(VehicleJourneyRef(), 300, 1100, 0);
  EXPECT_EQ(vehicle.interpolate(1, 200), 1050.0);
}

TEST(TwinAllVehicles, SweepKeepsWhatGrew) {
  AllVehicles vehicles;
  EXPECT_EQ(vehicles["V"], nullptr);
  vehicles.initialize("V", VehicleJourneyRef(), 1, 1, 0);
  vehicles.initialize("W", VehicleJourneyRef(), 1, 1, 0);
  vehicles.remove_inactive_vehicles();
  vehicles["W"]->update_position(VehicleJourneyRef(), 2, 2, 0);
  vehicles.remove_inactive_vehicles();
  EXPECT_EQ(vehicles["V"], nullptr);
  ASSERT_NE(vehicles["W"], nullptr);
  vehicles.remove_vehicle("unknown");
  EXPECT_EQ(vehicles._vehicle.size(), 1u);
  vehicles.initialize("W", VehicleJourneyRef(), 7, 7, 0);
  EXPECT_EQ(vehicles["W"]->size(), 1u);
  vehicles.remove_all_vehicles();
  EXPECT_TRUE(vehicles._vehicle.empty());
}

TEST_F(TwinRoute, LabelsTheForecastRows) {
  route.read_bus_stops({0, 1, 2, 3, 4}, {"A", "B", "C", "D", "E"});
  Forecast arrival;
  arrival.initialize("arrival");
  arrival.initialize(route);
  ASSERT_EQ(arrival.size(), 5u);
  EXPECT_EQ(arrival[4].get_stopID(), "E");
  EXPECT_EQ(arrival[4].get_stopID1(), "");
  Forecast travel;
  travel.initialize("travel");
  EXPECT_EQ(travel.get_mode(), Forecast::travel);
  travel.initialize(route);
  ASSERT_EQ(travel.size(), 4u);
  EXPECT_EQ(travel[3].get_stopID1(), "D");
  EXPECT_EQ(travel[3].get_stopID2(), "E");
  EXPECT_EQ(travel[3].get_stopID(), "");

  travel[0].set_time(9);
  route.read_bus_stops({0, 1}, {"X", "Y"});
  travel.initialize(route);
  ASSERT_EQ(travel.size(), 1u);
  EXPECT_EQ(travel[0].get_time(), 9);
  EXPECT_EQ(travel[0].get_stopID1(), "X");
  travel.reset();
  EXPECT_EQ(travel.get_first_index(), 4294967295u);
}

TEST(TwinForecast, UnknownMode) {
  Forecast forecast;
  CapturedErrors errors;
  EXPECT_THROW(forecast.initialize("Arrival"), std::exception);
  EXPECT_EQ(errors.text(), "Invalid value of parameter 'mode': Arrival.\n");
}

TEST(TwinKernelRegression, Bandwidth) {
  CapturedErrors errors;
  EXPECT_THROW(KernelRegression(nullptr, nullptr, {}, {0.0}), std::exception);
  EXPECT_THROW(KernelRegression(nullptr, nullptr, {}, {-1.0}), std::exception);
  EXPECT_THROW(KernelRegression(nullptr, nullptr, {}, {}), std::exception);
  EXPECT_NO_THROW(KernelRegression(nullptr, nullptr, {}, {nan}));
  const std::string line =
      "parameter 'bandwidth' of KernelRegression needs to be strictly positive.\n";
  EXPECT_EQ(errors.text(), line + line + line);
}

}  // namespace
}  // namespace twin
