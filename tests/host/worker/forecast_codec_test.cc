#include "worker/forecast_codec.h"

#include <gtest/gtest.h>

#include <tuple>

#include "host/support/straight_line.h"
#include "qiv-stream.pb.h"

namespace qiv {
namespace {

using testing::at;

class ForecastCodecTest : public ::testing::Test {
 protected:
  ForecastCodecTest() {
    const auto schedule = network.schedule({TripId("out"), testing::monday, Seconds(0)});
    const JourneyPattern& pattern = network.pattern(schedule->pattern());
    given.agency = AgencyId("a");
    given.assigned = at("07:59:00");
    given.by_course = true;
    TripForecast& forecast = given.forecast;
    forecast.trip = schedule->key;
    forecast.vehicle = VehicleId("v");
    forecast.pattern = pattern.ref;
    forecast.state = TripState::overdue;
    forecast.basis = ForecastBasis::timetable;
    forecast.made = at("08:03:10");
    forecast.position_time = at("08:03:00");
    forecast.offset_m = 1234.5678901234;
    forecast.category = std::numeric_limits<int>::min();
    forecast.trips = 17;
    forecast.confidence = 0.123456789012345;
    std::vector<StopForecast> stops;
    for (std::size_t i = 0; i < pattern.stops.size(); ++i) {
      const Instant time = at("08:00:00") + Seconds(123 * static_cast<int>(i));
      StopForecast stop;
      stop.stop = pattern.stops[i].stop;
      stop.stop_sequence = schedule->plan->call(i).sequence;
      stop.observed = i < 2;
      stop.skipped = i == 3;
      stop.arrival = {time, time - Seconds(11), time + Seconds(12), time - Seconds(23),
                      time + Seconds(24)};
      stop.spread_s = 3.3333333333 * static_cast<double>(i);
      stop.departure = time + Seconds(5);
      stop.library_lower = time - Seconds(7);
      stop.library_upper = time + Seconds(8);
      stops.push_back(stop);
    }
    forecast.stops = stops;
  }

  std::string reason(const StreamMessage& message) const {
    const auto result = decode_forecast(message, network);
    const auto* const unused = std::get_if<Undecodable>(&result);
    return unused == nullptr ? "" : unused->reason;
  }

  StreamMessage with(const std::function<void(stream::Forecast&)>& change) const {
    StreamMessage message = encode_forecast(given, network);
    transit_realtime::TripUpdate update;
    update.ParseFromString(*message.value);
    change(*update.MutableExtension(stream::forecast));
    message.value = update.SerializeAsString();
    return message;
  }

  Network network = testing::straight_network();
  VehicleForecast given;
};

TEST_F(ForecastCodecTest, NothingIsLost) {
  const auto decoded = decode_forecast(encode_forecast(given, network), network);
  const auto& back = std::get<VehicleForecast>(std::get<0>(decoded));
  const TripForecast& a = back.forecast;
  const TripForecast& b = given.forecast;
  EXPECT_EQ(back.agency, given.agency);
  EXPECT_EQ(back.assigned, given.assigned);
  EXPECT_EQ(back.by_course, given.by_course);
  EXPECT_EQ(a.trip, b.trip);
  EXPECT_EQ(a.vehicle, b.vehicle);
  EXPECT_EQ(a.pattern, b.pattern);
  EXPECT_EQ(a.state, b.state);
  EXPECT_EQ(a.basis, b.basis);
  EXPECT_EQ(a.made, b.made);
  EXPECT_EQ(a.position_time, b.position_time);
  EXPECT_EQ(a.offset_m, b.offset_m);
  EXPECT_EQ(a.category, b.category);
  EXPECT_EQ(a.trips, b.trips);
  EXPECT_EQ(a.confidence, b.confidence);
  ASSERT_EQ(a.stops.size(), b.stops.size());
  for (std::size_t i = 0; i < a.stops.size(); ++i) {
    EXPECT_EQ(a.stops[i].stop, b.stops[i].stop);
    EXPECT_EQ(a.stops[i].stop_sequence, b.stops[i].stop_sequence);
    EXPECT_EQ(a.stops[i].observed, b.stops[i].observed);
    EXPECT_EQ(a.stops[i].skipped, b.stops[i].skipped);
    EXPECT_EQ(a.stops[i].arrival.time, b.stops[i].arrival.time);
    EXPECT_EQ(a.stops[i].arrival.lower_68, b.stops[i].arrival.lower_68);
    EXPECT_EQ(a.stops[i].arrival.upper_68, b.stops[i].arrival.upper_68);
    EXPECT_EQ(a.stops[i].arrival.lower_90, b.stops[i].arrival.lower_90);
    EXPECT_EQ(a.stops[i].arrival.upper_90, b.stops[i].arrival.upper_90);
    EXPECT_EQ(a.stops[i].spread_s, b.stops[i].spread_s);
    EXPECT_EQ(a.stops[i].departure, b.stops[i].departure);
    EXPECT_EQ(a.stops[i].library_lower, b.stops[i].library_lower);
    EXPECT_EQ(a.stops[i].library_upper, b.stops[i].library_upper);
  }
}

TEST_F(ForecastCodecTest, LegsAreCarriedToo) {
  given.forecast.stops = {};
  const JourneyPattern& pattern = network.pattern(*network.find_pattern(given.forecast.pattern));
  for (std::uint32_t i = 0; i + 1 < pattern.stops.size(); ++i) {
    LegForecast leg;
    leg.from = pattern.stops[i].stop;
    leg.to = pattern.stops[i + 1].stop;
    leg.from_sequence = i + 1;
    leg.to_sequence = i + 2;
    leg.observed = i == 0;
    if (i == 1) leg.elapsed = Seconds(0);
    leg.travel_time = Seconds(100 + i);
    leg.spread_s = 1.0 / 3.0;
    leg.library_lower = Seconds(90 + i);
    leg.library_upper = Seconds(110 + i);
    given.forecast.legs.push_back(leg);
  }
  const auto decoded = decode_forecast(encode_forecast(given, network), network);
  const TripForecast& back = std::get<VehicleForecast>(std::get<0>(decoded)).forecast;
  EXPECT_TRUE(back.stops.empty());
  ASSERT_EQ(back.legs.size(), given.forecast.legs.size());
  for (std::size_t i = 0; i < back.legs.size(); ++i) {
    const LegForecast& a = back.legs[i];
    const LegForecast& b = given.forecast.legs[i];
    EXPECT_EQ(std::tie(a.from, a.to, a.from_sequence, a.to_sequence, a.observed, a.elapsed,
                       a.travel_time, a.spread_s, a.library_lower, a.library_upper),
              std::tie(b.from, b.to, b.from_sequence, b.to_sequence, b.observed, b.elapsed,
                       b.travel_time, b.spread_s, b.library_lower, b.library_upper));
  }
  EXPECT_EQ(reason(with([](auto& f) { f.mutable_legs()->RemoveLast(); })),
            "the forecast cannot be read: its legs are not those of its pattern");
  EXPECT_EQ(reason(with([](auto& f) { f.mutable_legs(2)->set_travel_time(-1); })),
            "the forecast cannot be read: its legs are not those of its pattern");
}

TEST_F(ForecastCodecTest, AnOlderReaderPassesOverWhatItDoesNotKnow) {
  const StreamMessage message = with([](stream::Forecast& f) {
    f.GetReflection()->MutableUnknownFields(&f)->AddLengthDelimited(1000)->assign("later");
  });
  EXPECT_EQ(reason(message), "");
}

TEST_F(ForecastCodecTest, AnyReaderOfTheStandardUnderstandsIt) {
  transit_realtime::TripUpdate update;
  ASSERT_TRUE(update.ParseFromString(*encode_forecast(given, network).value));
  EXPECT_EQ(update.trip().trip_id(), "out");
  EXPECT_EQ(update.vehicle().id(), "v");
  const auto& last = update.stop_time_update(update.stop_time_update_size() - 1);
  EXPECT_EQ(last.stop_id(), "E");
  EXPECT_EQ(last.arrival().time(), unix_seconds(at("08:08:12")));
}

TEST_F(ForecastCodecTest, ATripThatIsLeftHasNoValue) {
  for (const bool finished : {false, true}) {
    const LeftTrip left{
        {AgencyId("a"), given.forecast.trip, VehicleId("v")}, at("09:00:00"), finished};
    const StreamMessage message = encode_left(left);
    EXPECT_FALSE(message.value);
    EXPECT_EQ(message.key, encode_forecast(given, network).key);
    const auto decoded = decode_forecast(message, network);
    const auto& back = std::get<LeftTrip>(std::get<0>(decoded));
    EXPECT_EQ(back.trip, left.trip);
    EXPECT_EQ(back.when, left.when);
    EXPECT_EQ(back.finished, finished);
  }
}

TEST_F(ForecastCodecTest, WhatCannotBeUsedSaysWhy) {
  StreamMessage other = encode_forecast(given, network);
  other.key = "v";
  EXPECT_EQ(reason(other), "the key is no forecast's");
  other = encode_forecast(given, network);
  other.value = "\xff";
  EXPECT_EQ(reason(other), "the bytes are no forecast");
  EXPECT_EQ(reason(with([](auto& f) { f.set_pattern("p"); })), "the timetable has no pattern p");
  EXPECT_EQ(reason(with([](auto& f) { f.add_arrival(3); })),
            "the forecast cannot be read: its stops are not those of its pattern");
  EXPECT_EQ(reason(with([](auto& f) { f.set_arrival(0, 1LL << 60); })),
            "the forecast cannot be read: one of its times is not between 1970 and 2200");
  EXPECT_EQ(reason(with([](auto& f) { f.set_state(99); })), "the forecast has impossible values");
  EXPECT_EQ(reason(with([](auto& f) { f.set_made(-1); })), "the forecast has impossible values");
}

}  // namespace
}  // namespace qiv
