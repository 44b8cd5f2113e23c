#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "Vehicle.h"
#include "support/RecordedLog.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

const double nan_offset = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const long long earliest = std::numeric_limits<long long>::min();
const long long latest = std::numeric_limits<long long>::max();

const VehicleJourneyRef no_trip;
const VehicleJourneyRef trip("T17", "2024-05-01");
const VehicleJourneyRef next_trip("T18", "");

/// The stored updates as pairs of time and offset.
std::vector<std::pair<long long, double>> updates(const Vehicle& vehicle) {
  std::vector<std::pair<long long, double>> result;
  for (unsigned int i = 0; i < vehicle.size(); ++i) {
    result.emplace_back(vehicle.get_time(i), vehicle.get_offset(i));
  }
  return result;
}

class VehicleTest : public ::testing::Test {
 protected:
  void report(double offset, long long time, double max_error) {
    vehicle.update_position(trip, offset, time, max_error);
  }

  /// Expects that the report is rejected and leaves everything as it is.
  void expect_rejected(double offset, long long time, double max_error) {
    const std::vector<std::pair<long long, double>> before = updates(vehicle);
    EXPECT_THROW(report(offset, time, max_error), invalid_update)
        << "offset " << offset << ", time " << time << ", max_error " << max_error;
    EXPECT_EQ(updates(vehicle), before);
  }

  RecordedLog log;
  Vehicle vehicle{"V1"};
};

TEST_F(VehicleTest, IsEmptyAtFirst) {
  EXPECT_EQ(vehicle.size(), 0u);
  EXPECT_EQ(vehicle.get_last_time(), 0);
  EXPECT_EQ(vehicle.get_last_offset(), 0.0);
  EXPECT_FALSE(std::signbit(vehicle.get_last_offset()));
  EXPECT_EQ(vehicle.get_start_time(), 0);
  EXPECT_FALSE(vehicle.is_alive());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(VehicleTest, KeepsTheStartTime) {
  vehicle.set_start_time(earliest);
  EXPECT_EQ(vehicle.get_start_time(), earliest);
  vehicle.set_start_time(950);
  EXPECT_EQ(vehicle.get_start_time(), 950);
}

TEST_F(VehicleTest, LastTimeAndOffsetAreThoseOfTheNewestUpdate) {
  report(100.0, 1000, 5.0);
  report(200.0, 1100, 5.0);
  report(150.0, 1050, 5.0);
  EXPECT_EQ(vehicle.get_last_time(), 1100);
  EXPECT_EQ(vehicle.get_last_offset(), 200.0);
}

// The first report.

TEST_F(VehicleTest, FirstReportIsStoredUnchanged) {
  report(123.25, 1000, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1000, 123.25)));
}

TEST_F(VehicleTest, FirstReportIsNotChecked) {
  for (const double offset : {-1.0, infinity, -infinity, 1e300}) {
    Vehicle fresh("V2");
    fresh.update_position(trip, offset, 1000, -1.0);
    EXPECT_THAT(updates(fresh), ElementsAre(Pair(1000, offset)));
  }
}

TEST_F(VehicleTest, FirstReportMayBeNotANumber) {
  report(nan_offset, 1000, nan_offset);
  ASSERT_EQ(vehicle.size(), 1u);
  EXPECT_TRUE(std::isnan(vehicle.get_offset(0)));
  EXPECT_TRUE(std::isnan(vehicle.get_last_offset()));
}

TEST_F(VehicleTest, NothingIsAcceptedBesideAFirstReportThatIsNotANumber) {
  report(nan_offset, 1000, 5.0);
  EXPECT_THROW(report(10.0, 1010, infinity), invalid_update);
  EXPECT_THROW(report(10.0, 1000, infinity), invalid_update);
  EXPECT_THROW(report(10.0, 990, infinity), invalid_update);
  EXPECT_EQ(vehicle.size(), 1u);
  vehicle.update_position(next_trip, 10.0, 1010, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1010, 10.0)));
}

TEST_F(VehicleTest, FirstReportAdoptsTheTripAndLogsIt) {
  report(100.0, 1, 5.0);
  EXPECT_THAT(log.lines(),
              ElementsAre(R"(info Vehicle::update_position KWXBN0032I %s%s ("V1", "T17@T17"))"));
}

TEST_F(VehicleTest, FirstReportWithoutATripLogsNothing) {
  vehicle.update_position(no_trip, 100.0, 1000, 5.0);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(VehicleTest, FirstReportAtTimeZeroOrBeforeAdoptsNoTrip) {
  for (const long long time : {0LL, -1LL, earliest}) {
    Vehicle fresh("V2");
    fresh.update_position(trip, 100.0, time, 5.0);
    EXPECT_THAT(updates(fresh), ElementsAre(Pair(time, 100.0)));
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(VehicleTest, AfterAFirstReportAtTimeZeroTheNextOneBeginsTheTripAnew) {
  report(100.0, 0, 5.0);
  report(50.0, 10, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(10, 50.0)));
  EXPECT_THAT(log.lines(),
              ElementsAre(R"(info Vehicle::update_position KWXBN0032I %s%s ("V1", "T17@T17"))"));
}

TEST_F(VehicleTest, LaterReportsOfTheSameTripLogNothing) {
  report(100.0, 1000, 5.0);
  log.clear();
  report(110.0, 1010, 5.0);
  report(108.0, 1020, 5.0);
  report(105.0, 1005, 5.0);
  EXPECT_THAT(log.lines(), IsEmpty());
}

// A change of trip.

TEST_F(VehicleTest, LaterReportOfAnotherTripIsTheOnlyUpdateOfThatTrip) {
  report(100.0, 1000, 5.0);
  report(200.0, 1100, 5.0);
  log.clear();
  vehicle.update_position(next_trip, 3.0, 1101, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1101, 3.0)));
  EXPECT_THAT(log.lines(),
              ElementsAre(R"(info Vehicle::update_position KWXBN0032I %s%s ("V1", "T18"))"));
}

TEST_F(VehicleTest, ChangeOfTripIsNotCheckedAgainstTheOldTrip) {
  report(100.0, 1000, 5.0);
  EXPECT_NO_THROW(vehicle.update_position(next_trip, nan_offset, 1001, nan_offset));
  ASSERT_EQ(vehicle.size(), 1u);
  EXPECT_TRUE(std::isnan(vehicle.get_last_offset()));
}

TEST_F(VehicleTest, DataFrameAloneMakesAnotherTrip) {
  report(100.0, 1000, 5.0);
  log.clear();
  vehicle.update_position(VehicleJourneyRef("T17", "2024-05-02"), 3.0, 1001, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1001, 3.0)));
  EXPECT_THAT(log.lines(),
              ElementsAre(R"(info Vehicle::update_position KWXBN0032I %s%s ("V1", "T17@T17"))"));
}

TEST_F(VehicleTest, ChangeToNoTripIsAChange) {
  report(100.0, 1000, 5.0);
  log.clear();
  vehicle.update_position(no_trip, 3.0, 1001, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1001, 3.0)));
  EXPECT_THAT(log.lines(),
              ElementsAre(R"(info Vehicle::update_position KWXBN0032I %s%s ("V1", ""))"));
}

TEST_F(VehicleTest, StartTimeSurvivesAChangeOfTrip) {
  report(100.0, 1000, 5.0);
  vehicle.set_start_time(950);
  vehicle.update_position(next_trip, 3.0, 1001, 5.0);
  EXPECT_EQ(vehicle.get_start_time(), 950);
}

TEST_F(VehicleTest, ReportOfAnotherTripThatIsNotLaterCountsForThePresentOne) {
  report(100.0, 1000, 5.0);
  report(200.0, 1100, 5.0);
  log.clear();
  vehicle.update_position(next_trip, 150.0, 1050, 5.0);
  vehicle.update_position(next_trip, 210.0, 1100, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1000, 100.0), Pair(1050, 150.0), Pair(1100, 200.0),
                                            Pair(1100, 210.0)));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(VehicleTest, ReportOfAnotherTripThatIsNotLaterDoesNotChangeTheTrip) {
  report(100.0, 1000, 5.0);
  vehicle.update_position(next_trip, 100.0, 1000, 5.0);
  log.clear();
  report(110.0, 1010, 5.0);
  EXPECT_EQ(vehicle.size(), 3u);
  vehicle.update_position(next_trip, 1.0, 1011, 5.0);
  EXPECT_EQ(vehicle.size(), 1u);
}

TEST_F(VehicleTest, RejectionNamesTheStoredTripAndNotTheReported) {
  report(100.0, 1000, 5.0);
  log.clear();
  EXPECT_THROW(vehicle.update_position(next_trip, 50.0, 1000, 5.0), invalid_update);
  ASSERT_EQ(log.size(), 2u);
  EXPECT_EQ(log.lines()[0],
            R"(error Vehicle::update_position KWXBN0021E %e%s%s (50, "V1", "T17@T17"))");
}

// A report newer than all others.

TEST_F(VehicleTest, NewerReportIsAppended) {
  report(100.0, 1000, 5.0);
  report(130.5, 1010, 5.0);
  report(130.5, 1020, 0.0);
  EXPECT_THAT(updates(vehicle),
              ElementsAre(Pair(1000, 100.0), Pair(1010, 130.5), Pair(1020, 130.5)));
}

TEST_F(VehicleTest, NewerReportWithinTheToleranceIsPulledUp) {
  report(100.0, 1000, 5.0);
  report(97.0, 1010, 5.0);
  report(95.0, 1020, 5.0);
  EXPECT_THAT(updates(vehicle),
              ElementsAre(Pair(1000, 100.0), Pair(1010, 100.0), Pair(1020, 100.0)));
}

TEST_F(VehicleTest, NewerReportBeyondTheToleranceIsRejected) {
  report(100.0, 1000, 5.0);
  expect_rejected(94.999, 1010, 5.0);
  expect_rejected(99.999, 1010, 0.0);
  expect_rejected(-infinity, 1010, 5.0);
}

TEST_F(VehicleTest, NegativeToleranceAsksForMore) {
  report(100.0, 1000, 5.0);
  expect_rejected(104.0, 1010, -5.0);
  report(105.0, 1010, -5.0);
  EXPECT_EQ(vehicle.get_last_offset(), 105.0);
}

TEST_F(VehicleTest, NewerReportIsComparedAsOffsetPlusToleranceRounded) {
  report(0.30000000000000004, 1000, 5.0);
  report(0.1, 1010, 0.2);
  EXPECT_EQ(vehicle.size(), 2u);
}

TEST_F(VehicleTest, InfiniteToleranceAcceptsEveryOffsetButMinusInfinity) {
  report(100.0, 1000, 5.0);
  expect_rejected(-infinity, 1010, infinity);
  report(-1e300, 1010, infinity);
  report(infinity, 1020, 5.0);
  report(0.0, 1030, infinity);
  expect_rejected(0.0, 1040, 1e308);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1000, 100.0), Pair(1010, 100.0),
                                            Pair(1020, infinity), Pair(1030, infinity)));
}

TEST_F(VehicleTest, ZeroesOfEitherSignAreEqualAndKept) {
  report(0.0, 1000, 5.0);
  report(-0.0, 1010, 0.0);
  EXPECT_TRUE(std::signbit(vehicle.get_last_offset()));
}

// A report that is not newer.

TEST_F(VehicleTest, ReportOlderThanAllGoesToTheFront) {
  report(100.0, 1000, 5.0);
  report(90.0, 990, 5.0);
  report(-infinity, earliest, 5.0);
  EXPECT_THAT(updates(vehicle),
              ElementsAre(Pair(earliest, -infinity), Pair(990, 90.0), Pair(1000, 100.0)));
}

TEST_F(VehicleTest, ReportOlderThanAllIsPulledDownToTheFirstUpdate) {
  report(100.0, 1000, 5.0);
  report(105.0, 990, 5.0);
  report(104.0, 980, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(980, 100.0), Pair(990, 100.0), Pair(1000, 100.0)));
}

TEST_F(VehicleTest, ReportOlderThanAllBeyondTheToleranceIsRejected) {
  report(100.0, 1000, 5.0);
  expect_rejected(105.001, 990, 5.0);
  expect_rejected(infinity, 990, infinity);
  expect_rejected(nan_offset, 990, 5.0);
  expect_rejected(50.0, 990, nan_offset);
  expect_rejected(96.0, 990, -5.0);
  report(95.0, 990, -5.0);
  EXPECT_EQ(vehicle.size(), 2u);
}

TEST_F(VehicleTest, OlderReportIsComparedAsOffsetMinusToleranceRounded) {
  report(0.7, 1000, 5.0);
  report(0.9, 990, 0.2);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(990, 0.7), Pair(1000, 0.7)));
}

class VehicleBetweenTest : public VehicleTest {
 protected:
  void SetUp() override {
    report(100.0, 1000, 5.0);
    report(200.0, 1100, 5.0);
    log.clear();
  }
};

TEST_F(VehicleBetweenTest, FittingReportIsInserted) {
  report(150.0, 1050, 5.0);
  EXPECT_THAT(updates(vehicle),
              ElementsAre(Pair(1000, 100.0), Pair(1050, 150.0), Pair(1100, 200.0)));
}

TEST_F(VehicleBetweenTest, ReportBehindThePreviousUpdateIsPulledUp) {
  report(95.0, 1050, 5.0);
  EXPECT_THAT(updates(vehicle),
              ElementsAre(Pair(1000, 100.0), Pair(1050, 100.0), Pair(1100, 200.0)));
}

TEST_F(VehicleBetweenTest, ReportAheadOfTheNextUpdateIsPulledDown) {
  report(205.0, 1050, 5.0);
  EXPECT_THAT(updates(vehicle),
              ElementsAre(Pair(1000, 100.0), Pair(1050, 200.0), Pair(1100, 200.0)));
}

TEST_F(VehicleBetweenTest, ReportBeyondTheToleranceOfEitherNeighbourIsRejected) {
  expect_rejected(94.999, 1050, 5.0);
  expect_rejected(205.001, 1050, 5.0);
  expect_rejected(nan_offset, 1050, 5.0);
  expect_rejected(150.0, 1050, nan_offset);
  expect_rejected(infinity, 1050, infinity);
  expect_rejected(-infinity, 1050, infinity);
}

TEST_F(VehicleBetweenTest, NegativeToleranceKeepsItsDistanceFromBothNeighbours) {
  expect_rejected(150.0, 1050, -50.5);
  expect_rejected(140.0, 1050, -50.0);
  expect_rejected(160.0, 1050, -50.0);
  report(150.0, 1050, -50.0);
  EXPECT_EQ(vehicle.get_offset(1), 150.0);
}

TEST_F(VehicleBetweenTest, ReportThatFailsBothNeighboursIsRejectedOnce) {
  expect_rejected(150.0, 1050, -100.0);
  EXPECT_EQ(log.size(), 2u);
}

TEST_F(VehicleBetweenTest, ReportGoesBehindTheUpdatesOfItsOwnTime) {
  report(110.0, 1000, 5.0);
  report(120.0, 1000, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1000, 100.0), Pair(1000, 110.0), Pair(1000, 120.0),
                                            Pair(1100, 200.0)));
  report(118.0, 1000, 5.0);
  EXPECT_EQ(vehicle.get_offset(3), 120.0);
  expect_rejected(114.0, 1000, 5.0);
  expect_rejected(206.0, 1000, 5.0);
}

TEST_F(VehicleBetweenTest, ReportIsClampedToItsOwnNeighbours) {
  report(150.0, 1050, 5.0);
  report(152.0, 1025, 5.0);
  report(148.0, 1075, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1000, 100.0), Pair(1025, 150.0), Pair(1050, 150.0),
                                            Pair(1075, 150.0), Pair(1100, 200.0)));
}

TEST_F(VehicleBetweenTest, ReportAtTheNewestTimeIsAppended) {
  report(210.0, 1100, 5.0);
  report(1e300, 1100, 0.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(1000, 100.0), Pair(1100, 200.0), Pair(1100, 210.0),
                                            Pair(1100, 1e300)));
}

TEST_F(VehicleBetweenTest, ReportAtTheNewestTimeIsPulledUp) {
  report(195.0, 1100, 5.0);
  EXPECT_THAT(updates(vehicle),
              ElementsAre(Pair(1000, 100.0), Pair(1100, 200.0), Pair(1100, 200.0)));
}

TEST_F(VehicleBetweenTest, ReportAtTheNewestTimeBeyondTheToleranceIsRejected) {
  expect_rejected(194.999, 1100, 5.0);
  expect_rejected(nan_offset, 1100, 5.0);
  expect_rejected(250.0, 1100, nan_offset);
  expect_rejected(-infinity, 1100, infinity);
  expect_rejected(204.0, 1100, -5.0);
}

TEST_F(VehicleTest, TimesMaySpanTheWholeRange) {
  report(100.0, latest, 5.0);
  report(10.0, earliest, 5.0);
  report(50.0, -1, 5.0);
  report(110.0, latest, 5.0);
  EXPECT_THAT(updates(vehicle), ElementsAre(Pair(earliest, 10.0), Pair(-1, 50.0),
                                            Pair(latest, 100.0), Pair(latest, 110.0)));
}

// The rejection.

TEST_F(VehicleTest, RejectionIsLoggedTwiceAndThenThrown) {
  report(100.0, 1000, 5.0);
  report(130.5, 1010, 5.0);
  log.clear();
  try {
    report(80.25, 1020, 5.5);
    FAIL() << "the report should have been rejected";
  } catch (invalid_update& error) {
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            R"(error Vehicle::update_position KWXBN0021E %e%s%s (80.25, "V1", "T17@T17"))",
            R"(error Vehicle::update_position "Invalid update for V1:\nGiven time stamp: 1020\n)"
            R"(Given offset: 80.25\nGiven max_error: 5.5\nPrevious updates:\n)"
            R"(Time stamp: 1000  Offset: 100\nTime stamp: 1010  Offset: 130.5\n")"));
    EXPECT_EQ(log.entries()[1].text, error.detail());
    EXPECT_EQ(error.what(), "Invalid update: decreasing offset(s).\n" + log.entries()[1].text);
  }
}

TEST_F(VehicleTest, RejectionInFrontAndBetweenIsLoggedLikeOneBehind) {
  report(100.0, 1000, 5.0);
  report(200.0, 1100, 5.0);
  for (const long long time : {990LL, 1050LL}) {
    log.clear();
    expect_rejected(300.0, time, 5.0);
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            R"(error Vehicle::update_position KWXBN0021E %e%s%s (300, "V1", "T17@T17"))",
            R"(error Vehicle::update_position "Invalid update for V1:\nGiven time stamp: )" +
                std::to_string(time) +
                R"(\nGiven offset: 300\nGiven max_error: 5\nPrevious updates:\n)"
                R"(Time stamp: 1000  Offset: 100\nTime stamp: 1100  Offset: 200\n")"));
  }
}

TEST_F(VehicleTest, RejectionOfNotANumberIsLoggedAsSuch) {
  vehicle.update_position(no_trip, 100.0, 1000, 5.0);
  EXPECT_THROW(vehicle.update_position(no_trip, nan_offset, 1010, 5.0), invalid_update);
  ASSERT_EQ(log.size(), 2u);
  EXPECT_EQ(log.lines()[0], R"(error Vehicle::update_position KWXBN0021E %e%s%s (nan, "V1", ""))");
}

TEST_F(VehicleTest, RejectionChangesNothing) {
  report(100.0, 1000, 5.0);
  vehicle.set_start_time(950);
  ASSERT_TRUE(vehicle.is_alive());
  expect_rejected(50.0, 1010, 5.0);
  EXPECT_EQ(vehicle.get_start_time(), 950);
  EXPECT_FALSE(vehicle.is_alive());
  report(100.0, 1010, 5.0);
  EXPECT_EQ(vehicle.size(), 2u);
}

// Signs of life.

TEST_F(VehicleTest, IsAliveOnceAfterEveryAcceptedReport) {
  report(100.0, 1000, 5.0);
  EXPECT_TRUE(vehicle.is_alive());
  EXPECT_FALSE(vehicle.is_alive());
  EXPECT_FALSE(vehicle.is_alive());
  report(90.0, 990, 5.0);
  report(110.0, 1010, 5.0);
  EXPECT_TRUE(vehicle.is_alive());
  EXPECT_FALSE(vehicle.is_alive());
}

TEST_F(VehicleTest, IsAliveOnANewTripWithAsManyUpdatesAsBefore) {
  report(100.0, 1000, 5.0);
  ASSERT_TRUE(vehicle.is_alive());
  vehicle.update_position(next_trip, 0.0, 1010, 5.0);
  ASSERT_EQ(vehicle.size(), 1u);
  EXPECT_TRUE(vehicle.is_alive());
  EXPECT_FALSE(vehicle.is_alive());
}

}  // namespace
