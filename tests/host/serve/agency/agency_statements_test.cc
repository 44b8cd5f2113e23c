#include "serve/agency/agency_statements.h"

#include <gmock/gmock.h>

#include "host/serve/agency/agency_test_reports.h"
#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::line_forecast;
using testing::line_network;
using testing::monday;
using testing::report_of;
using testing::update_of;
using testing::update_skipping;

TripKey key_of(const std::string& trip) {
  return {TripId(trip), monday, Seconds(0)};
}

class AgencyStatementsTest : public ::testing::Test {
 protected:
  /// At 08:03 "later" is announced, and "out" is with a vehicle on its way.
  Snapshot shown(const std::string& now = "08:03:00") {
    Snapshot snapshot;
    snapshot.now = at(now);
    snapshot.network = network;
    snapshot.trips = {line_forecast(*network, "later", 0, Seconds(0), snapshot.now),
                      line_forecast(*network, "out", 2, Seconds(60), snapshot.now)};
    snapshot.trips[1].state = TripState::under_way;
    snapshot.trips[1].vehicle = VehicleId("v1");
    VehicleView on_trip;
    on_trip.vehicle = VehicleId("v1");
    on_trip.status = VehicleStatus::under_way;
    on_trip.trip = key_of("out");
    VehicleView stranger;
    stranger.vehicle = VehicleId("v2");
    stranger.status = VehicleStatus::unknown_trip;
    stranger.reported_trip = TripId("extra");
    snapshot.vehicles = {on_trip, stranger};
    return snapshot;
  }
  Snapshot applied(const std::string& now = "08:03:00") {
    Snapshot snapshot = shown(now);
    statements.apply(snapshot);
    return snapshot;
  }

  std::shared_ptr<const Network> network = line_network();
  AgencyStatements statements;
};

TEST_F(AgencyStatementsTest, ChangesNothingWhileNothingIsSaid) {
  const Snapshot snapshot = applied();
  EXPECT_EQ(snapshot.changes, nullptr);
  EXPECT_EQ(snapshot.trips.size(), 2U);
}

TEST_F(AgencyStatementsTest, ACanceledTripIsShownAsSuchAndNotForecast) {
  statements.take(report_of(std::vector{update_of("later", TripStatus::canceled),
                                        update_of("loop1", TripStatus::canceled)},
                            at("08:02:50")));
  const Snapshot snapshot = applied();
  ASSERT_EQ(snapshot.trips.size(), 3U);
  const TripForecast& later = snapshot.trips[0];
  EXPECT_EQ(later.trip, key_of("later"));
  EXPECT_EQ(later.state, TripState::canceled);
  EXPECT_EQ(later.confidence, 0.0) << "no forecast";
  EXPECT_EQ(later.stops[1].arrival.time, at("09:02:00")) << "the timetable's";
  EXPECT_EQ(snapshot.trips[1].trip, key_of("loop1")) << "not announced yet, but canceled";
  EXPECT_EQ(snapshot.trips[2].state, TripState::under_way);
  EXPECT_TRUE(snapshot.changes->find(key_of("later"))->canceled);
}

TEST_F(AgencyStatementsTest, ACanceledTripIsShownUntilItsTimetableEnds) {
  AgencyReport report =
      report_of(std::vector{update_of("later", TripStatus::canceled)}, at("09:07:50"));
  statements.take(report);
  Snapshot snapshot = shown("09:08:00");
  snapshot.trips.clear();
  statements.apply(snapshot);
  EXPECT_EQ(snapshot.trips.size(), 1U);
  snapshot = shown("09:08:01");
  snapshot.trips.clear();
  statements.apply(snapshot);
  EXPECT_EQ(snapshot.trips.size(), 0U);
}

TEST_F(AgencyStatementsTest, AVehicleUnderWayIsBelievedMore) {
  statements.take(report_of(std::vector{update_of("out", TripStatus::canceled)}, at("08:02:50")));
  Snapshot snapshot = applied();
  ASSERT_EQ(snapshot.trips.size(), 2U);
  EXPECT_EQ(snapshot.trips[1].state, TripState::under_way);
  EXPECT_TRUE(snapshot.changes->find(key_of("out"))->contradicted);
  EXPECT_EQ(snapshot.vehicles[0].reason, "under way on a trip that the agency calls canceled");
  snapshot = shown();
  snapshot.trips.pop_back();
  statements.apply(snapshot);
  EXPECT_EQ(snapshot.trips.size(), 1U) << "it has run: it is not canceled afterwards";
}

TEST_F(AgencyStatementsTest, AVehicleThatWaitsForACanceledTripIsExplained) {
  statements.take(report_of(std::vector{update_of("out", TripStatus::canceled)}, at("08:02:50")));
  Snapshot snapshot = shown();
  snapshot.trips[1].state = TripState::waiting;
  statements.apply(snapshot);
  EXPECT_EQ(snapshot.trips[1].state, TripState::canceled);
  EXPECT_EQ(snapshot.vehicles[0].reason, "trip canceled by the agency");
}

TEST_F(AgencyStatementsTest, SkippedStopsAreMarked) {
  statements.take(report_of(std::vector{update_skipping("out", 4)}, at("08:02:50")));
  const Snapshot snapshot = applied();
  ASSERT_EQ(snapshot.trips.size(), 2U);
  std::vector<bool> skipped;
  for (const StopForecast& stop : snapshot.trips[1].stops) skipped.push_back(stop.skipped);
  EXPECT_THAT(skipped, ElementsAre(false, false, false, true, false));
}

TEST_F(AgencyStatementsTest, AVehicleOnAnAddedTripIsExplained) {
  statements.take(report_of(std::vector{update_of("extra", TripStatus::added)}, at("08:02:50")));
  EXPECT_EQ(applied().vehicles[1].reason, "trip added by the agency");
}

TEST_F(AgencyStatementsTest, AStatementHoldsUntilTheFeedHasItNoMore) {
  statements.take(report_of(std::vector{update_of("later", TripStatus::canceled)}, at("08:02:50")));
  EXPECT_EQ(applied().trips[0].state, TripState::canceled);
  statements.take(report_of(std::vector{update_of("loop1", TripStatus::canceled)}, at("08:02:55"),
                            "another source"));
  EXPECT_EQ(applied().trips[0].state, TripState::canceled);
  statements.take(report_of(std::vector<TripUpdate>(), at("08:03:00")));
  EXPECT_EQ(applied().trips[0].state, TripState::not_begun);
}

TEST_F(AgencyStatementsTest, AStatementHoldsUntilItsFeedIsStale) {
  AgencyReport report =
      report_of(std::vector{update_of("later", TripStatus::canceled)}, at("08:03:00"));
  report.hold = Seconds(120);
  statements.take(report);
  EXPECT_EQ(applied("08:05:00").trips[0].state, TripState::canceled);
  EXPECT_EQ(applied("08:05:31").trips[0].state, TripState::not_begun);
  report.received = at("08:06:00");
  statements.take(report);
  EXPECT_EQ(applied("08:06:30").trips[0].state, TripState::not_begun) << "its header is as old";
}

TEST_F(AgencyStatementsTest, AlertsHoldAsLongAsTheirFeedAnswers) {
  InformedEntity trip;
  trip.trip = TripId("later");
  AgencyReport report = report_of(std::vector{testing::no_service(trip)}, at("06:00:00"));
  report.received = at("08:03:00");
  statements.take(report);
  EXPECT_EQ(applied("08:05:00").trips[0].state, TripState::canceled);
}

}  // namespace
}  // namespace qiv
