#include "worker/vehicle_codec.h"

#include <gtest/gtest.h>

#include <functional>

#include "host/support/straight_line.h"
#include "qiv-stream.pb.h"
#include "worker/forecast_codec.h"

namespace qiv {
namespace {

using testing::at;

VehicleState sample() {
  return {AgencyId("a/b"),
          {VehicleId("v%"), VehicleStatus::detoured, at("08:01:00"), at("08:02:00"),
           TripKey{TripId("out"), testing::monday, Seconds(60)}, 0.75},
          at("08:02:01")};
}

std::string reason(const std::function<void(StreamMessage&)>& change) {
  StreamMessage message = encode_vehicle(sample());
  change(message);
  const auto result = decode_vehicle(message);
  const auto* const unused = std::get_if<Undecodable>(&result);
  return unused == nullptr ? "" : unused->reason;
}

std::string reason_of(const std::function<void(stream::VehicleState&)>& change) {
  return reason([&](StreamMessage& message) {
    stream::VehicleState wire;
    wire.ParseFromString(*message.value);
    change(wire);
    message.value = wire.SerializeAsString();
  });
}

TEST(VehicleCodecTest, NothingIsLost) {
  const StreamMessage message = encode_vehicle(sample());
  EXPECT_TRUE(is_of_vehicle(message));
  const auto back = std::get<VehicleState>(decode_vehicle(message));
  EXPECT_EQ(back.agency, sample().agency);
  EXPECT_EQ(back.when, sample().when);
  EXPECT_EQ(back.said.vehicle, sample().said.vehicle);
  EXPECT_EQ(back.said.status, sample().said.status);
  EXPECT_EQ(back.said.since, sample().said.since);
  EXPECT_EQ(back.said.last_report, sample().said.last_report);
  EXPECT_EQ(back.said.trip, sample().said.trip);
  EXPECT_EQ(back.said.confidence, sample().said.confidence);
}

TEST(VehicleCodecTest, AVehicleWithoutATripHasNone) {
  VehicleState state = sample();
  state.said.trip.reset();
  state.said.confidence.reset();
  const auto back = std::get<VehicleState>(decode_vehicle(encode_vehicle(state)));
  EXPECT_FALSE(back.said.trip);
  EXPECT_FALSE(back.said.confidence);
}

TEST(VehicleCodecTest, AReaderOfForecastsAloneSaysThatItIsNone) {
  const auto result = decode_forecast(encode_vehicle(sample()), testing::straight_network());
  EXPECT_EQ(std::get<Undecodable>(result).reason, "the key is no forecast's");
}

TEST(VehicleCodecTest, WhatCannotBeUsedSaysWhy) {
  EXPECT_EQ(reason([](auto& m) { m.key = "v"; }), "the key is no vehicle's");
  EXPECT_EQ(reason([](auto& m) { m.value = "\xff"; }), "the bytes are no state of a vehicle");
  EXPECT_EQ(reason([](auto& m) { m.value.reset(); }), "the bytes are no state of a vehicle");
  EXPECT_EQ(reason_of([](auto& wire) { wire.set_status(10); }),
            "the vehicle's status is not known here")
      << "whether another vehicle leads is for those to say who see both";
  EXPECT_EQ(reason_of([](auto& wire) { wire.set_status(99); }),
            "the vehicle's status is not known here");
  for (const auto& change : std::vector<std::function<void(stream::VehicleState&)>>{
           [](auto& wire) { wire.set_since(-1); },
           [](auto& wire) { wire.set_last_report(1LL << 50); },
           [](auto& wire) { wire.set_day(-3); }}) {
    EXPECT_EQ(reason_of(change), "one of the vehicle's times is not between 1970 and 2200");
  }
}

}  // namespace
}  // namespace qiv
