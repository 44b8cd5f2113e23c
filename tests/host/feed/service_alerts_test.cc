#include <gmock/gmock.h>

#include "feed/gtfs_realtime.h"
#include "host/feed/realtime_text.h"

namespace qiv {
namespace {

constexpr const char* header = R"(header { gtfs_realtime_version: "2.0" timestamp: 1759811582 } )";

AlertBatch read(const std::string& entities) {
  return read_service_alerts(message_of(header + entities));
}

TEST(ServiceAlerts, ReadAllThatIsStated) {
  const AlertBatch batch = read(R"(entity { id: "strike" alert {
    active_period { start: 1759800000 end: 1759820000 } active_period { start: 1759900000 }
    informed_entity { agency_id: "A" route_id: "R" route_type: 3 direction_id: 1 stop_id: "S" }
    informed_entity { trip { trip_id: "T" route_id: "Q" direction_id: 0 start_date: "20251007"
                             start_time: "08:00:00" } }
    effect: NO_SERVICE
    header_text { translation { text: "Streik" language: "de" }
                  translation { text: "Strike" language: "en" } } } })");
  EXPECT_EQ(batch.time, from_unix_seconds(1759811582));
  EXPECT_EQ(batch.read, 1U);
  ASSERT_EQ(batch.alerts.size(), 1U);
  const ServiceAlert& alert = batch.alerts[0];
  EXPECT_EQ(alert.id, "strike");
  EXPECT_EQ(alert.effect, AlertEffect::no_service);
  EXPECT_EQ(alert.header, "Strike");
  ASSERT_EQ(alert.periods.size(), 2U);
  EXPECT_EQ(alert.periods[0].from, from_unix_seconds(1759800000));
  EXPECT_EQ(alert.periods[0].until, from_unix_seconds(1759820000));
  EXPECT_EQ(alert.periods[1].until, Instant::max());
  ASSERT_EQ(alert.informed.size(), 2U);
  EXPECT_EQ(alert.informed[0].agency.text(), "A");
  EXPECT_EQ(alert.informed[0].route.text(), "R");
  EXPECT_EQ(alert.informed[0].route_type, 3);
  EXPECT_EQ(alert.informed[0].direction, 1);
  EXPECT_EQ(alert.informed[0].stop.text(), "S");
  EXPECT_EQ(alert.informed[1].trip.text(), "T");
  EXPECT_EQ(alert.informed[1].route.text(), "Q");
  EXPECT_EQ(alert.informed[1].direction, 0);
  EXPECT_EQ(alert.informed[1].start_date->to_string(), "20251007");
  EXPECT_EQ(alert.informed[1].start_time, Seconds(8 * 3600));
}

TEST(ServiceAlerts, HaveAnUnknownEffectWhereNoneIsStated) {
  const AlertBatch batch =
      read(R"(entity { id: "1" alert { informed_entity { route_id: "R" } } })");
  EXPECT_EQ(batch.alerts.at(0).effect, AlertEffect::unknown);
  EXPECT_TRUE(batch.alerts.at(0).periods.empty());
  EXPECT_EQ(batch.alerts.at(0).header, "");
}

TEST(ServiceAlerts, CountWhatIsNone) {
  const AlertBatch batch = read(R"(
    entity { id: "1" trip_update { trip { trip_id: "T" } } }
    entity { id: "2" is_deleted: true }
    entity { id: "3" alert { active_period { start: 1759820000 end: 1759800000 } } }
    entity { id: "4" alert { active_period { start: 17598000000000 } } })");
  EXPECT_EQ(batch.read, 4U);
  EXPECT_TRUE(batch.alerts.empty());
  EXPECT_EQ(batch.rejections.count("entity without alert"), 1U);
  EXPECT_EQ(batch.rejections.count("deleted entity"), 1U);
  EXPECT_EQ(batch.rejections.count("alert that is never active"), 2U);
  EXPECT_EQ(batch.remarks.count("period that ends before it begins"), 1U);
  EXPECT_EQ(batch.remarks.count("implausible beginning of a period"), 1U);
}

TEST(ServiceAlerts, LeaveOutWhatSaysNothing) {
  const AlertBatch batch = read(R"(entity { id: "1" alert {
    active_period { end: 18446744073709551615 }
    informed_entity { direction_id: 1 }
    informed_entity { trip { trip_id: "T" start_date: "x" start_time: "y" } } } })");
  ASSERT_EQ(batch.alerts.size(), 1U);
  EXPECT_EQ(batch.alerts[0].periods.at(0).until, Instant::max());
  ASSERT_EQ(batch.alerts[0].informed.size(), 1U);
  EXPECT_FALSE(batch.alerts[0].informed[0].start_date);
  EXPECT_EQ(batch.remarks.count("implausible end of a period"), 1U);
  EXPECT_EQ(batch.remarks.count("informed entity that states nothing"), 1U);
  EXPECT_EQ(batch.remarks.count("start date is no date"), 1U);
  EXPECT_EQ(batch.remarks.count("start time is no time"), 1U);
}

TEST(ServiceAlerts, AreNoneInWhatIsNoMessage) {
  EXPECT_EQ(read_service_alerts("<html>").rejections.count("not a GTFS-realtime message"), 1U);
  PositionOptions options;
  options.max_snapshot_bytes = 3;
  EXPECT_EQ(read_service_alerts(message_of(header), options).rejections.count("snapshot too large"),
            1U);
}

}  // namespace
}  // namespace qiv
