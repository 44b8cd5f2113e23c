#include "serve/agency/resolve_changes.h"

#include <gmock/gmock.h>

#include "host/serve/agency/agency_test_reports.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::monday;
using testing::no_service;
using testing::report_of;
using testing::update_of;
using testing::update_skipping;

TripKey key_of(const std::string& trip, ServiceDate day = monday) {
  return {TripId(trip), day, Seconds(0)};
}

class ResolveChangesTest : public ::testing::Test {
 protected:
  ResolveChangesTest() {
    Timetable timetable = testing::straight_timetable();
    for (Trip& trip : timetable.trips) trip.route = 0;
    network = build_network(timetable);
  }

  template <class Statements>
  void resolve(Statements statements, const std::string& now = "07:30:00") {
    resolve_changes(report_of(std::move(statements), at(now)), network, at(now), changes);
  }
  std::vector<std::string> canceled() const {
    std::vector<std::string> trips;
    for (const auto& [trip, change] : changes.trips) {
      if (change.canceled) trips.push_back(to_string(trip));
    }
    return trips;
  }

  Network network = testing::straight_network();
  ServiceChanges changes;
};

TEST_F(ResolveChangesTest, TripUpdatesCancelAndSkip) {
  TripUpdate without_data = update_skipping("later", 3);
  without_data.calls.emplace_back();
  without_data.calls.back().stop_sequence = 4;
  without_data.calls.back().status = CallStatus::no_data;
  resolve(std::vector{update_of("out", TripStatus::canceled), without_data});
  ASSERT_NE(changes.find(key_of("out")), nullptr);
  EXPECT_TRUE(changes.find(key_of("out"))->canceled);
  EXPECT_EQ(changes.find(key_of("out"))->said_by, "updates");
  EXPECT_EQ(changes.find(key_of("out"))->why, "trip update");
  ASSERT_NE(changes.find(key_of("later")), nullptr);
  EXPECT_FALSE(changes.find(key_of("later"))->canceled);
  EXPECT_THAT(changes.find(key_of("later"))->skipped, ElementsAre(2));
  EXPECT_EQ(changes.without_data, 1U);
  EXPECT_TRUE(changes.not_used.empty());
}

TEST_F(ResolveChangesTest, AddedTripsAreListedOnce) {
  TripUpdate extra = update_of("extra", TripStatus::added);
  extra.vehicle = VehicleId("v9");
  extra.calls.resize(3);
  resolve(std::vector{extra, update_of("a first one", TripStatus::added), extra});
  ASSERT_EQ(changes.added.size(), 2U);
  EXPECT_EQ(changes.added[0].trip, TripId("a first one"));
  EXPECT_EQ(changes.added[1].trip, TripId("extra"));
  EXPECT_EQ(changes.added[1].vehicle, VehicleId("v9"));
  EXPECT_EQ(changes.added[1].calls, 3U);
  EXPECT_TRUE(changes.trips.empty());
}

TEST_F(ResolveChangesTest, CountsWhatNothingFollowsFrom) {
  resolve(std::vector{update_of("out", TripStatus::added), update_of("?", TripStatus::canceled)});
  EXPECT_TRUE(changes.added.empty());
  EXPECT_EQ(changes.not_used.count("trip of the timetable replaced or doubled"), 1U);
  EXPECT_EQ(changes.not_used.count("trip is not in the timetable"), 1U);
}

TEST_F(ResolveChangesTest, AnAlertForATripCancelsItOnTheDayThatIsNearest) {
  InformedEntity trip;
  trip.trip = TripId("out");
  resolve(std::vector{no_service(trip)});
  EXPECT_THAT(canceled(), ElementsAre("out@20250303"));
  EXPECT_EQ(changes.find(key_of("out"))->why, "alert 1");
  EXPECT_EQ(changes.alerts.size(), 1U);
}

TEST_F(ResolveChangesTest, AnAlertForARouteCancelsTheTripsThatDepartInItsPeriod) {
  InformedEntity route;
  route.route = RouteId("r");
  ServiceAlert alert = no_service(route);
  alert.header = "Strike";
  alert.periods = {{at("08:30:00"), at("09:30:00")}};
  resolve(std::vector{alert});
  EXPECT_THAT(canceled(), ElementsAre("later@20250303"));
  EXPECT_EQ(changes.find(key_of("later"))->why, "Strike");
  EXPECT_THAT(changes.alerts, IsEmpty()) << "it is not active yet";
}

TEST_F(ResolveChangesTest, AnAlertForADirectionOrAKindOfRouteIsMeantSo) {
  InformedEntity tram;
  tram.route_type = 0;
  InformedEntity back;
  back.route = RouteId("r");
  back.direction = 1;
  ServiceAlert alert = no_service(tram);
  alert.informed.push_back(back);
  resolve(std::vector{alert});
  EXPECT_THAT(canceled(), IsEmpty());
  InformedEntity bus;
  bus.route_type = 3;
  resolve(std::vector{no_service(bus)});
  EXPECT_THAT(canceled(), ElementsAre("later@20250303", "loop1@20250303", "out@20250303"))
      << "of the next day only what departs within a day";
}

TEST_F(ResolveChangesTest, AnAlertForAStopSkipsTheCallsOfItsPeriod) {
  InformedEntity stop;
  stop.stop = StopId("B");
  ServiceAlert alert = no_service(stop);
  alert.periods = {{Instant::min(), at("10:04:00")}};
  resolve(std::vector{alert});
  EXPECT_THAT(canceled(), IsEmpty());
  EXPECT_THAT(changes.find(key_of("out"))->skipped, ElementsAre(1));
  EXPECT_THAT(changes.find(key_of("loop1"))->skipped, ElementsAre(1)) << "10:02, not 10:06";
}

TEST_F(ResolveChangesTest, OtherAlertsAreListedOnly) {
  InformedEntity route;
  route.route = RouteId("r");
  ServiceAlert detour = no_service(route);
  detour.effect = AlertEffect::detour;
  ServiceAlert over = no_service(route);
  over.periods = {{at("05:00:00"), at("06:00:00")}};
  resolve(std::vector{detour, over});
  EXPECT_THAT(canceled(), IsEmpty());
  ASSERT_EQ(changes.alerts.size(), 1U);
  EXPECT_EQ(changes.alerts[0].effect, AlertEffect::detour);
}

TEST_F(ResolveChangesTest, CountsAlertsAboutWhatTheTimetableDoesNotHave) {
  InformedEntity agency;
  agency.agency = AgencyId("a");
  ServiceAlert alert = no_service(agency);
  alert.informed.emplace_back().route = RouteId("?");
  alert.informed.emplace_back().stop = StopId("?");
  alert.informed.emplace_back().trip = TripId("?");
  resolve(std::vector{alert});
  EXPECT_EQ(changes.not_used.count("alert for a whole agency"), 1U);
  EXPECT_EQ(changes.not_used.count("alert for an unknown route"), 1U);
  EXPECT_EQ(changes.not_used.count("alert for a stop that no trip calls at"), 1U);
  EXPECT_EQ(changes.not_used.count("trip is not in the timetable"), 1U);
}

}  // namespace
}  // namespace qiv
