#include "serve/api/trip_json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using nlohmann::json;
using testing::at;
using testing::outputs_of;
using testing::sample_snapshot;

TEST(ParseTripKey, ReadsWhatTheOutputsWrite) {
  for (const TripKey& key : {TripKey{TripId("a@b"), testing::monday, Seconds(0)},
                             TripKey{TripId("R#1"), testing::monday, Seconds(36'000)}}) {
    EXPECT_EQ(parse_trip_key(to_string(key)), key);
  }
  for (const char* text :
       {"", "a", "@20250303", "a@2025", "a@20250303#", "a@20250303#x", "a@20251301"}) {
    EXPECT_EQ(parse_trip_key(text), std::nullopt) << text;
  }
}

TEST(TripJson, TheNextStopIsTheFirstToCome) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  TripForecast forecast = outputs->snapshot().trips[1];
  JsonWriter writer;
  write_next_stop(writer, *shown(forecast, outputs->index()), outputs->index());
  const json next = json::parse(writer.take());
  EXPECT_EQ(next["stop_id"], "C");
  EXPECT_EQ(next["arrival"], unix_seconds(at("08:05:00")));
  for (StopForecast& stop : forecast.stops) stop.observed = true;
  write_next_stop(writer, *shown(forecast, outputs->index()), outputs->index());
  EXPECT_EQ(writer.take(), "null");
}

TEST(TripJson, ASummaryHasNoStops) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  JsonWriter writer;
  const auto trip = shown(outputs->snapshot().trips[0], outputs->index());
  write_trip_summary(writer, *trip, outputs->index());
  const json summary = json::parse(writer.take());
  EXPECT_FALSE(summary.contains("stops"));
  EXPECT_EQ(summary["trip"], "later@20250303");
  EXPECT_EQ(summary["position_time"], nullptr);
  EXPECT_EQ(summary["start_time"], nullptr);
  EXPECT_EQ(summary["confidence"], 0.6667);
}

TEST(TripJson, TimesNeverDecrease) {
  Snapshot snapshot = sample_snapshot();
  snapshot.trips[0].stops[3].arrival.time -= Seconds(600);
  const OutputsPtr outputs = outputs_of(snapshot);
  JsonWriter writer;
  write_trip(writer, *shown(outputs->snapshot().trips[0], outputs->index()), outputs->index());
  const json stops = json::parse(writer.take())["stops"];
  EXPECT_EQ(stops[3]["arrival"], stops[2]["departure"]);
}

TEST(TripJson, WhatIsNotInTheTimetableIsNotShown) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  TripForecast ghost = outputs->snapshot().trips[0];
  ghost.trip.trip = TripId("ghost");
  EXPECT_FALSE(shown(ghost, outputs->index()));
}

}  // namespace
}  // namespace qiv
