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
  for (StopForecast& stop : forecast.stops.edit()) stop.observed = true;
  write_next_stop(writer, *shown(forecast, outputs->index()), outputs->index());
  EXPECT_EQ(writer.take(), "null");
}

TEST(TripJson, ASummaryHasNoStops) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  JsonWriter writer;
  const auto trip = shown(outputs->snapshot().trips[0], outputs->index());
  write_trip_summary(writer, *trip, *outputs);
  const json summary = json::parse(writer.take());
  EXPECT_FALSE(summary.contains("stops"));
  EXPECT_EQ(summary["trip"], "later@20250303");
  EXPECT_EQ(summary["position_time"], nullptr);
  EXPECT_EQ(summary["start_time"], nullptr);
  EXPECT_EQ(summary["confidence"], 0.6667);
}

TEST(TripJson, TimesNeverDecrease) {
  Snapshot snapshot = sample_snapshot();
  snapshot.trips[0].stops.edit()[3].arrival.time -= Seconds(600);
  const OutputsPtr outputs = outputs_of(snapshot);
  JsonWriter writer;
  write_trip(writer, *shown(outputs->snapshot().trips[0], outputs->index()), *outputs);
  const json stops = json::parse(writer.take())["stops"];
  EXPECT_EQ(stops[3]["arrival"], stops[2]["departure"]);
}

TEST(TripJson, WhatIsNotInTheTimetableIsNotShown) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  TripForecast ghost = outputs->snapshot().trips[0];
  ghost.trip.trip = TripId("ghost");
  EXPECT_FALSE(shown(ghost, outputs->index()));
}

TEST(TripJson, ExpectsNothingOfACallThatIsNotMade) {
  Snapshot snapshot = sample_snapshot();
  snapshot.trips[1].stops.edit()[2].skipped = true;
  const OutputsPtr outputs = outputs_of(snapshot);
  JsonWriter writer;
  write_trip(writer, *shown(outputs->snapshot().trips[1], outputs->index()), *outputs);
  const json trip = json::parse(writer.take());
  EXPECT_EQ(trip["stops"][2]["skipped"], true);
  EXPECT_EQ(trip["stops"][2]["arrival"], nullptr);
  EXPECT_EQ(trip["stops"][2]["library_lower"], nullptr);
  EXPECT_EQ(trip["stops"][2]["scheduled_arrival"], unix_seconds(at("08:04:00")));
  EXPECT_EQ(trip["stops"][3]["skipped"], false);
  EXPECT_EQ(trip["next_stop"]["stop_id"], "D");
}

TEST(TripJson, ACanceledTripIsOnTheBoardWithItsTimetable) {
  Snapshot snapshot = sample_snapshot();
  snapshot.trips[0].state = TripState::canceled;
  const OutputsPtr outputs = outputs_of(snapshot);
  JsonWriter writer;
  writer.begin_object();
  write_arrivals(writer, *outputs, *snapshot.network->find_stop(StopId("A")), {});
  writer.end_object();
  const json arrivals = json::parse(writer.take())["arrivals"];
  ASSERT_EQ(arrivals.size(), 1U);
  EXPECT_EQ(arrivals[0]["trip"], "later@20250303");
  EXPECT_EQ(arrivals[0]["state"], "canceled");
  EXPECT_EQ(arrivals[0]["departure"], nullptr);
  EXPECT_EQ(arrivals[0]["scheduled_departure"], unix_seconds(at("09:00:00")));
  JsonWriter whole;
  write_trip(whole, *shown(outputs->snapshot().trips[0], outputs->index()), *outputs);
  EXPECT_EQ(json::parse(whole.take())["next_stop"], nullptr);
}

TEST(TripJson, SaysHowSureATripIsThatItsVehicleDoesNotName) {
  Snapshot snapshot = sample_snapshot();
  const auto stated = [](const Snapshot& of) {
    const OutputsPtr outputs = outputs_of(of);
    JsonWriter writer;
    write_trip_summary(writer, *shown(outputs->snapshot().trips[1], outputs->index()), *outputs);
    JsonWriter board;
    board.begin_object();
    write_arrivals(board, *outputs, *of.network->find_stop(StopId("C")), {});
    board.end_object();
    const json trip = json::parse(writer.take());
    EXPECT_EQ(json::parse(board.take())["arrivals"][0]["trip_confidence"], trip["trip_confidence"]);
    return trip["trip_confidence"];
  };
  EXPECT_EQ(stated(snapshot), nullptr);
  snapshot.vehicles[0].confidence = 0.875;
  EXPECT_EQ(stated(snapshot), 0.88);
  snapshot.vehicles[0].trip = snapshot.trips[0].trip;
  EXPECT_EQ(stated(snapshot), nullptr) << "it is another trip that was found by the course";
}

}  // namespace
}  // namespace qiv
