#include "serve/api/outputs.h"

#include <gtest/gtest.h>

#include "host/serve/api/sample_snapshot.h"
#include "serve/http/error.h"

namespace qiv {
namespace {

using testing::outputs_of;
using testing::sample_snapshot;

TEST(Outputs, FindsTripsAndVehicles) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  const TripForecast* const out = outputs->find_trip({TripId("out"), testing::monday, Seconds(0)});
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(out->vehicle, VehicleId("v1"));
  EXPECT_EQ(outputs->find_trip({TripId("out"), testing::monday + std::chrono::days(1), {}}),
            nullptr);
  EXPECT_EQ(outputs->find_vehicle(VehicleId("v2"))->status, VehicleStatus::no_trip);
  EXPECT_EQ(outputs->find_vehicle(VehicleId("v3")), nullptr);
}

TEST(Outputs, CountsEveryKind) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  EXPECT_EQ(outputs->vehicles_by_status().size(), 11u);
  EXPECT_EQ(outputs->vehicles_by_status().at("under_way"), 1u);
  EXPECT_EQ(outputs->vehicles_by_status().at("stale"), 0u);
  EXPECT_EQ(outputs->trips_by_state().at("not_begun"), 1u);
  EXPECT_EQ(outputs->trips_by_state().size(), 6u);
}

TEST(Outputs, CountsWhatWasAssigned) {
  Snapshot snapshot = sample_snapshot();
  EXPECT_EQ(outputs_of(snapshot)->assigned_vehicles(), 0u);
  EXPECT_EQ(outputs_of(snapshot)->assigned_trips(), 0u);
  snapshot.vehicles[0].confidence = 0.9;
  snapshot.vehicles[1].confidence = 0.8;
  snapshot.vehicles[1].trip = snapshot.trips[1].trip;
  const OutputsPtr outputs = outputs_of(snapshot);
  EXPECT_EQ(outputs->assigned_vehicles(), 2u);
  EXPECT_EQ(outputs->assigned_trips(), 1u) << "one of the two leads";
  EXPECT_EQ(outputs->trip_confidence(snapshot.trips[1]), 0.9);
  EXPECT_EQ(outputs->trip_confidence(snapshot.trips[0]), std::nullopt);
}

TEST(Outputs, WhatHasANameIsMadeOnce) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  int made = 0;
  const auto make = [&made] { return make_blob(std::to_string(++made), "text/plain"); };
  EXPECT_EQ(outputs->cached("a", make)->bytes(), "1");
  EXPECT_EQ(outputs->cached("a", make)->bytes(), "1");
  EXPECT_EQ(outputs->cached("b", make)->bytes(), "2");
}

TEST(Outputs, NamesWithoutEndAreNotKept) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  int made = 0;
  const auto make = [&made] { return make_blob(std::to_string(++made), "text/plain"); };
  for (std::size_t i = 0; i < Outputs::most_kept; ++i) outputs->cached(std::to_string(i), make);
  made = 0;
  outputs->cached("one more", make);
  outputs->cached("one more", make);
  EXPECT_EQ(made, 2);
  outputs->cached("7", make);
  EXPECT_EQ(made, 2) << "the earlier ones stay";
}

TEST(Outputs, WithoutATimetableItIsNotReady) {
  Snapshot snapshot;
  snapshot.not_ready = "the timetable is being fetched";
  const OutputsPtr outputs = outputs_of(snapshot);
  EXPECT_FALSE(outputs->has_network());
  try {
    outputs->index();
    FAIL();
  } catch (const HttpError& error) {
    EXPECT_EQ(error.code(), HttpErrorCode::not_ready);
    EXPECT_STREQ(error.what(), "There is no timetable yet: the timetable is being fetched.");
  }
}

}  // namespace
}  // namespace qiv
