#include "serve/api/feed_guard.h"

#include <gmock/gmock.h>

#include "gtfs-realtime.pb.h"
#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::line_forecast;
using testing::sample_snapshot;

transit_realtime::FeedMessage message_of(const GuardedFeed& feed) {
  transit_realtime::FeedMessage message;
  EXPECT_TRUE(message.ParseFromString(feed.bytes->bytes()));
  return message;
}

Instant header_time(const GuardedFeed& feed) {
  return from_unix_seconds(static_cast<long long>(message_of(feed).header().timestamp()));
}

Snapshot later(Seconds by) {
  Snapshot snapshot = sample_snapshot();
  snapshot.now += by;
  return snapshot;
}

/// Makes the check fail: no update may be so old.
void spoil(TripForecast& forecast) {
  forecast.made = forecast.position_time = Instant(Seconds(1));
}

/// A guard for which two trips are many.
FeedGuard strict_guard() {
  FeedGuardOptions options;
  options.least_trips = 2;
  options.collapse_share = 0.9;
  return FeedGuard(options);
}

TEST(FeedGuard, ServesWhatIsRight) {
  FeedGuard guard;
  const GuardedFeed feed = guard.next(sample_snapshot());
  EXPECT_EQ(feed.trips, 2u);
  EXPECT_EQ(message_of(feed).entity_size(), 2);
  EXPECT_EQ(header_time(feed), sample_snapshot().now);
  EXPECT_EQ(feed.header_time, sample_snapshot().now);
  EXPECT_FALSE(feed.standing);
  EXPECT_EQ(feed.withheld.total(), 0u);
}

TEST(FeedGuard, WithholdsATripThatFailsAlone) {
  FeedGuard guard;
  Snapshot snapshot = sample_snapshot();
  spoil(snapshot.trips[0]);
  const GuardedFeed feed = guard.next(snapshot);
  EXPECT_FALSE(feed.standing);
  EXPECT_EQ(feed.trips, 1u);
  ASSERT_EQ(message_of(feed).entity_size(), 1);
  EXPECT_EQ(message_of(feed).entity(0).id(), "out@20250303");
  EXPECT_EQ(feed.withheld.count("fails the check: timestamp"), 1u);
  EXPECT_EQ(feed.trips_withheld, 1u);
  EXPECT_EQ(guard.next(snapshot).trips_withheld, 2u) << "added over the cycles";
}

TEST(FeedGuard, CountsWhatIsNotInTheTimetable) {
  FeedGuard guard;
  Snapshot snapshot = sample_snapshot();
  snapshot.trips[0].trip.trip = TripId("ghost");
  const GuardedFeed feed = guard.next(snapshot);
  EXPECT_EQ(feed.trips, 1u);
  EXPECT_EQ(feed.withheld.count("trip is not in the timetable"), 1u);
}

TEST(FeedGuard, TheHeaderNeverGoesBack) {
  FeedGuard guard;
  EXPECT_EQ(header_time(guard.next(later(Seconds(100)))), later(Seconds(100)).now);
  const GuardedFeed back = guard.next(sample_snapshot());
  EXPECT_EQ(header_time(back), later(Seconds(100)).now);
  EXPECT_EQ(back.trips, 2u) << "predictions go on";
  EXPECT_EQ(header_time(guard.next(later(Seconds(101)))), later(Seconds(101)).now);
}

TEST(FeedGuard, TheLastGoodFeedStandsForAWhileAndThenAnEmptyOne) {
  FeedGuard guard;
  const GuardedFeed good = guard.next(sample_snapshot());
  for (const int age : {30, 90}) {
    Snapshot bad = later(Seconds(age));
    for (TripForecast& trip : bad.trips) spoil(trip);
    const GuardedFeed standing = guard.next(bad);
    EXPECT_TRUE(standing.standing) << age;
    EXPECT_EQ(standing.bytes, good.bytes);
    EXPECT_EQ(standing.header_time, good.header_time) << "its age shows";
    EXPECT_EQ(standing.detail, "every trip fails the check");
  }
  Snapshot bad = later(Seconds(91));
  for (TripForecast& trip : bad.trips) spoil(trip);
  const GuardedFeed empty = guard.next(bad);
  EXPECT_FALSE(empty.standing);
  EXPECT_EQ(message_of(empty).entity_size(), 0);
  EXPECT_EQ(header_time(empty), bad.now);
  EXPECT_EQ(empty.feeds_withheld, 3u);
  const GuardedFeed again = guard.next(later(Seconds(92)));
  EXPECT_EQ(again.trips, 2u);
  EXPECT_EQ(again.detail, "");
}

TEST(FeedGuard, AClockThatStepsBackDoesNotLetTheFeedStandLonger) {
  FeedGuard guard;
  guard.next(later(Seconds(100)));
  std::vector<bool> standing;
  for (const int time : {160, 10, 40, 80}) {
    Snapshot bad = later(Seconds(time));
    for (TripForecast& trip : bad.trips) spoil(trip);
    standing.push_back(guard.next(bad).standing);
  }
  EXPECT_THAT(standing, ::testing::ElementsAre(true, true, true, false)) << "60 + 30 + 40 s";
}

TEST(FeedGuard, TripsThatCollapseAreNotBelieved) {
  FeedGuard guard = strict_guard();
  const GuardedFeed good = guard.next(sample_snapshot());
  Snapshot fewer = later(Seconds(10));
  fewer.trips.pop_back();
  const GuardedFeed standing = guard.next(fewer);
  EXPECT_TRUE(standing.standing);
  EXPECT_EQ(standing.bytes, good.bytes);
  EXPECT_THAT(standing.detail, HasSubstr("the trips fall from 2 to 1"));
}

TEST(FeedGuard, TripsThatGoWithTheirVehiclesAreBelieved) {
  FeedGuard guard = strict_guard();
  guard.next(sample_snapshot());
  Snapshot fewer = later(Seconds(10));
  fewer.trips.pop_back();
  fewer.vehicles[0].trip.reset();
  const GuardedFeed feed = guard.next(fewer);
  EXPECT_FALSE(feed.standing);
  EXPECT_EQ(feed.trips, 1u);
}

TEST(FeedGuard, FewTripsAreBetterThanNoneForEver) {
  FeedGuard guard = strict_guard();
  guard.next(sample_snapshot());
  std::vector<std::size_t> trips;
  for (const int time : {90, 91, 92}) {
    Snapshot fewer = later(Seconds(time));
    fewer.trips.pop_back();
    trips.push_back(guard.next(fewer).trips);
  }
  EXPECT_THAT(trips, ::testing::ElementsAre(2u, 0u, 1u));
}

}  // namespace
}  // namespace qiv
