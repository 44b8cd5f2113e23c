#include <gmock/gmock.h>

#include "gtfs-realtime.pb.h"
#include "host/serve/api/api_fixture.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class FeedRoutes : public testing::ApiTest {
 protected:
  FeedRoutes() { start(); }
};

TEST_F(FeedRoutes, TripUpdatesInEveryFormat) {
  const auto answer = get("/gtfs-rt/trip-updates");
  EXPECT_EQ(answer.headers.at("content-type"), "application/x-protobuf");
  EXPECT_EQ(answer.headers.at("last-modified"), "Mon, 03 Mar 2025 08:03:00 GMT");
  transit_realtime::FeedMessage message;
  ASSERT_TRUE(message.ParseFromString(answer.body));
  EXPECT_EQ(message.entity_size(), 2);
  const auto as_json = json("/gtfs-rt/trip-updates?format=json");
  EXPECT_EQ(as_json["header"]["gtfsRealtimeVersion"], "2.0");
  EXPECT_EQ(as_json["entity"].size(), 2u);
  EXPECT_THAT(get("/gtfs-rt/trip-updates?format=text").body,
              HasSubstr("gtfs_realtime_version: \"2.0\""));
  EXPECT_EQ(error("/gtfs-rt/trip-updates?format=xml"), "400 bad_parameter");
}

TEST_F(FeedRoutes, VehiclePositionsInEveryFormat) {
  transit_realtime::FeedMessage message;
  ASSERT_TRUE(message.ParseFromString(get("/gtfs-rt/vehicle-positions").body));
  ASSERT_EQ(message.entity_size(), 1) << "v2 has no place";
  EXPECT_EQ(message.entity(0).vehicle().trip().trip_id(), "out");
  EXPECT_EQ(message.entity(0).vehicle().stop_id(), "C");
  EXPECT_EQ(json("/gtfs-rt/vehicle-positions?format=json")["entity"][0]["id"], "v1");
  EXPECT_THAT(get("/gtfs-rt/vehicle-positions?format=text").body, HasSubstr("trip_id: \"out\""));
}

TEST_F(FeedRoutes, Siri) {
  const auto timetable = get("/siri/et");
  EXPECT_EQ(timetable.headers.at("content-type"), "application/xml; charset=utf-8");
  EXPECT_THAT(timetable.body, HasSubstr("<HigherTimeLimit>2025-03-03T08:07:00Z"));
  const auto stop = get("/siri/sm?stop=C");
  EXPECT_THAT(stop.body, HasSubstr("<MonitoringRef>C</MonitoringRef>"));
  EXPECT_THAT(stop.body, HasSubstr("<VehicleRef>v1</VehicleRef>"));
  EXPECT_THAT(get("/siri/sm?stop=A").body, Not(HasSubstr("<VehicleRef>v1</VehicleRef>")));
  EXPECT_EQ(error("/siri/sm"), "400 bad_parameter");
  EXPECT_EQ(error("/siri/sm?stop=X"), "404 not_found");
}

TEST_F(FeedRoutes, SiriSaysThatATripWasFoundByTheVehiclesCourse) {
  const std::string level = "<ConfidenceLevel>probablyReliable</ConfidenceLevel>";
  EXPECT_THAT(get("/siri/et").body, Not(HasSubstr(level)));
  Snapshot snapshot = testing::sample_snapshot();
  snapshot.serial = 2;
  snapshot.vehicles[0].confidence = 0.9;
  show(snapshot);
  EXPECT_THAT(get("/siri/et").body, HasSubstr(level));
  EXPECT_THAT(get("/siri/sm?stop=C").body, HasSubstr(level));
}

TEST_F(FeedRoutes, NothingWithoutATimetable) {
  Snapshot snapshot;
  snapshot.serial = 2;
  snapshot.not_ready = "the timetable is being fetched";
  show(snapshot);
  for (const char* path : {"/gtfs-rt/trip-updates", "/gtfs-rt/vehicle-positions?format=json",
                           "/siri/et", "/siri/sm?stop=C", "/events?vehicles=all"}) {
    EXPECT_EQ(error(path), "503 not_ready") << path;
  }
}

}  // namespace
}  // namespace qiv
