#include <gmock/gmock.h>

#include "host/serve/api/api_fixture.h"
#include "host/serve/http/eventually.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::HasSubstr;
using testing::RawConnection;
using testing::sample_snapshot;
using ::testing::StartsWith;

class LiveRoutes : public testing::ApiTest {
 protected:
  LiveRoutes() { start(); }
};

TEST_F(LiveRoutes, TheNextArrivalsHaveBounds) {
  const auto board = json("/api/v1/stops/C/arrivals");
  EXPECT_EQ(board["now"], unix_seconds(at("08:03:00")));
  EXPECT_EQ(board["stop"]["name"], "Church Street");
  ASSERT_EQ(board["arrivals"].size(), 2u);
  const auto& first = board["arrivals"][0];
  EXPECT_EQ(first["trip"], "out@20250303");
  EXPECT_EQ(first["vehicle_id"], "v1");
  EXPECT_EQ(first["headsign"], "Seaside");
  EXPECT_EQ(first["stops_before"], 0);
  EXPECT_EQ(first["arrival"], unix_seconds(at("08:05:00")));
  EXPECT_EQ(first["delay_s"], 60);
  EXPECT_EQ(first["lower_68"], unix_seconds(at("08:04:00")));
  EXPECT_EQ(first["leave_by"], unix_seconds(at("08:03:00")));
  EXPECT_EQ(first["upper_90"], unix_seconds(at("08:07:00")));
  EXPECT_EQ(board["arrivals"][1]["vehicle_id"], nullptr);
  EXPECT_EQ(board["arrivals"][1]["stops_before"], 2);
}

TEST_F(LiveRoutes, ArrivalsAreFiltered) {
  EXPECT_EQ(json("/api/v1/stops/C/arrivals?limit=1")["arrivals"].size(), 1u);
  EXPECT_EQ(json("/api/v1/stops/C/arrivals?within_s=600")["arrivals"].size(), 1u);
  EXPECT_EQ(json("/api/v1/stops/C/arrivals?route_id=r")["arrivals"].size(), 2u);
  EXPECT_EQ(json("/api/v1/stops/C/arrivals?route_id=x")["arrivals"].size(), 0u);
  EXPECT_EQ(error("/api/v1/stops/C/arrivals?limit=0"), "400 bad_parameter");
  EXPECT_EQ(error("/api/v1/stops/X/arrivals"), "404 not_found");
}

TEST_F(LiveRoutes, EveryVehicleIsExplained) {
  const auto vehicles = json("/api/v1/vehicles")["vehicles"];
  ASSERT_EQ(vehicles.size(), 2u);
  EXPECT_EQ(vehicles[0]["status"], "under_way");
  EXPECT_EQ(vehicles[0]["lateness_s"], 60);
  EXPECT_EQ(vehicles[0]["next_stop"]["stop_id"], "C");
  EXPECT_EQ(vehicles[0]["line"], "R");
  EXPECT_EQ(vehicles[1]["status"], "no_trip");
  EXPECT_EQ(vehicles[1]["lat"], nullptr);
  EXPECT_EQ(vehicles[1]["next_stop"], nullptr);
}

TEST_F(LiveRoutes, VehiclesAreFiltered) {
  EXPECT_EQ(json("/api/v1/vehicles?status=no_trip")["vehicles"].size(), 1u);
  EXPECT_EQ(json("/api/v1/vehicles?bbox=-1,-1,1,1")["vehicles"].size(), 1u);
  EXPECT_EQ(json("/api/v1/vehicles?bbox=1,1,2,2")["vehicles"].size(), 0u);
  EXPECT_EQ(json("/api/v1/vehicles?route_id=r")["vehicles"].size(), 1u);
  EXPECT_EQ(error("/api/v1/vehicles?status=lost"), "400 bad_parameter");
  EXPECT_EQ(error("/api/v1/vehicles?bbox=1,2,3"), "400 bad_parameter");
}

TEST_F(LiveRoutes, AVehicleComesWithItsForecast) {
  const auto detail = json("/api/v1/vehicles/v1");
  EXPECT_EQ(detail["vehicle"]["vehicle_id"], "v1");
  EXPECT_EQ(detail["forecast"]["stops"].size(), 5u);
  EXPECT_EQ(json("/api/v1/vehicles/v2")["forecast"], nullptr);
  EXPECT_EQ(error("/api/v1/vehicles/v9"), "404 not_found");
}

TEST_F(LiveRoutes, ATripHasAllItsStops) {
  const auto trip = json("/api/v1/trips/out@20250303")["trip"];
  EXPECT_EQ(trip["state"], "under_way");
  EXPECT_EQ(trip["category_text"], "all trips");
  EXPECT_EQ(trip["stops"][1]["observed"], true);
  EXPECT_EQ(trip["stops"][1]["lower_90"], trip["stops"][1]["upper_90"]);
  EXPECT_EQ(trip["stops"][4]["stop_name"], "École");
  EXPECT_EQ(error("/api/v1/trips/loop1@20250303"), "404 not_found") << "not on display";
  EXPECT_EQ(error("/api/v1/trips/ghost@20250303"), "404 not_found");
  EXPECT_EQ(error("/api/v1/trips/out"), "400 bad_parameter");
}

TEST_F(LiveRoutes, TripsAreFiltered) {
  EXPECT_EQ(json("/api/v1/trips")["total"], 2);
  const auto first = json("/api/v1/trips?limit=1");
  EXPECT_EQ(first["trips"].size(), 1u);
  EXPECT_EQ(first["total"], 2);
  EXPECT_EQ(json("/api/v1/trips?state=not_begun")["trips"][0]["trip_id"], "later");
  EXPECT_EQ(json("/api/v1/trips?route_id=x")["total"], 0);
  EXPECT_EQ(json("/api/v1/trips?pattern=x")["total"], 0);
}

TEST_F(LiveRoutes, WhyTellsTheEarlierTripsOrTheReason) {
  const auto why = json("/api/v1/why/out@20250303");
  EXPECT_EQ(why["reason"], nullptr);
  EXPECT_EQ(why["basis"], "history");
  ASSERT_EQ(why["trips"].size(), 2u);
  EXPECT_EQ(why["trips"][0]["trip"], "out@20250302");
  EXPECT_EQ(why["trips"][0]["weight"], 0.75);
  EXPECT_EQ(json("/api/v1/why/out@20250303?limit=1")["trips"].size(), 1u);
  const auto none = json("/api/v1/why/later@20250303");
  EXPECT_EQ(none["reason"], "The trip has not begun.");
  EXPECT_EQ(none["trips"].size(), 0u);
}

TEST_F(LiveRoutes, EventsTellTheWholeAndThenWhatChanges) {
  RawConnection reader(_server->port());
  reader.send("GET /events?vehicles=all&stop=C&trip=out@20250303 HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(reader.read_response(false).status, 200);
  EXPECT_EQ(reader.read_event(), "retry: 3000\n\n");
  EXPECT_THAT(reader.read_event(), StartsWith("id: 1\nevent: stop\ndata: {\"now\":1740988980,"));
  EXPECT_THAT(reader.read_event(), StartsWith("id: 1\nevent: trip\n"));
  const std::string all = reader.read_event();
  EXPECT_THAT(all, StartsWith("id: 1\nevent: vehicles\n"));
  EXPECT_THAT(all, HasSubstr(R"("full":true)"));
  Snapshot next = sample_snapshot();
  next.serial = 2;
  next.now += Seconds(1);
  next.vehicles[0].last_report += Seconds(1);
  show(std::move(next));
  const std::string moves = reader.read_event();
  EXPECT_THAT(moves, StartsWith("id: 2\nevent: vehicles\n")) << "nothing new of stop and trip";
  EXPECT_THAT(moves, HasSubstr(R"("full":false,"vehicles":[{"id":"v1")"));
  EXPECT_EQ(moves.find("v2"), std::string::npos);
}

TEST_F(LiveRoutes, EventsWantSomethingThatIsThere) {
  EXPECT_EQ(error("/events"), "400 bad_parameter");
  EXPECT_EQ(error("/events?stop=X"), "404 not_found");
  EXPECT_EQ(error("/events?trip=ghost@20250303"), "404 not_found");
  EXPECT_EQ(error("/events?vehicles=some"), "400 bad_parameter");
  std::string many = "/events?vehicle=0";
  for (int i = 1; i <= 50; ++i) many += "&vehicle=" + std::to_string(i);
  EXPECT_EQ(error(many), "400 bad_parameter");
}

}  // namespace
}  // namespace qiv
