#include "worker/finished_codec.h"

#include <gtest/gtest.h>

#include <cmath>

namespace qiv {
namespace {

const Instant noon = from_unix_seconds(1'741'003'200);

FinishedTrip finished_trip() {
  FinishedTrip trip;
  trip.agency = AgencyId("a");
  trip.finished = noon + Seconds(700);
  trip.run = {VehicleId("v"),
              {TripId("t"), *ServiceDate::parse("20250303"), Seconds(60)},
              PatternRef("r/0/A-B/12"),
              {}};
  for (int i = 0; i < 5; ++i) {
    Progress progress;
    progress.vehicle = trip.run.vehicle;
    progress.trip = trip.run.trip;
    progress.time = noon + Seconds(100 * i);
    progress.received = progress.time + Seconds(3);
    progress.offset_m = 333.3 * i;
    progress.error_m = 12.5;
    progress.evidence = i == 0 ? Evidence::departure : Evidence::fix;
    trip.run.progress.push_back(progress);
  }
  return trip;
}

TEST(FinishedCodecTest, ATripComesBackExactly) {
  const FinishedTrip trip = finished_trip();
  const auto decoded = decode_finished(encode_finished(trip));
  const auto& back = std::get<FinishedTrip>(decoded);
  EXPECT_EQ(back.agency, trip.agency);
  EXPECT_EQ(back.finished, trip.finished);
  EXPECT_EQ(back.run.vehicle, trip.run.vehicle);
  EXPECT_EQ(back.run.trip, trip.run.trip);
  EXPECT_EQ(back.run.pattern, trip.run.pattern);
  ASSERT_EQ(back.run.progress.size(), trip.run.progress.size());
  for (std::size_t i = 0; i < trip.run.progress.size(); ++i) {
    EXPECT_EQ(back.run.progress[i].time, trip.run.progress[i].time);
    EXPECT_EQ(back.run.progress[i].received, trip.run.progress[i].received);
    EXPECT_EQ(back.run.progress[i].offset_m, trip.run.progress[i].offset_m);
    EXPECT_EQ(back.run.progress[i].error_m, trip.run.progress[i].error_m);
    EXPECT_EQ(back.run.progress[i].evidence, trip.run.progress[i].evidence);
    EXPECT_EQ(back.run.progress[i].vehicle, trip.run.vehicle);
    EXPECT_EQ(back.run.progress[i].trip, trip.run.trip);
  }
}

TEST(FinishedCodecTest, TheSameTripHasTheSameKeyAndTimeIsItsEnd) {
  const StreamMessage message = encode_finished(finished_trip());
  EXPECT_EQ(message.key, "a/r%2F0%2FA-B%2F12/t/20250303/60/v/1741003203");
  EXPECT_EQ(message.time, noon + Seconds(700));
}

TEST(FinishedCodecTest, WhatCannotBeUsedSaysWhy) {
  const StreamMessage good = encode_finished(finished_trip());
  const auto reason = [](const StreamMessage& message) {
    return std::get<Undecodable>(decode_finished(message)).reason;
  };
  StreamMessage other = good;
  other.key = "a/t";
  EXPECT_EQ(reason(other), "the key is no finished trip's");
  other = good;
  other.value.reset();
  EXPECT_EQ(reason(other), "the bytes are no finished trip");
  other = good;
  other.value->pop_back();
  EXPECT_NE(reason(other), "");
  other = good;
  other.headers[header::format] = "7";
  EXPECT_NE(reason(other), "");
  other = good;
  other.value = std::string();
  EXPECT_EQ(reason(other), "its progress cannot be read");
  FinishedTrip late = finished_trip();
  late.finished = from_unix_seconds(1LL << 50);
  EXPECT_EQ(reason(encode_finished(late)), "its end is not between 1970 and 2200");
  FinishedTrip early = finished_trip();
  early.run.progress.back().received = from_unix_seconds(-1);
  const std::string unusable =
      "its progress has times that are not between 1970 and 2200, or no places";
  EXPECT_EQ(reason(encode_finished(early)), unusable);
  FinishedTrip nowhere = finished_trip();
  nowhere.run.progress.front().offset_m = std::nan("");
  EXPECT_EQ(reason(encode_finished(nowhere)), unusable);
}

}  // namespace
}  // namespace qiv
