#include "evaluate/predicted_arrivals.h"

#include <gmock/gmock.h>

#include "feed/gtfs_realtime.h"
#include "host/evaluate/recording.h"

namespace qiv {
namespace {

using testing::arrival_at;
using testing::at;
using ::testing::ElementsAre;
using testing::entity;
using testing::monday;
using testing::snapshot;

/// Trip "out": A 08:00, B 08:02, C 08:04, D 08:06, E 08:08; it stands 30 s at C. Sequence numbers 1
/// to 5.
class PredictedArrivalsTest : public ::testing::Test {
 protected:
  PredictedArrivalsTest() : network(build_network(timetable())) {}

  static Timetable timetable() {
    Timetable timetable = testing::straight_timetable();
    *timetable.trips[0].stop_times[2].departure += Seconds(30);
    return timetable;
  }

  TripUpdate update_of(const std::string& entities) {
    const TripUpdateBatch batch = read_trip_updates(snapshot("07:55:00", entities));
    EXPECT_EQ(batch.updates.size(), 1U);
    return batch.updates.at(0);
  }

  /// The arrivals at A to E as clock times, "-" where there is none.
  std::vector<std::string> arrivals(const std::string& text) {
    const TripUpdate update = update_of(entity("out", text));
    const auto trip = trip_of(update, network, not_used);
    EXPECT_TRUE(trip.has_value());
    std::vector<std::string> times;
    for (const auto& time : predicted_arrivals(update, *trip, network, not_used)) {
      times.push_back(time ? format_time_of_day(*time - Instant(monday.days())) : "-");
    }
    return times;
  }

  Network network;
  Rejections not_used;
};

TEST_F(PredictedArrivalsTest, TheLastDelayHoldsForTheStopsBehindIt) {
  EXPECT_THAT(arrivals("stop_time_update { stop_sequence: 2 arrival { delay: 60 } }"
                       "stop_time_update { stop_sequence: 4 arrival { delay: 90 } }"),
              ElementsAre("-", "08:03:00", "08:05:00", "08:07:30", "08:09:30"));
  EXPECT_TRUE(not_used.empty());
}

TEST_F(PredictedArrivalsTest, ATimeGivesTheDelayThatHolds) {
  EXPECT_THAT(arrivals("stop_time_update { stop_sequence: 2 " + arrival_at("08:02:20") + " }"),
              ElementsAre("-", "08:02:20", "08:04:20", "08:06:20", "08:08:20"));
}

TEST_F(PredictedArrivalsTest, TheTimeCountsBeforeTheDelay) {
  EXPECT_THAT(arrivals("stop_time_update { stop_sequence: 5 arrival { delay: 600 time: " +
                       std::to_string(unix_seconds(at("08:08:10"))) + " } }"),
              ElementsAre("-", "-", "-", "-", "08:08:10"));
}

TEST_F(PredictedArrivalsTest, BehindAStopItsDepartureCounts) {
  EXPECT_THAT(arrivals("stop_time_update { stop_sequence: 3 arrival { delay: 60 }"
                       " departure { delay: 40 } }"),
              ElementsAre("-", "-", "08:05:00", "08:06:40", "08:08:40"));
}

TEST_F(PredictedArrivalsTest, ADepartureAloneGivesTheArrivalItsDelay) {
  // Departs at 08:04:50, 20 s late.
  EXPECT_THAT(arrivals("stop_time_update { stop_sequence: 3 departure { time: " +
                       std::to_string(unix_seconds(at("08:04:50"))) + " } }"),
              ElementsAre("-", "-", "08:04:20", "08:06:20", "08:08:20"));
}

TEST_F(PredictedArrivalsTest, TheDelayOfTheTripHoldsUpToTheFirstCall) {
  EXPECT_THAT(arrivals("delay: 30 stop_time_update { stop_sequence: 4 arrival { delay: 0 } }"),
              ElementsAre("08:00:30", "08:02:30", "08:04:30", "08:06:00", "08:08:00"));
}

TEST_F(PredictedArrivalsTest, ASkippedStopHasNoneAndEndsNothing) {
  EXPECT_THAT(arrivals("stop_time_update { stop_sequence: 2 arrival { delay: 60 } }"
                       "stop_time_update { stop_sequence: 3 schedule_relationship: SKIPPED }"),
              ElementsAre("-", "08:03:00", "-", "08:07:00", "08:09:00"));
  EXPECT_EQ(not_used.count("call skipped"), 1U);
}

TEST_F(PredictedArrivalsTest, NoDataEndsTheDelay) {
  EXPECT_THAT(arrivals("stop_time_update { stop_sequence: 2 arrival { delay: 60 } }"
                       "stop_time_update { stop_sequence: 4 schedule_relationship: NO_DATA }"),
              ElementsAre("-", "08:03:00", "08:05:00", "-", "-"));
  EXPECT_EQ(not_used.count("call without data"), 1U);
}

TEST_F(PredictedArrivalsTest, StopsAreFoundByNumberOrName) {
  EXPECT_THAT(
      arrivals("stop_time_update { stop_id: \"B\" arrival { delay: 10 } }"
               "stop_time_update { stop_sequence: 77 stop_id: \"C\" arrival { delay: 20 } }"
               "stop_time_update { stop_sequence: 2 stop_id: \"D\" arrival { delay: 30 } }"
               "stop_time_update { stop_sequence: 5 stop_id: \"E2\" arrival { delay: 40 } }"),
      ElementsAre("-", "08:02:10", "08:04:20", "08:06:30", "08:08:40"));
  EXPECT_TRUE(not_used.empty());
}

TEST_F(PredictedArrivalsTest, WhatCannotBeUsedIsCounted) {
  EXPECT_THAT(arrivals("stop_time_update { stop_sequence: 3 arrival { delay: 60 } }"
                       "stop_time_update { stop_sequence: 2 arrival { delay: 5 } }"
                       "stop_time_update { stop_sequence: 9 arrival { delay: 5 } }"
                       "stop_time_update { stop_sequence: 4 }"
                       "stop_time_update { stop_sequence: 5 arrival { time: 1900000000 } }"),
              ElementsAre("-", "-", "08:05:00", "08:07:00", "08:09:00"));
  EXPECT_EQ(not_used.count("call out of order"), 1U);
  EXPECT_EQ(not_used.count("call at no stop of its trip"), 1U);
  EXPECT_EQ(not_used.count("time more than a day off the timetable"), 1U);
  EXPECT_EQ(not_used.count("call that predicts nothing"), 2U);
}

TEST_F(PredictedArrivalsTest, ALoopCallsTwiceAtItsStops) {
  const TripUpdate update =
      update_of(entity("loop1",
                       "stop_time_update { stop_id: \"B\" arrival { delay: 10 } }"
                       "stop_time_update { stop_id: \"B\" arrival { delay: 20 } }"));
  const auto trip = trip_of(update, network, not_used);
  const PredictedArrivals predicted = predicted_arrivals(update, *trip, network, not_used);
  EXPECT_EQ(predicted[1], at("10:02:10"));
  EXPECT_EQ(predicted[3], at("10:06:20"));
}

TEST_F(PredictedArrivalsTest, TheDayIsInferred) {
  const auto trip =
      trip_of(update_of("entity { id: \"1\" trip_update { trip { trip_id: \"out\" } } }"), network,
              not_used);
  ASSERT_TRUE(trip);
  EXPECT_EQ(trip->key.day, monday);
}

TEST_F(PredictedArrivalsTest, TripsThatAreNoneOfOursAreCounted) {
  const auto read = [&](const std::string& descriptor) {
    return trip_of(update_of("entity { id: \"1\" trip_update { trip { " + descriptor + " } } }"),
                   network, not_used);
  };
  EXPECT_FALSE(read("trip_id: \"X\""));
  EXPECT_FALSE(read("trip_id: \"out\" schedule_relationship: ADDED"));
  EXPECT_FALSE(read("trip_id: \"out\" schedule_relationship: CANCELED"));
  EXPECT_EQ(not_used.count("trip is not in the timetable"), 1U);
  EXPECT_EQ(not_used.count("trip that was added"), 1U);
  EXPECT_EQ(not_used.count("trip canceled"), 1U);
  EXPECT_EQ(not_used.entries().at("trip canceled").first, "trip out at 2025-03-03T07:55:00Z");
}

TEST_F(PredictedArrivalsTest, ARepetitionNeedsItsStart) {
  Timetable repeated = testing::straight_timetable();
  repeated.frequencies = {
      {0, std::chrono::hours(8), std::chrono::hours(9), std::chrono::minutes(20)}};
  const Network frequent = build_network(repeated);
  const auto read = [&](const std::string& start) {
    return trip_of(update_of("entity { id: \"1\" trip_update { trip { trip_id: \"out\" " + start +
                             " start_date: \"20250303\" } } }"),
                   frequent, not_used);
  };
  EXPECT_FALSE(read(""));
  EXPECT_EQ(not_used.count("repetition without a start time"), 1U);
  ASSERT_TRUE(read("start_time: \"08:20:00\""));
  EXPECT_EQ(read("start_time: \"08:20:00\"")->first_departure(), at("08:20:00"));
}

}  // namespace
}  // namespace qiv
