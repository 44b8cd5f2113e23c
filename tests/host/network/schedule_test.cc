#include <string>
#include <vector>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "host/network/timetable_on_map.h"
#include "network/build_network.h"
#include "network/rejection_reasons.h"

namespace qiv {
namespace {

using test::AsciiMap;
using test::day;
using test::time_of;
using test::timetable_on_map;
using test::utc;
using test::weekly;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const AsciiMap line("A---------B---------C");

std::vector<std::string> names(const Network& network, const std::vector<TripIndex>& trips) {
  std::vector<std::string> found;
  for (const TripIndex i : trips) found.push_back(network.trip(i).id.text());
  return found;
}

// Monday 6 October 2025 and the days after it.
Network week_of_trips() {
  Timetable timetable = timetable_on_map(line, R"(
    late   service=workdays  block=1  A 23:50:00  C 24:20:00
    early  service=workdays  block=1  C 06:00:00  A 06:20:00
    noon   service=workdays  block=1  A 12:00:00  C 12:20:00
    sunday service=sundays   block=1  A 12:10:00  C 12:30:00
    extra  service=fair               A 10:00:00  C 10:20:00
  )");
  timetable.services[ServiceId("workdays")] = weekly("MTWTF..", "20251001", "20251031");
  timetable.services[ServiceId("workdays")].removed.insert(day("20251008"));
  timetable.services[ServiceId("sundays")] = weekly("......S", "20251001", "20251031");
  timetable.services[ServiceId("sundays")].added.insert(day("20251008"));
  timetable.services[ServiceId("fair")].added.insert(day("20251109"));
  return build_network(timetable);
}

TEST(Calendar, SaysWhichTripsRun) {
  const Network network = week_of_trips();
  EXPECT_THAT(names(network, network.trips_on(day("20251006"))),
              ElementsAre("early", "noon", "late"));
  EXPECT_THAT(names(network, network.trips_on(day("20251008"))), ElementsAre("sunday"));
  EXPECT_THAT(names(network, network.trips_on(day("20251011"))), IsEmpty());
  EXPECT_THAT(names(network, network.trips_on(day("20251109"))), ElementsAre("extra"));
  EXPECT_TRUE(network.runs_on(*network.find_trip(TripId("noon")), day("20251007")));
  EXPECT_FALSE(network.runs_on(*network.find_trip(TripId("noon")), day("20251008")));
}

TEST(Calendar, HasItsFirstAndLastDay) {
  const auto days = week_of_trips().days();
  ASSERT_TRUE(days.has_value());
  EXPECT_EQ(days->first, day("20251001"));
  EXPECT_EQ(days->second, day("20251109"));
}

TEST(Schedule, GivesInstants) {
  const Network network = week_of_trips();
  const auto late = network.schedule({TripId("late"), day("20251006"), Seconds(0)});
  ASSERT_TRUE(late.has_value());
  EXPECT_EQ(late->first_departure(), utc("2025-10-06T22:50:00Z"));
  EXPECT_EQ(late->last_arrival(), utc("2025-10-06T23:20:00Z"));
  EXPECT_EQ(late->departure(0), late->first_departure());
  EXPECT_EQ(late->arrival(1), late->last_arrival());
  EXPECT_EQ(late->key.day, day("20251006"));
}

TEST(Schedule, KnowsTheNeighboursInTheBlock) {
  const Network network = week_of_trips();
  const ServiceDate monday = day("20251006");
  const auto noon = network.schedule({TripId("noon"), monday, Seconds(0)});
  EXPECT_EQ(noon->previous, (TripKey{TripId("early"), monday, Seconds(0)}));
  EXPECT_EQ(noon->next, (TripKey{TripId("late"), monday, Seconds(0)}));
  const auto early = network.schedule({TripId("early"), monday, Seconds(0)});
  EXPECT_EQ(early->previous, std::nullopt);
  const auto alone = network.schedule({TripId("sunday"), day("20251008"), Seconds(0)});
  EXPECT_EQ(alone->previous, std::nullopt);
  EXPECT_EQ(alone->next, std::nullopt);
  EXPECT_THAT(names(network, network.block_on(BlockId("1"), monday)),
              ElementsAre("early", "noon", "late"));
  EXPECT_THAT(network.block_on(BlockId("9"), monday), IsEmpty());
}

TEST(Schedule, HasNeitherNeighbourWithoutABlock) {
  const auto extra = week_of_trips().schedule({TripId("extra"), day("20251109"), Seconds(0)});
  EXPECT_EQ(extra->previous, std::nullopt);
  EXPECT_EQ(extra->next, std::nullopt);
}

TEST(Schedule, IsNoneForAnUnknownTrip) {
  const Network network = week_of_trips();
  EXPECT_EQ(network.schedule({TripId("ghost"), day("20251006"), Seconds(0)}), std::nullopt);
  EXPECT_EQ(network.schedule({TripId("noon"), day("20251006"), Seconds(60)}), std::nullopt);
  EXPECT_EQ(network.find_trip(TripId("ghost")), nullptr);
  EXPECT_THAT(network.trips_of(TripId("ghost")), IsEmpty());
}

TEST(Schedule, FollowsTheClockOnTheDayItChanges) {
  const AsciiMap brooklyn("A---------C", {40.64, -74.02});
  const Network network =
      build_network(timetable_on_map(brooklyn, "T1  A 01:30:00  C 03:30:00", "America/New_York"));
  // 9 March 2025: at 2:00 the clocks go to 3:00. The trip still takes two hours.
  const ScheduledTrip trip = network.schedule(network.trip(0), day("20250309"));
  EXPECT_EQ(trip.first_departure(), utc("2025-03-09T05:30:00Z"));
  EXPECT_EQ(trip.last_arrival(), utc("2025-03-09T07:30:00Z"));
}

TEST(ServiceDays, ReachBeyondMidnight) {
  const Network network = week_of_trips();
  // 00:10 on Tuesday by the local clock, an hour ahead of UTC.
  EXPECT_THAT(network.service_days(utc("2025-10-06T23:10:00Z")), ElementsAre(day("20251006")));
  EXPECT_THAT(network.service_days(utc("2025-10-07T11:00:00Z")), ElementsAre(day("20251007")));
  EXPECT_THAT(network.service_days(utc("2025-10-07T02:00:00Z")), IsEmpty());
  EXPECT_THAT(network.service_days(utc("2025-10-07T02:00:00Z"), std::chrono::hours(4)),
              ElementsAre(day("20251006"), day("20251007")));
  EXPECT_THAT(network.service_days(utc("2025-10-11T11:00:00Z")), IsEmpty());
}

TEST(ServiceDays, OfATripAreTheNearest) {
  const Network network = week_of_trips();
  const TripPlan& late = *network.find_trip(TripId("late"));
  const auto nearest = [&](const char* instant) {
    return network.nearest_service_day(late, utc(instant));
  };
  EXPECT_EQ(nearest("2025-10-06T22:55:00Z"), day("20251006"));  // under way
  EXPECT_EQ(nearest("2025-10-06T23:40:00Z"), day("20251006"));  // 20 minutes late, past midnight
  EXPECT_EQ(nearest("2025-10-07T21:00:00Z"), day("20251007"));  // early
  EXPECT_EQ(nearest("2025-10-08T11:00:00Z"), day("20251007"));  // does not run on the 8th
  EXPECT_EQ(nearest("2025-10-08T23:30:00Z"), day("20251009"));
  EXPECT_EQ(nearest("2025-12-01T12:00:00Z"), std::nullopt);
}

TEST(Trips, OfAPatternComeInOrderOfDeparture) {
  const Network network = build_network(timetable_on_map(line, R"(
    a  A 10:00:00  C 10:10:00
    b  A 09:00:00  C 09:10:00
    c  C 07:00:00  A 07:10:00
    d  A 08:00:00  C 08:10:00
  )"));
  const auto trips = network.trips_of(network.find_trip(TripId("a"))->pattern);
  EXPECT_THAT(names(network, {trips.begin(), trips.end()}), ElementsAre("d", "b", "a"));
}

class Repetitions : public ::testing::Test {
 protected:
  Timetable timetable = timetable_on_map(line, R"(
    T1 block=7  A 06:00:00  B 06:04:00/06:05:00  C 06:10:00
  )");

  void repeat(const char* first, const char* end, int headway_s) {
    timetable.frequencies.push_back({0, time_of(first), time_of(end), Seconds(headway_s)});
  }
};

TEST_F(Repetitions, LeaveEveryHeadwayUntilBeforeTheEnd) {
  repeat("08:00:00", "09:00:00", 1200);
  repeat("23:30:00", "24:30:00", 1800);
  const Network network = build_network(timetable);
  std::vector<std::string> starts;
  for (const TripPlan& trip : network.trips_of(TripId("T1"))) {
    EXPECT_EQ(trip.departure(), trip.start);
    EXPECT_EQ(trip.arrival(), trip.start + Seconds(600));
    EXPECT_EQ(trip.call(1).departure, trip.start + Seconds(300));
    starts.push_back(format_time_of_day(trip.start));
  }
  EXPECT_THAT(starts, ElementsAre("08:00:00", "08:20:00", "08:40:00", "23:30:00", "24:00:00"));
}

TEST_F(Repetitions, AreTripsOfTheirOwn) {
  repeat("08:00:00", "09:00:00", 1200);
  const Network network = build_network(timetable);
  const ServiceDate monday = day("20251006");
  EXPECT_EQ(network.find_trip(TripId("T1")), nullptr);
  const auto second = network.schedule({TripId("T1"), monday, time_of("8:20:00")});
  ASSERT_TRUE(second.has_value());
  EXPECT_EQ(second->first_departure(), utc("2025-10-06T07:20:00Z"));
  EXPECT_EQ(second->previous, (TripKey{TripId("T1"), monday, time_of("8:00:00")}));
  EXPECT_EQ(second->next, (TripKey{TripId("T1"), monday, time_of("8:40:00")}));
  EXPECT_EQ(to_string(second->key), "T1@20251006#08:20:00");
}

TEST_F(Repetitions, AreFoundByTheNearestStart) {
  repeat("08:00:00", "09:00:00", 1200);
  const Network network = build_network(timetable);
  const auto nearest = [&](const char* start) {
    return format_time_of_day(network.nearest_repetition(TripId("T1"), time_of(start))->start);
  };
  EXPECT_EQ(nearest("5:00:00"), "08:00:00");
  EXPECT_EQ(nearest("8:10:00"), "08:00:00");
  EXPECT_EQ(nearest("8:10:01"), "08:20:00");
  EXPECT_EQ(nearest("12:00:00"), "08:40:00");
  EXPECT_EQ(network.nearest_repetition(TripId("T2"), time_of("8:00:00")), nullptr);
}

TEST_F(Repetitions, AreNotMadeOfFrequenciesThatSayNothing) {
  repeat("08:00:00", "09:00:00", 0);
  repeat("08:00:00", "08:00:00", 600);
  const Network network = build_network(timetable);
  EXPECT_THAT(network.trips(), IsEmpty());
  EXPECT_EQ(network.rejections().count(rejected::frequency), 2U);
}

TEST_F(Repetitions, HaveALimit) {
  repeat("00:00:00", "900:00:00", 1);
  NetworkOptions options;
  options.max_repetitions = 100;
  const Network network = build_network(timetable, options);
  EXPECT_THAT(network.trips(), SizeIs(100));
  EXPECT_EQ(network.rejections().count(rejected::repetitions), 1U);
}

TEST_F(Repetitions, OfOverlappingFrequenciesAreThereOnce) {
  repeat("08:00:00", "09:00:00", 1800);
  repeat("08:30:00", "09:30:00", 1800);
  EXPECT_THAT(build_network(timetable).trips_of(TripId("T1")), SizeIs(3));
}

}  // namespace
}  // namespace qiv
