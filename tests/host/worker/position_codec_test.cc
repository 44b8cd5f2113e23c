#include "worker/position_codec.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <functional>

#include "qiv-stream.pb.h"

namespace qiv {
namespace {

const AgencyId agency("dart");
const Instant noon = from_unix_seconds(1'741'003'200);

VehiclePosition full_position() {
  VehiclePosition position;
  position.received = noon + Seconds(7);
  position.time = noon;
  position.vehicle = VehicleId("v1");
  position.trip = TripId("t1");
  position.route = RouteId("r1");
  position.direction = 1;
  position.start_date = ServiceDate::parse("20250303");
  position.start_time = Seconds(25 * 3600 + 61);
  position.place = LatLon{53.34980001234, -6.26030005678};
  position.bearing_deg = 12.3456789012345;
  position.speed_mps = 8.7654321098765;
  position.stop = StopId("s1");
  position.stop_sequence = 4;
  position.status = StopStatus::in_transit_to;
  return position;
}

void expect_same(const VehiclePosition& a, const VehiclePosition& b) {
  RC_ASSERT(a.received == b.received);
  RC_ASSERT(a.time == b.time);
  RC_ASSERT(a.time_is_received == b.time_is_received);
  RC_ASSERT(a.vehicle == b.vehicle);
  RC_ASSERT(a.trip == b.trip);
  RC_ASSERT(a.route == b.route);
  RC_ASSERT(a.direction == b.direction);
  RC_ASSERT(a.start_date == b.start_date);
  RC_ASSERT(a.start_time == b.start_time);
  RC_ASSERT(a.place == b.place);
  RC_ASSERT(a.bearing_deg == b.bearing_deg);
  RC_ASSERT(a.speed_mps == b.speed_mps);
  RC_ASSERT(a.stop == b.stop);
  RC_ASSERT(a.stop_sequence == b.stop_sequence);
  RC_ASSERT(a.status == b.status);
}

VehiclePosition decoded(const StreamMessage& message) {
  return std::get<VehiclePosition>(std::get<0>(decode_position(message)));
}

std::string reason_for(const StreamMessage& message) {
  const auto result = decode_position(message);
  const auto* const unused = std::get_if<Undecodable>(&result);
  return unused == nullptr ? "" : unused->reason;
}

StreamMessage with(const std::function<void(VehiclePosition&)>& change) {
  VehiclePosition position = full_position();
  change(position);
  return encode_position(agency, position);
}

TEST(PositionCodecTest, NothingIsLost) {
  EXPECT_TRUE(rc::check([] {
    VehiclePosition position = full_position();
    const auto flags = *rc::gen::arbitrary<unsigned>();
    position.time = from_unix_seconds(*rc::gen::inRange<long long>(0, 7'000'000'000));
    position.received = from_unix_seconds(*rc::gen::inRange<long long>(0, 7'000'000'000));
    position.time_is_received = (flags & 1U) != 0;
    position.place = LatLon{*rc::gen::inRange(-89'999'999, 89'999'999) / 1e6 + 1e-9,
                            *rc::gen::inRange(-179'999'999, 179'999'999) / 1e6 - 1e-9};
    if ((flags & 2U) != 0) position.trip = TripId();
    if ((flags & 4U) != 0) position.direction.reset();
    if ((flags & 8U) != 0) position.start_date.reset();
    if ((flags & 16U) != 0) position.start_time.reset();
    if ((flags & 32U) != 0) position.place.reset();
    if ((flags & 64U) != 0) position.bearing_deg.reset();
    if ((flags & 128U) != 0) position.speed_mps.reset();
    if ((flags & 256U) != 0) position.stop_sequence.reset();
    if ((flags & 512U) != 0) position.status.reset();
    if ((flags & 1024U) != 0) position.status = StopStatus::stopped_at;
    if ((flags & 2048U) != 0) position.status = StopStatus::incoming_at;
    if ((flags & 4096U) != 0) position.route = RouteId();
    expect_same(decoded(encode_position(agency, position)), position);
  }));
}

TEST(PositionCodecTest, IsKeyedByAgencyAndVehicleAndTimedByItsReceipt) {
  const StreamMessage message = encode_position(agency, full_position());
  EXPECT_EQ(message.key, "dart/v1");
  EXPECT_EQ(message.time, noon + Seconds(7));
}

TEST(PositionCodecTest, AnyReaderOfTheStandardUnderstandsIt) {
  transit_realtime::VehiclePosition standard;
  ASSERT_TRUE(standard.ParseFromString(*encode_position(agency, full_position()).value));
  EXPECT_EQ(standard.trip().trip_id(), "t1");
  EXPECT_EQ(standard.trip().start_date(), "20250303");
  EXPECT_EQ(standard.trip().start_time(), "25:01:01");
  EXPECT_EQ(standard.vehicle().id(), "v1");
  EXPECT_FLOAT_EQ(standard.position().latitude(), 53.3498F);
  EXPECT_EQ(standard.current_stop_sequence(), 4U);
}

TEST(PositionCodecTest, TheStandardsFieldsAreEnough) {
  transit_realtime::VehiclePosition standard;
  standard.mutable_vehicle()->set_id("v9");
  standard.mutable_position()->set_latitude(53.5F);
  standard.mutable_position()->set_longitude(-6.5F);
  StreamMessage message;
  message.key = "x";
  message.value = standard.SerializeAsString();
  message.time = noon;
  const VehiclePosition position = decoded(message);
  EXPECT_EQ(position.received, noon);
  EXPECT_EQ(position.time, noon);
  EXPECT_TRUE(position.time_is_received);
  EXPECT_EQ(position.place, (LatLon{53.5, -6.5}));
}

TEST(PositionCodecTest, AWatermarkIsATime) {
  const StreamMessage message = encode_watermark({noon});
  EXPECT_EQ(message.time, noon);
  EXPECT_EQ(std::get<Watermark>(std::get<0>(decode_position(message))), Watermark{noon});
}

TEST(PositionCodecTest, WhatCannotBeUsedSaysWhy) {
  EXPECT_EQ(reason_for(make_message("k", "\xff\xff", noon)), "the bytes are no VehiclePosition");
  EXPECT_EQ(reason_for(make_message("k", std::nullopt, noon)), "the message has no value");
  EXPECT_EQ(reason_for(with([](auto& p) { p.vehicle = VehicleId(); })),
            "the position names no vehicle");
  EXPECT_EQ(reason_for(with([](auto& p) { p.time = from_unix_seconds(-5); })),
            "the position's time is not between 1970 and 2200");
  EXPECT_EQ(reason_for(with([](auto& p) { p.received = from_unix_seconds(1LL << 60); })),
            "the position's time is not between 1970 and 2200");
  EXPECT_EQ(reason_for(with([](auto& p) {
              p.place = LatLon{91, 0};
            })),
            "the place is not on the globe");
  EXPECT_EQ(reason_for(with([](auto& p) {
              p.place = LatLon{std::nan(""), 0};
            })),
            "the place is not on the globe");
  StreamMessage strange = encode_position(agency, full_position());
  strange.headers[header::kind] = "greeting";
  EXPECT_EQ(reason_for(strange), "'greeting' is no kind of position");
  StreamMessage later = encode_position(agency, full_position());
  later.headers[header::format] = "9";
  EXPECT_NE(reason_for(later), "");
  StreamMessage bad_mark = encode_watermark({noon});
  bad_mark.value = "soon";
  EXPECT_EQ(reason_for(bad_mark), "the watermark is no time between 1970 and 2200");
}

}  // namespace
}  // namespace qiv
