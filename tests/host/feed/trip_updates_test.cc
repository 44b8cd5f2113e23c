#include <gmock/gmock.h>

#include "feed/gtfs_realtime.h"
#include "host/feed/realtime_text.h"

namespace qiv {
namespace {

constexpr const char* header = R"(header { gtfs_realtime_version: "2.0" timestamp: 1759811582 } )";

TripUpdateBatch read(const std::string& entities) {
  return read_trip_updates(message_of(header + entities));
}

TEST(TripUpdates, ReadsAllThatIsStated) {
  const TripUpdateBatch batch = read(R"(entity { id: "1" trip_update {
    trip { trip_id: "T" route_id: "R" direction_id: 0 start_date: "20251007" start_time: "08:00:00" }
    vehicle { id: "V" } timestamp: 1759811500 delay: 60
    stop_time_update { stop_sequence: 4 stop_id: "S"
      arrival { time: 1759811700 delay: 30 uncertainty: 20 }
      departure { time: 1759811720 } } } })");
  EXPECT_EQ(batch.time, from_unix_seconds(1759811582));
  ASSERT_EQ(batch.updates.size(), 1U);
  const TripUpdate& update = batch.updates[0];
  EXPECT_EQ(update.received, from_unix_seconds(1759811582));
  EXPECT_EQ(update.time, from_unix_seconds(1759811500));
  EXPECT_FALSE(update.time_is_received);
  EXPECT_EQ(update.trip.text(), "T");
  EXPECT_EQ(update.direction, 0);
  EXPECT_EQ(update.start_date->to_string(), "20251007");
  EXPECT_EQ(update.start_time, Seconds(8 * 3600));
  EXPECT_EQ(update.vehicle.text(), "V");
  EXPECT_EQ(update.status, TripStatus::scheduled);
  EXPECT_EQ(update.delay, Seconds(60));
  ASSERT_EQ(update.calls.size(), 1U);
  const PredictedCall& call = update.calls[0];
  EXPECT_EQ(call.stop_sequence, 4U);
  EXPECT_EQ(call.stop.text(), "S");
  EXPECT_EQ(call.arrival.time, from_unix_seconds(1759811700));
  EXPECT_EQ(call.arrival.delay, Seconds(30));
  EXPECT_EQ(call.arrival.uncertainty, Seconds(20));
  EXPECT_EQ(call.departure.time, from_unix_seconds(1759811720));
  EXPECT_FALSE(call.departure.delay.has_value());
  EXPECT_EQ(call.status, CallStatus::scheduled);
}

TEST(TripUpdates, KnowsWhatIsNotRunning) {
  const TripUpdateBatch batch = read(R"(
    entity { id: "1" trip_update { trip { trip_id: "A" schedule_relationship: CANCELED } } }
    entity { id: "2" trip_update { trip { trip_id: "B" schedule_relationship: ADDED } } }
    entity { id: "3" trip_update { trip { trip_id: "C" schedule_relationship: UNSCHEDULED }
      stop_time_update { stop_sequence: 1 schedule_relationship: SKIPPED }
      stop_time_update { stop_sequence: 2 schedule_relationship: NO_DATA } } })");
  ASSERT_EQ(batch.updates.size(), 3U);
  EXPECT_EQ(batch.updates[0].status, TripStatus::canceled);
  EXPECT_EQ(batch.updates[1].status, TripStatus::added);
  EXPECT_EQ(batch.updates[2].status, TripStatus::unscheduled);
  EXPECT_EQ(batch.updates[2].calls.at(0).status, CallStatus::skipped);
  EXPECT_EQ(batch.updates[2].calls.at(1).status, CallStatus::no_data);
  EXPECT_TRUE(batch.updates[2].calls.at(1).arrival.empty());
}

TEST(TripUpdates, CallsADuplicateByItsOwnName) {
  const TripUpdateBatch batch = read(R"(
    entity { id: "1" trip_update { trip { trip_id: "A" start_date: "20251007"
                                          schedule_relationship: DUPLICATED }
      trip_properties { trip_id: "A again" start_date: "20251008" start_time: "09:30:00" } } }
    entity { id: "2" trip_update { trip { trip_id: "B" schedule_relationship: DUPLICATED } } }
    entity { id: "3" trip_update { trip { trip_id: "C" schedule_relationship: NEW } } }
    entity { id: "4" trip_update { trip { trip_id: "D" schedule_relationship: DELETED } } })");
  ASSERT_EQ(batch.updates.size(), 4U);
  EXPECT_EQ(batch.updates[0].trip.text(), "A again");
  EXPECT_EQ(batch.updates[0].start_date->to_string(), "20251008");
  EXPECT_EQ(batch.updates[0].start_time, Seconds(9 * 3600 + 30 * 60));
  EXPECT_EQ(batch.updates[0].status, TripStatus::added);
  EXPECT_EQ(batch.updates[1].trip.text(), "B");
  EXPECT_EQ(batch.remarks.count("duplicate without a name of its own"), 1U);
  EXPECT_EQ(batch.updates[2].status, TripStatus::added);
  EXPECT_EQ(batch.updates[3].status, TripStatus::canceled);
}

TEST(TripUpdates, LeavesOutWhatIsImplausible) {
  const TripUpdateBatch batch = read(R"(entity { id: "1" trip_update { trip { trip_id: "T" }
    delay: 2000000000
    stop_time_update { arrival { time: 1759811700 } }
    stop_time_update { stop_id: "S" arrival { time: 884541600000 delay: -86401 uncertainty: -1 } }
  } })");
  ASSERT_EQ(batch.updates.size(), 1U);
  EXPECT_FALSE(batch.updates[0].delay.has_value());
  ASSERT_EQ(batch.updates[0].calls.size(), 1U);
  EXPECT_TRUE(batch.updates[0].calls[0].arrival.empty());
  EXPECT_FALSE(batch.updates[0].calls[0].arrival.uncertainty.has_value());
  EXPECT_EQ(batch.remarks.count("call without stop"), 1U);
  EXPECT_EQ(batch.remarks.count("implausible predicted time"), 1U);
  EXPECT_EQ(batch.remarks.count("delay beyond a day"), 2U);
}

TEST(TripUpdates, TakesTheTimeOfTheHeaderWithoutItsOwn) {
  const TripUpdateBatch batch = read(R"(entity { id: "1" trip_update { trip { trip_id: "T" } } })");
  EXPECT_EQ(batch.updates.at(0).time, from_unix_seconds(1759811582));
  EXPECT_TRUE(batch.updates.at(0).time_is_received);
}

TEST(TripUpdates, CountsWhatIsNotUsed) {
  const TripUpdateBatch batch = read(R"(
    entity { id: "1" trip_update { trip { route_id: "R" } } }
    entity { id: "2" is_deleted: true }
    entity { id: "3" vehicle { stop_id: "S" } })");
  EXPECT_TRUE(batch.updates.empty());
  EXPECT_EQ(batch.rejections.count("no trip_id"), 1U);
  EXPECT_EQ(batch.rejections.count("deleted entity"), 1U);
  EXPECT_EQ(batch.rejections.count("entity without trip update"), 1U);
  EXPECT_EQ(batch.read, 3U);
  EXPECT_EQ(read_trip_updates("<html/>").rejections.count("not a GTFS-realtime message"), 1U);
}

}  // namespace
}  // namespace qiv
