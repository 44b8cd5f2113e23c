#include "feed/json_positions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qiv {
namespace {

using ::testing::HasSubstr;

const Instant received = from_unix_seconds(1'760'000'000);

const JsonFields nested = {{{"vehicle", "/VP/veh"},
                            {"trip", "/VP/trip"},
                            {"time", "/VP/tst"},
                            {"lat", "/VP/lat"},
                            {"lon", "/VP/long"},
                            {"bearing", "/VP/hdg"},
                            {"speed", "/VP/spd"},
                            {"start_date", "/VP/oday"},
                            {"direction", "/VP/dir"},
                            {"stop", "/VP/stop"},
                            {"status", "/VP/state"}},
                           ""};

PositionBatch read(const std::string& text, const JsonFields& fields = nested) {
  PositionOptions options;
  options.name = "topic/one";
  options.received = received;
  return read_json_positions(text, fields, options);
}

TEST(JsonPositionsTest, ReadsFieldsWhereTheyAreSaidToBe) {
  const PositionBatch batch =
      read(R"({"VP": {"veh": 1203, "trip": "T9", "lat": 60.17, "long": 24.94,
      "tst": "2025-10-09T08:53:10.123Z", "hdg": 90, "spd": "12.5", "oday": "2025-10-09",
      "dir": "1", "stop": "S1", "state": "STOPPED_AT"}})");
  ASSERT_EQ(batch.positions.size(), 1U);
  const VehiclePosition& position = batch.positions.front();
  EXPECT_EQ(position.vehicle, VehicleId("1203"));
  EXPECT_EQ(position.trip, TripId("T9"));
  EXPECT_EQ(position.received, received);
  EXPECT_EQ(format_utc(position.time), "2025-10-09T08:53:10Z");
  EXPECT_FALSE(position.time_is_received);
  EXPECT_DOUBLE_EQ(position.place->lat_deg, 60.17);
  EXPECT_DOUBLE_EQ(position.place->lon_deg, 24.94);
  EXPECT_EQ(position.bearing_deg, 90.0);
  EXPECT_EQ(position.speed_mps, 12.5);
  EXPECT_EQ(position.start_date, ServiceDate::parse("20251009"));
  EXPECT_EQ(position.direction, 1);
  EXPECT_EQ(position.stop, StopId("S1"));
  EXPECT_EQ(position.status, StopStatus::stopped_at);
}

TEST(JsonPositionsTest, TakesSecondsAndMilliseconds) {
  const JsonFields flat = {{{"vehicle", "/v"}, {"time", "/t"}, {"lat", "/y"}, {"lon", "/x"}}, ""};
  const auto time_of = [&](const std::string& time) {
    return read(R"({"v": "a", "y": 1, "x": 2, "t": )" + time + "}", flat).positions.at(0).time;
  };
  EXPECT_EQ(time_of("1760000123"), from_unix_seconds(1'760'000'123));
  EXPECT_EQ(time_of("1760000123456"), from_unix_seconds(1'760'000'123));
  EXPECT_EQ(time_of(R"("1760000123")"), from_unix_seconds(1'760'000'123));
  EXPECT_EQ(time_of("1e300"), received) << "not plausible";
  EXPECT_EQ(time_of(R"("2025-10-09T08:55:23Z")"), from_unix_seconds(1'760'000'123));
  EXPECT_EQ(time_of(R"("7025-10-09T08:55:23Z")"), received) << "not plausible either";
}

TEST(JsonPositionsTest, AMessageMayHoldAList) {
  JsonFields fields = {{{"vehicle", "/0"}, {"lat", "/1"}, {"lon", "/2"}}, "/data/vehicles"};
  const PositionBatch batch =
      read(R"({"data": {"vehicles": [["a", 1.5, 2.5], ["b", 3.5, null], 7]}})", fields);
  EXPECT_EQ(batch.read, 3U);
  ASSERT_EQ(batch.positions.size(), 1U);
  EXPECT_EQ(batch.positions.front().vehicle, VehicleId("a"));
  EXPECT_TRUE(batch.positions.front().time_is_received);
  EXPECT_EQ(batch.rejections.total(), 2U);
  EXPECT_EQ(batch.rejections.count("position is no object"), 1U);
  fields.list = "";
  fields.pointers = {{"vehicle", "/v"}, {"lat", "/y"}, {"lon", "/x"}};
  EXPECT_EQ(read(R"([{"v":"a","y":1,"x":2},{"v":"b","y":1,"x":2}])", fields).positions.size(), 2U);
}

TEST(JsonPositionsTest, APointerThatIsNoneForAListFindsNothing) {
  for (const char* list : {"/", "/01", "/-", "/2", "/x"}) {
    const JsonFields fields = {{{"vehicle", "/v"}, {"stop", "/s"}}, list};
    ASSERT_EQ(mistake_in(fields), "");
    const PositionBatch batch = read(R"([{"v": "a", "s": "A"}, {"v": "b", "s": "A"}])", fields);
    EXPECT_TRUE(batch.positions.empty()) << list;
    EXPECT_EQ(batch.rejections.total(), 1U) << list;
  }
  const JsonFields in_place = {{{"vehicle", "/v/"}, {"stop", "/s"}}, ""};
  EXPECT_TRUE(read(R"({"v": ["a"], "s": "A"})", in_place).positions.empty());
}

TEST(JsonPositionsTest, WhatCannotBeReadIsOneRejection) {
  EXPECT_EQ(read("").rejections.count("message is no JSON"), 1U);
  EXPECT_EQ(read("{\"VP\": ").rejections.count("message is no JSON"), 1U);
  EXPECT_EQ(read(std::string(100'000, '[')).rejections.total(), 1U);
  JsonFields list = nested;
  list.list = "/vehicles";
  EXPECT_EQ(read("{}", list).rejections.count("message has no list of positions"), 1U);
  PositionOptions small;
  small.max_snapshot_bytes = 10;
  EXPECT_EQ(
      read_json_positions("[1,2,3,4,5,6]", nested, small).rejections.count("message too large"),
      1U);
}

TEST(JsonPositionsTest, SaysWhatIsWrongWithTheFields) {
  EXPECT_EQ(mistake_in(nested), "");
  EXPECT_THAT(mistake_in({{{"vehicel", "/v"}}, ""}), HasSubstr("unknown field 'vehicel'"));
  EXPECT_THAT(mistake_in({{{"vehicle", "v"}}, ""}), HasSubstr("'v' is no JSON pointer"));
  EXPECT_THAT(mistake_in({{{"vehicle", "/v"}, {"lat", "/y"}}, ""}), HasSubstr("lat and lon"));
  EXPECT_THAT(mistake_in({{{"stop", "/s"}}, "x"}), HasSubstr("list"));
}

}  // namespace
}  // namespace qiv
