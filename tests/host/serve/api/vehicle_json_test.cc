#include "serve/api/vehicle_json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using nlohmann::json;
using testing::outputs_of;
using testing::sample_snapshot;

TEST(VehicleJson, FollowsTheTrip) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  JsonWriter writer;
  write_vehicle(writer, *outputs, outputs->snapshot().vehicles[0]);
  const json vehicle = json::parse(writer.take());
  EXPECT_EQ(vehicle["trip"], "out@20250303");
  EXPECT_EQ(vehicle["headsign"], "Seaside");
  EXPECT_EQ(vehicle["direction_id"], 0);
  EXPECT_EQ(vehicle["speed_mps"], 8.5);
  EXPECT_EQ(vehicle["offset_m"], 1250);
  EXPECT_EQ(vehicle["next_stop"]["stop_name"], "Church Street");
}

TEST(VehicleJson, AVehicleMayBeThereBeforeTheTimetable) {
  Snapshot snapshot = sample_snapshot();
  snapshot.network = nullptr;
  const OutputsPtr outputs = outputs_of(snapshot);
  JsonWriter writer;
  write_vehicle(writer, *outputs, outputs->snapshot().vehicles[0]);
  const json vehicle = json::parse(writer.take());
  EXPECT_EQ(vehicle["route_id"], "r");
  EXPECT_EQ(vehicle["line"], nullptr);
  EXPECT_EQ(vehicle["next_stop"], nullptr);
}

TEST(VehicleJson, SaysHowSureAnAssignedTripIs) {
  Snapshot snapshot = sample_snapshot();
  snapshot.vehicles[0].confidence = 0.8749;
  const OutputsPtr outputs = outputs_of(snapshot);
  const auto confidence = [&](const VehicleView& vehicle) {
    JsonWriter writer;
    write_vehicle(writer, *outputs, vehicle);
    return json::parse(writer.take())["trip_confidence"];
  };
  EXPECT_EQ(confidence(outputs->snapshot().vehicles[0]), 0.87);
  EXPECT_EQ(confidence(sample_snapshot().vehicles[0]), nullptr) << "its feed names the trip";
}

TEST(VehicleJson, AMoveIsShort) {
  JsonWriter writer;
  write_vehicle_move(writer, sample_snapshot().vehicles[1]);
  EXPECT_EQ(writer.take(),
            R"({"id":"v2","s":"no_trip","t":1740988970,"lat":null,"lon":null,"b":null,)"
            R"("r":null,"late":null})");
}

TEST(VehicleJson, SeesWhatHasMoved) {
  const VehicleView before = sample_snapshot().vehicles[0];
  EXPECT_FALSE(has_moved(before, before));
  VehicleView now = before;
  now.place->lat_deg += 0.1;
  EXPECT_TRUE(has_moved(before, now));
  now = before;
  now.status = VehicleStatus::stale;
  EXPECT_TRUE(has_moved(before, now));
  now = before;
  now.lateness.reset();
  EXPECT_TRUE(has_moved(before, now));
  now = before;
  now.last_received += Seconds(9);
  EXPECT_FALSE(has_moved(before, now)) << "the same report again";
}

TEST(PublishedVehicles, AreThoseWithAPlace) {
  const auto vehicles = published_vehicles(sample_snapshot());
  ASSERT_EQ(vehicles.size(), 1u);
  EXPECT_EQ(vehicles[0].vehicle, VehicleId("v1"));
  EXPECT_EQ(vehicles[0].offset_m, 1250.0);
  EXPECT_EQ(vehicles[0].time, testing::at("08:02:50"));
}

}  // namespace
}  // namespace qiv
