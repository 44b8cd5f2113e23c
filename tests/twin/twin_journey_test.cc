// Hand-computed behaviour of the twin's journeys and their registry.

#include <iostream>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "twin/Journey.h"
#include "twin/Log.h"

namespace twin {
namespace {

struct TwinJourneys : testing::Test {
  TwinJourneys() {
    journeys.initialize("KernelRegression", {}, {1.0}, "arrival", 10, "ring");
    Log::clear();
  }

  void load(const std::string& pattern) {
    journeys.read_milestones(pattern, 5, 7, {0, 100, 200});
    journeys.read_bus_stops(pattern, 5, 7, {"A", "B"}, {0, 200});
    journeys.read_history(pattern, 5, 7, 1, {0, 50, 100});
  }

  Forecast* report(const std::string& pattern, double offset, long long time) {
    return journeys.update(pattern, "V", VehicleJourneyRef("T", ""), 5, 7, 1, offset, time, 0.0);
  }

  /// The text of the exception that `call` throws, or nothing.
  template <class Exception, class Call>
  std::string rejected(Call call) {
    Log::clear();
    try {
      call();
    } catch (Exception& error) {
      return error.what();
    }
    return "";
  }

  std::string milestones(const std::vector<double>& list, long long id = 7) {
    return rejected<invalid_milestones>([&] { journeys.read_milestones("P", 5, id, list); });
  }
  std::string bus_stops(const std::vector<double>& list) {
    return rejected<invalid_bus_stops>([&] { journeys.read_bus_stops("P", 5, 7, {}, list); });
  }
  std::string history(const std::vector<int>& list, category_t category = 1) {
    return rejected<invalid_history>([&] { journeys.read_history("P", 5, 7, category, list); });
  }

  static std::string last_log() {
    std::ostringstream line;
    line << Log::entries().at(0);
    return line.str();
  }

  AllJourneys journeys;
};

TEST_F(TwinJourneys, RejectedMilestones) {
  EXPECT_EQ(milestones({1}), "Invalid milestones: number of milestones=1 (less than 2)\n");
  EXPECT_EQ(last_log(), "error Journey::read_milestones KWXBN0060E \"%lld%u\" (7ll, 1u)");
  EXPECT_EQ(milestones({-5, 10}), "Invalid milestones: first milestone is negative (-5)\n");
  EXPECT_EQ(last_log(), "error Journey::read_milestones KWXBN0062E \"%lld%e\" (7ll, -0x1.4p+2=-5)");
  EXPECT_EQ(milestones({0, 100, 100}),
            "Invalid milestones: decreasing milestones (milestones[1]=100, milestones[2]=100)\n");
  EXPECT_EQ(last_log(),
            "error Journey::read_milestones KWXBN0063E \"%lld%u%u%e%e\" "
            "(7ll, 1u, 2u, 0x1.9p+6=100, 0x1.9p+6=100)");
}

TEST_F(TwinJourneys, MilestonesAgainstStopsAndHistory) {
  EXPECT_EQ(history({1, 2, 3}), "");
  EXPECT_EQ(milestones({0, 100}),
            "Invalid milestones: incompatible with history (number of milestones=2, "
            "length of historical trajectories=3)\n");
  EXPECT_EQ(last_log(), "error Journey::read_milestones KWXBN0064E \"%lld%u%u\" (7ll, 3u, 2u)");
  EXPECT_EQ(bus_stops({0, 500}), "");
  EXPECT_EQ(milestones({0, 100, 200}), "");
  EXPECT_EQ(milestones({-1, 100, 200}),
            "Invalid milestones: bus stops out of range (last milestone=200, last bus stop=500)\n");
  EXPECT_EQ(last_log(),
            "error Journey::read_milestones KWXBN0061E \"%lld%e%e\" "
            "(7ll, 0x1.f4p+8=500, 0x1.9p+7=200)");
}

TEST_F(TwinJourneys, MilestonesTwiceBeforeAnyStops) {
  EXPECT_EQ(milestones({0, 100}), "");
  EXPECT_EQ(history({1, 2}), "");
  EXPECT_EQ(milestones({0, 100}), "");
  EXPECT_TRUE(journeys["P"]->_history.is_initialized());
  EXPECT_EQ(milestones({0, 50}), "");
  EXPECT_FALSE(journeys["P"]->_history.is_initialized());
}

TEST_F(TwinJourneys, RejectedBusStops) {
  EXPECT_EQ(bus_stops({}), "Invalid bus stops: number of bus stops=0 (less than 2)\n");
  EXPECT_EQ(last_log(), "error Journey::read_bus_stops KWXBN0070E \"%lld%u\" (7ll, 0u)");
  EXPECT_EQ(bus_stops({-1, 2}), "Invalid bus stops: first offset is negative (-1)\n");
  EXPECT_EQ(bus_stops({1, 2, 2}),
            "Invalid bus stops: decreasing offsets (offsets[1]=2, offsets[2]=2)\n");
  EXPECT_EQ(milestones({0, 100}), "");
  EXPECT_EQ(bus_stops({-1, 100.5}),
            "Invalid bus stops: bus stops out of range (last offset=100.5, last milestone=100)\n");
  EXPECT_EQ(bus_stops({0, 100}), "");
}

TEST_F(TwinJourneys, RejectedHistory) {
  EXPECT_EQ(history({1}), "Invalid history: length of milestones=1 (less than 2)\n");
  EXPECT_EQ(last_log(), "error Journey::read_history KWXBN0081E \"%lld%u%u\" (7ll, 0u, 1u)");
  EXPECT_EQ(history({100, 100, 100, 100}), "");
  EXPECT_EQ(history({100, 200, 150, 300}),
            "Invalid history: decreasing time stamps (trajectory[1]=200, trajectory[2]=150)\n");
  EXPECT_EQ(last_log(),
            "error Journey::read_history KWXBN0082E \"%lld%u%u%u%d%d\" "
            "(7ll, 1u, 1u, 2u, 200, 150)");
  EXPECT_EQ(history({1, 2, 3, 4, 5}, 9),
            "Invalid history: incompatible with previous trajectories (length of new "
            "trajectory=5, length of previous trajectories=4)\n");
  EXPECT_EQ(last_log(), "error Journey::read_history KWXBN0083E \"%lld%u%u%u\" (7ll, 0u, 5u, 4u)");
  EXPECT_EQ(milestones({0, 1, 2, 3}), "");
  EXPECT_EQ(history({1, 2, 0}),
            "Invalid history: incompatible with milestones (length of historical trajectory=3, "
            "number of milestones=4)\n");
  EXPECT_EQ(last_log(), "error Journey::read_history KWXBN0080E \"%lld%u%u%u\" (7ll, 1u, 3u, 4u)");
}

TEST(TwinInvalidData, OtherCausesAndShortLists) {
  EXPECT_STREQ(invalid_milestones(invalid_milestones::bus_stops_out_of_range, {1}).what(), "");
  EXPECT_STREQ(invalid_milestones(invalid_milestones::negative_milestones, {1}, 2.0).what(), "");
  EXPECT_STREQ(invalid_milestones(invalid_milestones::negative_milestones, {1}, 2u).what(), "");
  EXPECT_STREQ(invalid_bus_stops(invalid_bus_stops::bus_stops_out_of_range, {1}).what(), "");
  EXPECT_STREQ(invalid_bus_stops(invalid_bus_stops::negative_offsets, {1}, 2.0).what(), "");
  EXPECT_STREQ(invalid_history(invalid_history::incompatible_with_history, {1}).what(), "");
  EXPECT_STREQ(invalid_history(invalid_history::less_than_two_milestones, {1}, 2).what(), "");
  EXPECT_STREQ(invalid_milestones(invalid_milestones::decreasing_milestones, {1}).what(),
               "Invalid milestones: decreasing milestones (milestones[0]=1, milestones[1]=0)\n");
  EXPECT_STREQ(invalid_history(invalid_history::decreasing_time_stamps, {1, 2}).what(),
               "Invalid history: decreasing time stamps (trajectory[0]=1, trajectory[1]=2)\n");
}

TEST_F(TwinJourneys, ShapeVersions) {
  load("P");
  Journey* journey = journeys["P"];
  EXPECT_EQ(journey->get_shapeVersionID(), 7);
  journeys.read_milestones("P", 1, 7, {0, 100, 200});
  EXPECT_EQ(journey->_shapeVersionTime, 5u);
  journeys.read_milestones("P", 4, 8, {});
  EXPECT_EQ(journey->get_shapeVersionID(), 7);
  EXPECT_NE(report("P", 10, 10), nullptr);
  EXPECT_EQ(milestones({}, 8), "Invalid milestones: number of milestones=0 (less than 2)\n");
  EXPECT_EQ(journey->get_shapeVersionID(), 8);
  EXPECT_EQ(journey->_bus_route.get_nb_milestones(), 0u);
  EXPECT_EQ(journey->_bus_route.get_nb_bus_stops(), 0u);
  EXPECT_FALSE(journey->_history.is_initialized());
  EXPECT_EQ(journey->_vehicle["V"], nullptr);
  EXPECT_EQ(journey->_forecast.size(), 2u);
}

TEST_F(TwinJourneys, ANewJourneyTakesVersionZero) {
  journeys.read_milestones("P", 0, 0, {0, 1});
  EXPECT_EQ(journeys["P"]->get_shapeVersionID(), 0);
  EXPECT_EQ(journeys["Q"]->get_shapeVersionID(), -1);
}

TEST_F(TwinJourneys, ReportsThatGiveNothing) {
  journeys.read_bus_stops("P", 5, 7, {"A", "B"}, {0, 200});
  EXPECT_EQ(report("P", 10, 10), nullptr);
  load("P");
  EXPECT_EQ(report("P", 200.5, 10), nullptr);
  EXPECT_EQ(journeys["P"]->_vehicle["V"], nullptr);
  EXPECT_EQ(journeys.update("P", "V", VehicleJourneyRef(), 6, 8, 1, 10, 10, 0), nullptr);
  EXPECT_EQ(journeys["P"]->_bus_route.get_nb_milestones(), 0u);
  EXPECT_EQ(journeys.update("P", "V", VehicleJourneyRef(), 5, 9, 1, 10, 10, 0), nullptr);
  EXPECT_EQ(journeys["P"]->get_shapeVersionID(), 8);
}

TEST_F(TwinJourneys, Forecasts) {
  load("P");
  Forecast* forecast = report("P", 100, 1000);
  ASSERT_NE(forecast, nullptr);
  EXPECT_EQ((*forecast)[0].get_time(), 950);
  EXPECT_EQ((*forecast)[1].get_time(), 1050);
  EXPECT_EQ(forecast->get_first_index(), 1u);
  forecast = journeys.update("P", "V", VehicleJourneyRef("T", ""), 5, 7, 2, 120, 1010, 0.0);
  ASSERT_NE(forecast, nullptr);
  EXPECT_EQ(forecast->get_first_index(), 4294967295u);
}

TEST_F(TwinJourneys, HandOver) {
  load("A");
  load("B");
  report("A", 10, 100);
  EXPECT_EQ(report("B", 10, 90), nullptr);
  EXPECT_NE(journeys["A"]->_vehicle["V"], nullptr);
  EXPECT_NE(report("B", 10, 100), nullptr);
  EXPECT_EQ(journeys["A"]->_vehicle["V"], nullptr);
}

TEST_F(TwinJourneys, ReleaseBeforeAFailedCreation) {
  load("A");
  report("A", 10, 100);
  journeys.initialize("Kernel", {}, {1.0}, "arrival", 10, "ring");
  std::ostringstream errors;
  std::streambuf* before = std::cerr.rdbuf(errors.rdbuf());
  EXPECT_THROW(report("B", 10, 100), std::exception);
  std::cerr.rdbuf(before);
  EXPECT_EQ(errors.str(), "Invalid value of parameter 'method': Kernel.\n");
  EXPECT_EQ(journeys["A"]->_vehicle["V"], nullptr);
  EXPECT_EQ(journeys._journey.count("B"), 0u);
}

TEST(TwinUnconfigured, FailsOnTheStrategyFirst) {
  AllJourneys journeys;
  try {
    journeys["P"];
    FAIL();
  } catch (const std::invalid_argument& error) {
    EXPECT_STREQ(error.what(), "Replacement strategy  hasn't been implemented yet.");
  }
}

TEST_F(TwinJourneys, Sweep) {
  journeys.remove_inactive_vehicles();
  load("A");
  report("A", 10, 100);
  journeys.remove_inactive_vehicles();
  EXPECT_NE(journeys["A"]->_vehicle["V"], nullptr);
  journeys.remove_inactive_vehicles();
  EXPECT_EQ(journeys["A"]->_vehicle["V"], nullptr);
}

TEST_F(TwinJourneys, AReportWhoseForecastThrowsIsRecorded) {
  journeys.read_bus_stops("P", 5, 7, {"A", "B"}, {0, 500});
  journeys.read_milestones("P", 5, 7, {0, 100, 200});
  journeys.read_history("P", 5, 7, 1, {0, 50, 100});
  EXPECT_THROW(report("P", 100, 1000), std::invalid_argument);
  EXPECT_EQ(journeys["P"]->_vehicle["V"]->size(), 1u);
  EXPECT_EQ(journeys["P"]->_forecast.get_first_index(), 1u);
}

}  // namespace
}  // namespace twin
