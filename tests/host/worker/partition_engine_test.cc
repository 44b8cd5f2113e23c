#include "worker/partition_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::fix;

class PartitionEngineTest : public ::testing::Test {
 protected:
  PartitionEngine make() {
    return {network, settings, [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); }};
  }

  /// In short: "forecast v", "left v", "finished v". Not what is made of the vehicles.
  static std::vector<std::string> told(const std::vector<PartitionOutput>& output) {
    std::vector<std::string> texts;
    for (const PartitionOutput& one : output) {
      if (const auto* const forecast = std::get_if<VehicleForecast>(&one)) {
        texts.push_back("forecast " + forecast->forecast.vehicle.text());
      } else if (const auto* const left = std::get_if<LeftTrip>(&one)) {
        texts.push_back((left->finished ? "arrived " : "left ") + left->trip.vehicle.text());
      } else if (const auto* const finished = std::get_if<FinishedTrip>(&one)) {
        texts.push_back("finished " + finished->run.vehicle.text());
      }
    }
    return texts;
  }

  void drop_states() {
    std::erase_if(output, [](const PartitionOutput& one) {
      return std::holds_alternative<VehicleState>(one);
    });
  }

  Network network = testing::straight_network();
  LearnedSettings settings;
  std::vector<PartitionOutput> output;
};

TEST_F(PartitionEngineTest, EachAcceptedPlaceIsForecastOnce) {
  PartitionEngine engine = make();
  engine.take(fix("v", "out", "08:00:00", 0), output);
  engine.take(fix("v", "out", "08:01:00", 500), output);
  engine.take(fix("v", "out", "08:02:00", 1000), output);
  // It waits; then it has left the first stop and has come to a place; then it comes to another.
  EXPECT_THAT(told(output), ElementsAre("forecast v", "forecast v", "forecast v", "forecast v"));
  const auto& last = std::get<VehicleForecast>(output.back());
  EXPECT_EQ(last.forecast.made, at("08:02:00"));
  EXPECT_NEAR(last.forecast.offset_m, 1000.0, 0.01);
  EXPECT_EQ(last.assigned, at("08:00:00"));
  EXPECT_FALSE(last.by_course);
}

TEST_F(PartitionEngineTest, TwoVehiclesOnOneTripAreBothForecast) {
  PartitionEngine engine = make();
  engine.take(fix("v", "out", "08:01:00", 500), output);
  engine.take(fix("w", "out", "08:01:00", 600), output);
  output.clear();
  engine.take(fix("v", "out", "08:02:00", 1000), output);
  engine.take(fix("w", "out", "08:02:00", 1100), output);
  EXPECT_THAT(told(output), ElementsAre("forecast v", "forecast w"));
}

TEST_F(PartitionEngineTest, TheEndOfATripIsToldAndGivenToTheHistories) {
  PartitionEngine engine = make();
  for (int i = 0; i <= 16; ++i) {
    output.clear();
    VehiclePosition position = fix("v", "out", "08:00:00", 250.0 * i);
    position.time = position.received = at("08:00:00") + Seconds(30 * i);
    engine.take(position, output);
  }
  drop_states();
  EXPECT_THAT(told(output), ElementsAre("forecast v", "arrived v", "finished v"));
  EXPECT_EQ(std::get<LeftTrip>(output[1]).when, at("08:08:00"));
  EXPECT_EQ(std::get<FinishedTrip>(output[2]).run.progress.size(), 17U);
}

TEST_F(PartitionEngineTest, TimeAloneEndsTheTripOfASilentVehicleAtItsMoment) {
  PartitionEngine engine = make();
  engine.take(fix("v", "out", "08:00:00", 0), output);
  engine.take(fix("v", "out", "08:01:00", 500), output);
  output.clear();
  engine.advance(at("08:20:00"), output);
  EXPECT_THAT(told(output), ElementsAre());
  engine.advance(at("09:00:00"), output);
  drop_states();
  EXPECT_THAT(told(output), ElementsAre("left v", "finished v"));
  EXPECT_GT(std::get<LeftTrip>(output[0]).when, at("08:20:00"));
  EXPECT_LT(std::get<LeftTrip>(output[0]).when, at("08:30:00"));
}

TEST_F(PartitionEngineTest, TimeNeverGoesBack) {
  PartitionEngine engine = make();
  engine.take(fix("v", "out", "08:01:00", 500), output);
  engine.advance(at("08:00:00"), output);
  EXPECT_EQ(engine.now(), at("08:01:00"));
  VehiclePosition late = fix("w", "out", "08:00:30", 500);
  engine.take(late, output);
  EXPECT_EQ(engine.now(), at("08:01:00"));
  EXPECT_EQ(std::get<VehicleForecast>(output.back()).forecast.made, at("08:01:00"));
}

TEST_F(PartitionEngineTest, LearnsWhatItIsGivenOnly) {
  PartitionEngine first = make();
  for (int i = 0; i <= 16; ++i) {
    VehiclePosition position = fix("v", "out", "08:00:00", 250.0 * i);
    position.time = position.received = at("08:00:00") + Seconds(30 * i);
    first.take(position, output);
  }
  const auto finished = std::get<FinishedTrip>(output.back());
  const auto basis_after = [&](PartitionEngine& engine, const char* vehicle = "w") {
    output.clear();
    engine.take(fix(vehicle, "later", "09:01:00", 500), output);
    return std::get<VehicleForecast>(output.back()).forecast.basis;
  };
  EXPECT_EQ(basis_after(first), ForecastBasis::timetable);
  PartitionEngine second = make();
  second.learn_from(finished);
  EXPECT_EQ(basis_after(second), ForecastBasis::timetable) << "its history was asked, not it";
  second.learn_from(finished);
  EXPECT_EQ(basis_after(second, "x"), ForecastBasis::history);
}

TEST_F(PartitionEngineTest, WhatIsMadeOfAVehicleIsToldWhenItChanges) {
  PartitionEngine engine = make();
  const auto states = [&] {
    std::vector<std::string> texts;
    for (const PartitionOutput& one : output) {
      const auto* const state = std::get_if<VehicleState>(&one);
      if (state == nullptr) continue;
      texts.push_back(state->said.vehicle.text() + " " + to_string(state->said.status) + " since " +
                      format_utc(state->said.since).substr(11, 8) +
                      (state->said.trip ? " on " + state->said.trip->trip.text() : ""));
    }
    output.clear();
    return texts;
  };
  engine.take(fix("v", "out", "08:00:00", 0), output);
  EXPECT_THAT(states(), ElementsAre("v waiting since 08:00:00 on out"));
  engine.take(fix("v", "out", "08:01:00", 500), output);
  EXPECT_THAT(states(), ElementsAre("v under way since 08:01:00 on out"));
  engine.take(fix("v", "out", "08:02:00", 1000), output);
  EXPECT_THAT(states(), ElementsAre());
  engine.take(fix("w", "nowhere", "08:02:00", 1000), output);
  EXPECT_THAT(states(), ElementsAre("w unknown trip since 08:02:00"));
  for (const char* const time : {"08:12:00", "08:22:00"}) {
    engine.take(fix("w", "nowhere", time, 1000), output);
    EXPECT_THAT(states(), ElementsAre());
  }
  engine.take(fix("w", "nowhere", "08:32:00", 1000), output);
  EXPECT_THAT(states(), ElementsAre("v stale since 08:22:01"));
  for (const char* const time : {"08:42:00", "08:52:00"}) {
    engine.take(fix("w", "nowhere", time, 1000), output);
    EXPECT_THAT(states(), ElementsAre());
  }
  engine.take(fix("w", "nowhere", "09:02:00", 1000), output);
  EXPECT_THAT(states(), ElementsAre("w unknown trip since 08:02:00")) << "said again each hour";
}

TEST_F(PartitionEngineTest, AForecastComesWithThePlacesThatWereNotToldBefore) {
  PartitionEngine engine = make();
  const auto places = [&](const VehiclePosition& position) {
    output.clear();
    engine.take(position, output);
    const auto& followed = std::get<VehicleForecast>(output.back()).followed;
    std::string text = std::to_string(followed->from) + ":";
    for (const Progress& place : followed->progress) {
      text += " " + std::to_string(std::lround(place.offset_m));
    }
    return text;
  };
  EXPECT_EQ(places(fix("v", "out", "08:00:00", 0)), "0:");
  EXPECT_EQ(places(fix("v", "out", "08:01:00", 500)), "1: 500");
  EXPECT_EQ(places(fix("v", "out", "08:02:00", 1000)), "2: 1000");
  EXPECT_EQ(places(fix("v", "out", "08:02:30", 1000)), "2: 1000") << "it stands: the last again";
  EXPECT_EQ(places(fix("v", "out", "08:03:00", 1500)), "3: 1500");
}

TEST_F(PartitionEngineTest, KnowsTheTripsThatVehiclesAreOn) {
  PartitionEngine engine = make();
  EXPECT_TRUE(engine.under_way().empty());
  engine.take(fix("v", "out", "08:01:00", 500), output);
  const std::map<VehicleId, TripKey> expected = {
      {VehicleId("v"), {TripId("out"), testing::monday, Seconds(0)}}};
  EXPECT_EQ(engine.under_way(), expected);
  engine.advance(at("09:00:00"), output);
  EXPECT_TRUE(engine.under_way().empty());
}

TEST_F(PartitionEngineTest, CountsTheVehiclesThatItRemembers) {
  PartitionEngine engine = make();
  EXPECT_EQ(engine.vehicles(), 0U);
  engine.take(fix("v", "out", "08:01:00", 500), output);
  engine.take(fix("w", "out", "08:01:00", 600), output);
  EXPECT_EQ(engine.vehicles(), 2U);
}

}  // namespace
}  // namespace qiv
