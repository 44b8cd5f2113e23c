#include "feed/gtfs_realtime.h"

#include <gmock/gmock.h>

#include "host/feed/realtime_text.h"

namespace qiv {
namespace {

constexpr const char* header = R"(header { gtfs_realtime_version: "2.0" timestamp: 1759811582 } )";

PositionBatch read(const std::string& entities, const PositionOptions& options = {}) {
  return read_vehicle_positions(message_of(header + entities), options);
}

std::string first(const Rejections& rejections, const std::string& reason) {
  const auto found = rejections.entries().find(reason);
  return found == rejections.entries().end() ? "none" : found->second.first;
}

TEST(VehiclePositions, ReadsAllThatIsStated) {
  const PositionBatch batch = read(R"(entity { id: "e" vehicle {
    trip { trip_id: "T1" route_id: "R" direction_id: 1 start_date: "20251007" start_time: "25:10:00" }
    vehicle { id: "V7" label: "seven" }
    position { latitude: 53.25 longitude: -6.125 bearing: 90 speed: 12.5 }
    stop_id: "S" current_stop_sequence: 0 current_status: STOPPED_AT timestamp: 1759811500
  } })");
  ASSERT_EQ(batch.positions.size(), 1U);
  const VehiclePosition& position = batch.positions[0];
  EXPECT_EQ(batch.time, from_unix_seconds(1759811582));
  EXPECT_EQ(position.received, from_unix_seconds(1759811582));
  EXPECT_EQ(position.time, from_unix_seconds(1759811500));
  EXPECT_FALSE(position.time_is_received);
  EXPECT_EQ(position.vehicle.text(), "V7");
  EXPECT_EQ(position.trip.text(), "T1");
  EXPECT_EQ(position.route.text(), "R");
  EXPECT_EQ(position.direction, 1);
  EXPECT_EQ(position.start_date->to_string(), "20251007");
  EXPECT_EQ(position.start_time, Seconds(25 * 3600 + 600));
  EXPECT_EQ(position.place, (LatLon{53.25, -6.125}));
  EXPECT_EQ(position.bearing_deg, 90.0);
  EXPECT_EQ(position.speed_mps, 12.5);
  EXPECT_EQ(position.stop.text(), "S");
  EXPECT_EQ(position.stop_sequence, 0U);
  EXPECT_EQ(position.status, StopStatus::stopped_at);
  EXPECT_EQ(batch.read, 1U);
  EXPECT_TRUE(batch.remarks.empty());
}

TEST(VehiclePositions, LeavesOpenWhatIsNotStated) {
  const PositionBatch batch = read(
      R"(entity { id: "e" vehicle { vehicle { id: "V" } position { latitude: 53 longitude: -6 } } })");
  ASSERT_EQ(batch.positions.size(), 1U);
  const VehiclePosition& position = batch.positions[0];
  EXPECT_TRUE(position.trip.empty());
  EXPECT_FALSE(position.direction.has_value());
  EXPECT_FALSE(position.start_date.has_value());
  EXPECT_FALSE(position.bearing_deg.has_value());
  EXPECT_FALSE(position.stop_sequence.has_value());
  EXPECT_FALSE(position.status.has_value());
}

TEST(VehiclePositions, TakeTheTimeOfTheHeaderWithoutTheirOwn) {
  const PositionBatch batch = read(R"(
    entity { id: "1" vehicle { vehicle { id: "V" } stop_id: "S" } }
    entity { id: "2" vehicle { vehicle { id: "W" } stop_id: "S" timestamp: 884541600000 } })");
  ASSERT_EQ(batch.positions.size(), 2U);
  for (const VehiclePosition& position : batch.positions) {
    EXPECT_EQ(position.time, from_unix_seconds(1759811582));
    EXPECT_TRUE(position.time_is_received);
  }
  EXPECT_EQ(batch.remarks.count("implausible time"), 1U);
}

TEST(VehiclePositions, AreReceivedWhenTheCallerSaysSo) {
  PositionOptions options;
  options.received = from_unix_seconds(1759811600);
  const PositionBatch batch =
      read(R"(entity { id: "1" vehicle { vehicle { id: "V" } stop_id: "S" } })", options);
  EXPECT_EQ(batch.positions.at(0).received, from_unix_seconds(1759811600));
  EXPECT_EQ(batch.positions.at(0).time, from_unix_seconds(1759811600));
}

TEST(VehiclePositions, NeedSomeTime) {
  const PositionBatch batch = read_vehicle_positions(message_of(R"(
    header { gtfs_realtime_version: "2.0" timestamp: 884541600000 }
    entity { id: "1" vehicle { vehicle { id: "V" } stop_id: "S" } }
    entity { id: "2" vehicle { vehicle { id: "V" } stop_id: "S" timestamp: 1 } }
    entity { id: "3" vehicle { vehicle { id: "V" } stop_id: "S" timestamp: 1759811500 } })"));
  EXPECT_FALSE(batch.time.has_value());
  EXPECT_EQ(batch.remarks.count("implausible time of header"), 1U);
  EXPECT_EQ(batch.rejections.count("no time"), 1U);
  EXPECT_EQ(batch.rejections.count("implausible time"), 1U);
  ASSERT_EQ(batch.positions.size(), 1U);
  EXPECT_EQ(batch.positions[0].received, from_unix_seconds(1759811500));
}

TEST(VehiclePositions, FindAVehicleWhereNoneIsStated) {
  const PositionBatch batch = read(R"(
    entity { id: "1" vehicle { vehicle { label: "bus 9" } stop_id: "S" } }
    entity { id: "2" vehicle { trip { trip_id: "T" start_date: "20251007" } stop_id: "S" } }
    entity { id: "3" vehicle { trip { trip_id: "T" } stop_id: "S" } }
    entity { id: "4" vehicle { stop_id: "S" } }
    entity { vehicle { stop_id: "S" } })");
  ASSERT_EQ(batch.positions.size(), 4U);
  EXPECT_EQ(batch.positions[0].vehicle.text(), "bus 9");
  EXPECT_EQ(batch.positions[1].vehicle.text(), "trip T@20251007");
  EXPECT_EQ(batch.positions[2].vehicle.text(), "trip T");
  EXPECT_EQ(batch.positions[3].vehicle.text(), "entity 4");
  EXPECT_EQ(batch.rejections.count("no vehicle"), 1U);
}

TEST(VehiclePositions, NeedAPlaceOrAStop) {
  const PositionBatch batch = read(R"(
    entity { id: "1" vehicle { vehicle { id: "V" } position { latitude: nan longitude: -6 } } }
    entity { id: "2" vehicle { vehicle { id: "V" } position { latitude: 53 longitude: 1e30 } } }
    entity { id: "3" vehicle { vehicle { id: "V" } position { latitude: 53 } } }
    entity { id: "4" vehicle { vehicle { id: "V" } current_status: STOPPED_AT } }
    entity { id: "5" vehicle { vehicle { id: "V" } current_stop_sequence: 3 } }
    entity { id: "6" vehicle { vehicle { id: "V" } stop_id: "S" position { latitude: 0 longitude: 0 } } })");
  EXPECT_EQ(batch.rejections.count("implausible place"), 3U);
  EXPECT_EQ(first(batch.rejections, "implausible place"), "feed: entity 1");
  EXPECT_EQ(batch.rejections.count("neither place nor stop"), 1U);
  ASSERT_EQ(batch.positions.size(), 2U);
  EXPECT_EQ(batch.positions[0].stop_sequence, 3U);
  EXPECT_FALSE(batch.positions[1].place.has_value());
  EXPECT_EQ(batch.remarks.count("implausible place"), 1U);
  EXPECT_EQ(batch.read, 6U);
}

TEST(VehiclePositions, BringBearingsIntoOneTurnAndLeaveNonsenseOut) {
  const PositionBatch batch = read(R"(
    entity { id: "1" vehicle { vehicle { id: "V" } stop_id: "S" position { bearing: -90 speed: -1 } } }
    entity { id: "2" vehicle { vehicle { id: "V" } stop_id: "S" position { bearing: 360 speed: 1000 } } }
    entity { id: "3" vehicle { vehicle { id: "V" } stop_id: "S" position { bearing: 361 speed: inf } } }
    entity { id: "4" vehicle { vehicle { id: "V" } stop_id: "S" position { bearing: nan speed: nan } } })");
  ASSERT_EQ(batch.positions.size(), 4U);
  EXPECT_EQ(batch.positions[0].bearing_deg, 270.0);
  EXPECT_EQ(batch.positions[1].bearing_deg, 0.0);
  EXPECT_FALSE(batch.positions[2].bearing_deg.has_value());
  EXPECT_FALSE(batch.positions[3].bearing_deg.has_value());
  for (const VehiclePosition& position : batch.positions)
    EXPECT_FALSE(position.speed_mps.has_value());
  EXPECT_EQ(batch.remarks.count("implausible bearing"), 2U);
  EXPECT_EQ(batch.remarks.count("implausible speed"), 4U);
}

TEST(VehiclePositions, LeaveOutWhatIsNoDateOrTime) {
  const PositionBatch batch = read(R"(entity { id: "1" vehicle { vehicle { id: "V" } stop_id: "S"
    trip { trip_id: "T" start_date: "99990101" start_time: "noon" direction_id: 7 } } })");
  ASSERT_EQ(batch.positions.size(), 1U);
  EXPECT_FALSE(batch.positions[0].start_date.has_value());
  EXPECT_FALSE(batch.positions[0].start_time.has_value());
  EXPECT_FALSE(batch.positions[0].direction.has_value());
  EXPECT_EQ(batch.remarks.total(), 2U);
}

TEST(VehiclePositions, CountWhatIsNoVehicle) {
  const PositionBatch batch = read(R"(
    entity { id: "1" is_deleted: true vehicle { vehicle { id: "V" } stop_id: "S" } }
    entity { id: "2" trip_update { trip { trip_id: "T" } } }
    entity { id: "3" alert { } })");
  EXPECT_TRUE(batch.positions.empty());
  EXPECT_EQ(batch.rejections.count("deleted entity"), 1U);
  EXPECT_EQ(batch.rejections.count("entity without vehicle"), 2U);
}

TEST(VehiclePositions, ReadDifferentialMessagesAsReports) {
  const PositionBatch batch = read_vehicle_positions(message_of(R"(
    header { gtfs_realtime_version: "2.0" incrementality: DIFFERENTIAL timestamp: 1759811582 }
    entity { id: "1" is_deleted: true }
    entity { id: "2" vehicle { vehicle { id: "V" } stop_id: "S" } })"));
  EXPECT_EQ(batch.positions.size(), 1U);
  EXPECT_EQ(batch.rejections.count("deleted entity"), 1U);
}

TEST(VehiclePositions, RejectWhatIsNoMessage) {
  const std::string whole =
      message_of(std::string(header) + R"(entity { id: "1" vehicle { stop_id: "S" } })");
  for (const std::string& bytes :
       {std::string(), std::string("<html>502 Bad Gateway</html>"),
        whole.substr(0, whole.size() - 3), whole + '\x02', std::string(1000, '\xFF'),
        message_of(R"(entity { id: "1" vehicle { stop_id: "S" } })")}) {
    const PositionBatch batch = read_vehicle_positions(bytes);
    EXPECT_TRUE(batch.positions.empty());
    EXPECT_EQ(batch.rejections.count("not a GTFS-realtime message"), 1U);
    EXPECT_EQ(batch.read, 1U);
  }
}

TEST(VehiclePositions, SkipOneEntityThatCannotBeDecoded) {
  std::string bytes = message_of(
      std::string(header) + R"(entity { id: "1" vehicle { vehicle { id: "V" } stop_id: "S" } })");
  bytes +=
      "\x12\x03"
      "\x22\x7F\x01";  // an entity whose vehicle claims 127 bytes
  bytes += message_of(R"(entity { id: "3" vehicle { vehicle { id: "W" } stop_id: "S" } })");
  const PositionBatch batch = read_vehicle_positions(bytes);
  EXPECT_EQ(batch.positions.size(), 2U);
  EXPECT_EQ(first(batch.rejections, "entity cannot be decoded"), "feed: entity of 3 bytes");
}

TEST(VehiclePositions, FindTheHeaderWhereverItStands) {
  const PositionBatch batch = read_vehicle_positions(
      message_of(R"(entity { id: "1" vehicle { vehicle { id: "V" } stop_id: "S" } })") +
      message_of(header));
  EXPECT_EQ(batch.positions.size(), 1U);
}

TEST(VehiclePositions, DoNotDescendForEver) {
  const std::string groups(1'000'000, '\x0B');  // group 1 within group 1 within ...
  EXPECT_EQ(read_vehicle_positions(message_of(header) + groups)
                .rejections.count("not a GTFS-realtime message"),
            1U);
  std::string entity = groups;
  std::string length;
  for (std::size_t rest = entity.size(); rest > 0; rest >>= 7U)
    length += static_cast<char>((rest & 0x7FU) | (rest > 0x7F ? 0x80U : 0U));
  EXPECT_EQ(read_vehicle_positions(message_of(header) + "\x12" + length + entity)
                .rejections.count("entity cannot be decoded"),
            1U);
}

TEST(VehiclePositions, RejectMessagesBeyondTheLimit) {
  PositionOptions options;
  options.max_snapshot_bytes = 10;
  options.name = "big.pb";
  EXPECT_EQ(first(read("", options).rejections, "snapshot too large"), "big.pb");
}

TEST(VehiclePositions, TakeBoundedMemoryForMillionsOfEmptyEntities) {
  std::string bytes = message_of(header);
  for (int i = 0; i < 1'000'000; ++i) bytes.append("\x12\x00", 2);
  const PositionBatch batch = read_vehicle_positions(bytes);
  EXPECT_EQ(batch.rejections.count("entity without vehicle"), 1'000'000U);
}

}  // namespace
}  // namespace qiv
