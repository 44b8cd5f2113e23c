#include "feed/position_table.h"

#include <gmock/gmock.h>

#include "host/feed/packing.h"

namespace qiv {
namespace {

using testing::HasSubstr;

constexpr const char* table =
    R"(feed_timestamp,timestamp,vehicle_id,trip_id,route_id,direction_id,start_date,start_time,lat,lon,bearing,speed,stop_id,current_stop_sequence,current_status,agency_delay_s
1759811702,1759811642,E800,E800-0532,DART,1,20251007,05:32:00,53.22,-6.1101,90,12.5,WBROK,2,STOPPED_AT,0
1759811763,1759811763,E801,,,,,,,,,,SKILL,,IN_TRANSIT_TO,0
)";

TEST(PositionTable, ReadsAllThatIsStated) {
  const PositionBatch batch = read_position_table(table);
  ASSERT_EQ(batch.positions.size(), 2U);
  const VehiclePosition& position = batch.positions[0];
  EXPECT_EQ(position.received, from_unix_seconds(1759811702));
  EXPECT_EQ(position.time, from_unix_seconds(1759811642));
  EXPECT_EQ(position.vehicle.text(), "E800");
  EXPECT_EQ(position.trip.text(), "E800-0532");
  EXPECT_EQ(position.route.text(), "DART");
  EXPECT_EQ(position.direction, 1);
  EXPECT_EQ(position.start_date->to_string(), "20251007");
  EXPECT_EQ(position.start_time, Seconds(5 * 3600 + 32 * 60));
  EXPECT_EQ(position.place, (LatLon{53.22, -6.1101}));
  EXPECT_EQ(position.bearing_deg, 90.0);
  EXPECT_EQ(position.speed_mps, 12.5);
  EXPECT_EQ(position.stop.text(), "WBROK");
  EXPECT_EQ(position.stop_sequence, 2U);
  EXPECT_EQ(position.status, StopStatus::stopped_at);
  EXPECT_TRUE(batch.rejections.empty());
  EXPECT_TRUE(batch.remarks.empty());
}

TEST(PositionTable, LeavesEmptyFieldsOpen) {
  const VehiclePosition position = read_position_table(table).positions.at(1);
  EXPECT_TRUE(position.trip.empty());
  EXPECT_FALSE(position.direction.has_value());
  EXPECT_FALSE(position.start_date.has_value());
  EXPECT_FALSE(position.place.has_value());
  EXPECT_FALSE(position.speed_mps.has_value());
  EXPECT_FALSE(position.stop_sequence.has_value());
  EXPECT_EQ(position.status, StopStatus::in_transit_to);
}

TEST(PositionTable, ReadsGzip) {
  EXPECT_EQ(read_position_table(gzip_of(table)).positions.size(), 2U);
}

TEST(PositionTable, RejectsDamagedGzip) {
  const std::string bytes = gzip_of(table);
  const PositionBatch batch = read_position_table(bytes.substr(0, bytes.size() / 2));
  EXPECT_TRUE(batch.positions.empty());
  EXPECT_EQ(batch.rejections.count("damaged or too large"), 1U);
}

TEST(PositionTable, NeedsNoMoreThanOneTime) {
  const PositionBatch batch = read_position_table(
      "vehicle_id,timestamp,lat,lon\nV,1759811642,53.2,-6.1\nV,1759811642.75,53.2,-6.1\n"
      "V,2025-10-07T05:34:02+01:00,53.2,-6.1\n");
  ASSERT_EQ(batch.positions.size(), 3U);
  for (const VehiclePosition& position : batch.positions) {
    EXPECT_EQ(position.time, from_unix_seconds(1759811642));
    EXPECT_EQ(position.received, from_unix_seconds(1759811642));
    EXPECT_FALSE(position.time_is_received);
  }
  const PositionBatch polls =
      read_position_table("vehicle_id,feed_timestamp,lat,lon\nV,1759811642,53.2,-6.1\n");
  EXPECT_TRUE(polls.positions.at(0).time_is_received);
}

TEST(PositionTable, CountsRowsThatAreNotUsed) {
  const PositionBatch batch = read_position_table(R"(timestamp,vehicle_id,lat,lon
1759811642,V,nan,-6.1
1759811642,V,53.2,-600
884541600000,V,53.2,-6.1
,V,53.2,-6.1
yesterday,V,53.2,-6.1
1759811642,,53.2,-6.1
1759811642,V,,
)");
  EXPECT_TRUE(batch.positions.empty());
  EXPECT_EQ(batch.rejections.entries().at("implausible place").first,
            "feed:2: 1759811642,V,nan,-6.1");
  EXPECT_EQ(batch.rejections.count("implausible place"), 2U);
  EXPECT_EQ(batch.rejections.count("implausible time"), 2U);
  EXPECT_EQ(batch.rejections.count("no time"), 1U);
  EXPECT_EQ(batch.rejections.count("no vehicle"), 1U);
  EXPECT_EQ(batch.rejections.count("neither place nor stop"), 1U);
  EXPECT_EQ(batch.read, 7U);
}

TEST(PositionTable, CountsRowsThatCannotBeRead) {
  const std::string rows = "timestamp,vehicle_id,lat,lon\n1759811642,V,53.2,-6.1\n1759811642," +
                           std::string(2'000'000, 'x') + ",53.2,-6.1\n";
  const PositionBatch batch = read_position_table(rows);
  EXPECT_EQ(batch.positions.size(), 1U);
  EXPECT_EQ(batch.rejections.count("feed: field too long"), 1U);
  EXPECT_EQ(batch.read, 2U);
}

TEST(PositionTable, RejectsWhatIsNoTable) {
  for (const char* text : {"", "a,b\n1,2\n", "<html/>"}) {
    const PositionBatch batch = read_position_table(text);
    EXPECT_EQ(batch.rejections.count("neither a column timestamp nor feed_timestamp"), 1U) << text;
    EXPECT_EQ(batch.read, 1U);
  }
}

}  // namespace
}  // namespace qiv
