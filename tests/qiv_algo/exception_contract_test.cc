#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "TestJourney.h"
#include "support/Allocations.h"
#include "support/ProcessEnd.h"

// The operations with an exception specification: what they declare reaches the host, anything else
// ends the process. This file is built for the language with exception specifications and for the
// language without.

namespace {

const VehicleJourneyRef trip("a dated vehicle journey reference longer than any small string", "");

const std::string no_such_strategy =
    "invalid_argument: Replacement strategy LRU hasn't been implemented yet.";

Configuration bad_strategy() {
  Configuration configuration;
  configuration.replacement_strategy = "LRU";
  return configuration;
}

Configuration bad_mode() {
  Configuration configuration;
  configuration.mode = "departure";
  return configuration;
}

Configuration bad_method() {
  Configuration configuration;
  configuration.method = "Mean";
  return configuration;
}

Configuration bad_bandwidth() {
  Configuration configuration;
  configuration.double_parameter = {0.0};
  return configuration;
}

class ExceptionContractDeathTest : public testing::Test {
 protected:
  ExceptionContractDeathTest() { Configuration().apply_to(journeys); }

  void read_milestones() { journeys.read_milestones("A", 10, 7, {0, 50, 100}); }
  void read_bus_stops() { journeys.read_bus_stops("A", 10, 7, {"A", "B"}, {0, 100}); }
  void read_history() { journeys.read_history("A", 10, 7, 1, {0, 500, 1000}); }
  Forecast* update(double offset, long long time) {
    return journeys.update("A", "bus", trip, 10, 7, 1, offset, time, 0.0);
  }

  AllJourneys journeys;
};

TEST_F(ExceptionContractDeathTest, MakingAJourneyFailsInReadMilestones) {
  bad_strategy().apply_to(journeys);
  EXPECT_ENDS_THE_PROCESS(read_milestones(), no_such_strategy);
  bad_mode().apply_to(journeys);
  EXPECT_ENDS_THE_PROCESS(read_milestones(), "exception");
  bad_method().apply_to(journeys);
  EXPECT_ENDS_THE_PROCESS(read_milestones(), "exception");
  bad_bandwidth().apply_to(journeys);
  EXPECT_ENDS_THE_PROCESS(read_milestones(), "exception");
}

TEST_F(ExceptionContractDeathTest, MakingAJourneyFailsInReadBusStops) {
  bad_strategy().apply_to(journeys);
  EXPECT_ENDS_THE_PROCESS(read_bus_stops(), no_such_strategy);
  bad_method().apply_to(journeys);
  EXPECT_ENDS_THE_PROCESS(read_bus_stops(), "exception");
}

TEST_F(ExceptionContractDeathTest, MakingAJourneyFailsInReadHistory) {
  bad_strategy().apply_to(journeys);
  EXPECT_ENDS_THE_PROCESS(read_history(), no_such_strategy);
  bad_method().apply_to(journeys);
  EXPECT_ENDS_THE_PROCESS(read_history(), "exception");
}

TEST_F(ExceptionContractDeathTest, RejectedConfigurationIsNamedBeforeTheEnd) {
  bad_method().apply_to(journeys);
  EXPECT_EXIT(
      {
        install_handler_of_the_host();
        read_milestones();
      },
      testing::ExitedWithCode(ended_by_the_handler),
      "Invalid value of parameter 'method': Mean.\n" + handled("exception"));
}

TEST_F(ExceptionContractDeathTest, WithoutAnotherHandlerTheTerminateHandlerIsCalled) {
  bad_strategy().apply_to(journeys);
  EXPECT_EXIT(
      {
        std::set_terminate(terminate_handler_of_the_host);
        read_milestones();
      },
      testing::ExitedWithCode(ended_by_the_handler), "terminate handler: " + no_such_strategy);
}

TEST_F(ExceptionContractDeathTest, WithoutAnyHandlerTheProcessAborts) {
  bad_strategy().apply_to(journeys);
  EXPECT_EXIT(read_milestones(), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(read_bus_stops(), testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(read_history(), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(ExceptionContractDeathTest, NoHandlerOfTheHostSeesTheEndComing) {
  bad_strategy().apply_to(journeys);
  EXPECT_ENDS_THE_PROCESS(
      {
        try {
          read_milestones();
        } catch (...) {
          std::_Exit(went_wrong);
        }
      },
      no_such_strategy);
}

TEST_F(ExceptionContractDeathTest, UpdateDeclaresNothingAndPassesEverythingOn) {
  bad_strategy().apply_to(journeys);
  EXPECT_THROW(update(50, 1000), std::invalid_argument);
}

TEST_F(ExceptionContractDeathTest, TheFirstAllocationFailureIsSeenByTheHandler) {
  EXPECT_ENDS_THE_PROCESS(
      {
        FailingAllocation failing(0);
        journeys.read_milestones("A", 10, 7, {});
      },
      "bad_alloc");
}

TEST_F(ExceptionContractDeathTest, EachAllocationFailureInReadMilestonesEndsTheProcess) {
  const std::vector<double> milestones = {0, 50, 100};
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    FailingAllocation failing(i);
    journeys.read_milestones("A", 10, 7, milestones);
    return outcome();
  });
  EXPECT_GT(outcomes.ended, 3);
  EXPECT_EQ(outcomes.unharmed, 0);
}

TEST_F(ExceptionContractDeathTest, EachAllocationFailureInReadBusStopsEndsTheProcess) {
  const std::vector<std::string> names(2, std::string(100, 'x'));
  const std::vector<double> offsets = {0, 100};
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    FailingAllocation failing(i);
    journeys.read_bus_stops("A", 10, 7, names, offsets);
    return outcome();
  });
  EXPECT_GT(outcomes.ended, 3);
  EXPECT_EQ(outcomes.unharmed, 0);
}

TEST_F(ExceptionContractDeathTest, EachAllocationFailureInReadHistoryEndsTheProcess) {
  const std::vector<int> trajectory = {0, 500, 1000};
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    FailingAllocation failing(i);
    journeys.read_history("A", 10, 7, 1, trajectory);
    return outcome();
  });
  EXPECT_GT(outcomes.ended, 3);
  EXPECT_EQ(outcomes.unharmed, 0);
}

// The message module swallows its own failures, so that a rejection may come out unharmed; but its
// text is whole then.

TEST_F(ExceptionContractDeathTest, AllocationFailuresInRejectedMilestonesEndTheProcessOrDoNoHarm) {
  const std::vector<double> milestones = {0, 123456.75, 12345.75};
  read_milestones();
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    RecordedLog log;
    FailingAllocation failing(i);
    try {
      journeys.read_milestones("A", 10, 7, milestones);
    } catch (invalid_milestones& error) {
      return outcome(error.what(),
                     "Invalid milestones: decreasing milestones (milestones[1]=123457, "
                     "milestones[2]=12345.8)\n");
    }
    return went_wrong;
  });
  EXPECT_GT(outcomes.ended, 0);
}

TEST_F(ExceptionContractDeathTest, AllocationFailuresInRejectedBusStopsEndTheProcessOrDoNoHarm) {
  const std::vector<double> offsets = {0, 12345.75};
  read_milestones();
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    RecordedLog log;
    FailingAllocation failing(i);
    try {
      journeys.read_bus_stops("A", 10, 7, {}, offsets);
    } catch (invalid_bus_stops& error) {
      return outcome(error.what(),
                     "Invalid bus stops: bus stops out of range (last offset=12345.8, last "
                     "milestone=100)\n");
    }
    return went_wrong;
  });
  EXPECT_GT(outcomes.ended, 0);
}

TEST_F(ExceptionContractDeathTest, AllocationFailuresInARejectedTrajectoryEndTheProcessOrDoNoHarm) {
  const std::vector<int> trajectory = {0, 2147483647, -2147483647};
  read_milestones();
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    RecordedLog log;
    FailingAllocation failing(i);
    try {
      journeys.read_history("A", 10, 7, 1, trajectory);
    } catch (invalid_history& error) {
      return outcome(error.what(),
                     "Invalid history: decreasing time stamps (trajectory[1]=2147483647, "
                     "trajectory[2]=-2147483647)\n");
    }
    return went_wrong;
  });
  EXPECT_GT(outcomes.ended, 0);
}

/// The plainest vehicle there is, with a report of its own.
class VehicleContractDeathTest : public testing::Test {
 protected:
  VehicleContractDeathTest() : vehicle("a vehicle whose identifier is longer than small strings") {}

  RecordedLog log;
  Vehicle vehicle;
};

TEST_F(VehicleContractDeathTest, AllocationFailureIsSeenByTheHandler) {
  EXPECT_ENDS_THE_PROCESS(
      {
        FailingAllocation failing(0);
        vehicle.update_position(trip, 50, 1000, 0.0);
      },
      "bad_alloc");
}

TEST_F(VehicleContractDeathTest, AllocationFailuresInAFirstReportEndTheProcessOrDoNoHarm) {
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    FailingAllocation failing(i);
    vehicle.update_position(trip, 50, 1000, 0.0);
    return vehicle.size() == 1 ? outcome() : went_wrong;
  });
  EXPECT_GT(outcomes.ended, 0);
}

TEST_F(VehicleContractDeathTest, AllocationFailuresWhileTheQueueGrowsEndTheProcess) {
  vehicle.update_position(trip, 50, 1000, 0.0);
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    FailingAllocation failing(i);
    for (int time = 1001; time < 2000; ++time) vehicle.update_position(trip, 50, time, 0.0);
    return outcome();
  });
  EXPECT_GT(outcomes.ended, 10);
  EXPECT_EQ(outcomes.unharmed, 0);
}

TEST_F(VehicleContractDeathTest, AllocationFailuresInARejectionEndTheProcessOrDoNoHarm) {
  vehicle.update_position(trip, 50.5, 9000000000000000000LL, 0.0);
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    FailingAllocation failing(i);
    try {
      vehicle.update_position(trip, 40, 9100000000000000000LL, 1.5);
    } catch (invalid_update& error) {
      return outcome(error.what(),
                     "Invalid update: decreasing offset(s).\n"
                     "Invalid update for a vehicle whose identifier is longer than small strings:\n"
                     "Given time stamp: 9100000000000000000\n"
                     "Given offset: 40\n"
                     "Given max_error: 1.5\n"
                     "Previous updates:\n"
                     "Time stamp: 9000000000000000000  Offset: 50.5\n");
    }
    return went_wrong;
  });
  EXPECT_GT(outcomes.ended, 0);
}

// The making of the vehicle is the registry's own and passes its failures on.
TEST_F(VehicleContractDeathTest, AllocationFailuresInAReportPassOrEndTheProcess) {
  AllJourneys journeys;
  Configuration().apply_to(journeys);
  journeys.read_milestones("A", 10, 7, {0, 100});
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    FailingAllocation failing(i);
    try {
      journeys.update("A", "a vehicle of a long name, as above", trip, 10, 7, 1, 50, 1000, 0.0);
    } catch (const std::bad_alloc&) {
      return unharmed;
    }
    return outcome();
  });
  EXPECT_GT(outcomes.ended, 0);
  EXPECT_GT(outcomes.unharmed, 0);
}

/// The declared exceptions pass: the same whether thrown through the registry or by the journey,
/// and no handler is called.
class DeclaredException : public testing::Test {
 protected:
  DeclaredException() { Configuration().apply_to(journeys); }

  RecordedLog log;
  AllJourneys journeys;
  TestJourney journey;
};

TEST_F(DeclaredException, PassesReadMilestonesUnharmed) {
  const std::string text = rejection<invalid_milestones>([&] {
    journey.read_milestones(10, 7, {0, 100.5, 99.25});
  });
  EXPECT_EQ(text,
            "Invalid milestones: decreasing milestones (milestones[1]=100.5, "
            "milestones[2]=99.25)\n");
  EXPECT_EQ(rejection<invalid_milestones>([&] {
              journeys.read_milestones("A", 10, 7, {0, 100.5, 99.25});
            }),
            text);
}

TEST_F(DeclaredException, PassesReadBusStopsUnharmed) {
  const std::string text = rejection<invalid_bus_stops>([&] {
    journey.read_bus_stops(10, 7, {}, {-1.5, 3});
  });
  EXPECT_EQ(text, "Invalid bus stops: first offset is negative (-1.5)\n");
  EXPECT_EQ(rejection<invalid_bus_stops>([&] {
              journeys.read_bus_stops("A", 10, 7, {}, {-1.5, 3});
            }),
            text);
}

TEST_F(DeclaredException, PassesReadHistoryUnharmed) {
  const std::string text = rejection<invalid_history>([&] { journey.read_history(10, 7, 1, {5}); });
  EXPECT_EQ(text, "Invalid history: length of milestones=1 (less than 2)\n");
  EXPECT_EQ(rejection<invalid_history>([&] { journeys.read_history("A", 10, 7, 1, {5}); }), text);
}

TEST_F(DeclaredException, PassesUpdatePositionUnharmed) {
  Vehicle vehicle("bus");
  vehicle.update_position(trip, 50, 1000, 0.0);
  try {
    vehicle.update_position(trip, 40, 1100, 5.0);
    ADD_FAILURE() << "accepted";
  } catch (invalid_update& error) {
    EXPECT_STREQ(error.detail(),
                 "Invalid update for bus:\nGiven time stamp: 1100\nGiven offset: 40\nGiven "
                 "max_error: 5\nPrevious updates:\nTime stamp: 1000  Offset: 50\n");
  }
}

TEST_F(DeclaredException, IsAlsoCaughtAsTheStandardBase) {
  EXPECT_THROW(journeys.read_milestones("A", 10, 7, {}), std::exception);
  EXPECT_THROW(journeys.read_bus_stops("A", 10, 7, {}, {}), std::exception);
  EXPECT_THROW(journeys.read_history("A", 10, 7, 1, {}), std::exception);
}

#if __cplusplus < 201703L

[[noreturn]] void throw_declared_history() {
  throw invalid_history(invalid_history::less_than_two_milestones, {1, 2, 3});
}

[[noreturn]] void throw_declared_update() {
  throw invalid_update(invalid_update::offset_out_of_range);
}

[[noreturn]] void throw_foreign() {
  throw "foreign";
}

// A host's handler may replace the foreign exception by the declared one: the language passes that.
TEST_F(ExceptionContractDeathTest, HandlerThatThrowsTheDeclaredExceptionSavesTheProcess) {
  bad_strategy().apply_to(journeys);
  EXPECT_EXIT(
      {
        set_unexpected_handler(throw_declared_history);
        std::_Exit(rejection<invalid_history>([&] { read_history(); }) ==
                           "Invalid history: length of milestones=3 (less than 2)\n"
                       ? unharmed
                       : went_wrong);
      },
      testing::ExitedWithCode(unharmed), "");
}

TEST_F(ExceptionContractDeathTest, HandlerThatThrowsAnUndeclaredExceptionDoesNot) {
  bad_strategy().apply_to(journeys);
  for (void (*const handler)() : {throw_foreign, throw_declared_update}) {
    EXPECT_EXIT(
        {
          std::set_terminate(terminate_handler_of_the_host);
          set_unexpected_handler(handler);
          read_history();
        },
        testing::ExitedWithCode(ended_by_the_handler), "terminate handler: ");
  }
}

TEST_F(VehicleContractDeathTest, HandlerThatThrowsTheDeclaredExceptionSavesTheProcess) {
  EXPECT_EXIT(
      {
        set_unexpected_handler(throw_declared_update);
        FailingAllocation failing(0);
        std::_Exit(rejection<invalid_update>([&] {
                     vehicle.update_position(trip, 50, 1000, 0.0);
                   }) == "Invalid update: offset(s) out of range."
                       ? unharmed
                       : went_wrong);
      },
      testing::ExitedWithCode(unharmed), "");
}

#endif

}  // namespace
