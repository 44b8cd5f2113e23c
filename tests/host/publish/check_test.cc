#include "publish/check.h"

#include <gmock/gmock.h>

#include <ostream>

#include "host/publish/small_network.h"
#include "publish/trip_updates.h"

namespace qiv {

void PrintTo(const FeedViolation& violation, std::ostream* out) {
  *out << violation.entity << ": " << to_string(violation.rule) << ": " << violation.detail;
}

namespace {

using ::testing::AllOf;
using testing::at;
using ::testing::ElementsAre;
using ::testing::Field;
using testing::forecast_of;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::small_network;
using transit_realtime::FeedMessage;
using transit_realtime::TripUpdate;
using StopTimeUpdate = TripUpdate::StopTimeUpdate;

auto violation(FeedRule rule, const std::string& entity) {
  return AllOf(Field("rule", &FeedViolation::rule, rule),
               Field("entity", &FeedViolation::entity, entity));
}

/// Two trips without fault, of which each test spoils one.
class CheckTest : public ::testing::Test {
 protected:
  CheckTest() {
    const std::vector forecasts = {forecast_of(network, "T1", "07:58:00", {},
                                               {"08:00:10", "08:05:30", "08:15:00", "08:26:00"}),
                                   forecast_of(network, "R", "07:58:00", {},
                                               {"10:00:00", "10:05:00", "10:15:00", "10:25:00"})};
    message = trip_updates(forecasts, network, at("07:58:00")).message;
  }

  TripUpdate& update() { return *message.mutable_entity(0)->mutable_trip_update(); }
  TripUpdate& repetition() { return *message.mutable_entity(1)->mutable_trip_update(); }
  StopTimeUpdate& stop(int i) { return *update().mutable_stop_time_update(i); }
  std::vector<FeedViolation> check(const FeedCheckOptions& options = {}) const {
    return check_feed(message, network, options);
  }

  const std::string T1 = "T1@20251001";
  const std::string R = "R@20251001#10:00:00";
  const Network network = small_network();
  FeedMessage message;
};

TEST_F(CheckTest, GoodMessagePasses) {
  ASSERT_EQ(message.entity_size(), 2);
  EXPECT_THAT(check(), IsEmpty());
}

TEST_F(CheckTest, AnEntityAloneIsHeldToItsOwnRules) {
  message.clear_header();
  EXPECT_THAT(check_entity(message.entity(0), network), IsEmpty());
  update().set_timestamp(0);
  stop(1).set_stop_id("nowhere");
  EXPECT_THAT(check_entity(message.entity(0), network),
              ElementsAre(violation(FeedRule::timestamp, T1), violation(FeedRule::stop_known, T1)));
}

TEST_F(CheckTest, Version) {
  message.mutable_header()->set_gtfs_realtime_version("2");
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::version, "")));
}

TEST_F(CheckTest, Incrementality) {
  message.mutable_header()->clear_incrementality();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::incrementality, "")));
  message.mutable_header()->set_incrementality(transit_realtime::FeedHeader::DIFFERENTIAL);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::incrementality, "")));
}

TEST_F(CheckTest, HeaderTimeMissingOrInMilliseconds) {
  message.mutable_header()->clear_timestamp();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::header_time, "")));
  message.mutable_header()->set_timestamp(1'759'302'600'000);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::header_time, "")));
}

TEST_F(CheckTest, HeaderTimeRunsBackwards) {
  FeedCheckOptions options;
  options.previous_header = at("07:58:00");
  EXPECT_THAT(check(options), IsEmpty());
  options.previous_header = at("07:58:01");
  EXPECT_THAT(check(options), ElementsAre(violation(FeedRule::header_backwards, "")));
}

TEST_F(CheckTest, HeaderFarFromTheClock) {
  FeedCheckOptions options;
  options.now = at("07:59:30");
  EXPECT_THAT(check(options), IsEmpty());
  options.now = at("07:59:31");
  EXPECT_THAT(check(options), ElementsAre(violation(FeedRule::header_age, "")));
  options.now = at("07:56:29");
  EXPECT_THAT(check(options), ElementsAre(violation(FeedRule::header_age, "")));
}

TEST_F(CheckTest, EntityIdMissingOrTwice) {
  message.mutable_entity(0)->set_id("");
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::entity_id, "")));
  message.mutable_entity(0)->set_id(R);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::entity_id, R)));
}

TEST_F(CheckTest, EntityOfAnotherKind) {
  message.mutable_entity(0)->set_is_deleted(true);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::entity_kind, T1)));
  message.mutable_entity(0)->set_is_deleted(false);
  message.mutable_entity(0)->clear_trip_update();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::entity_kind, T1)));
}

TEST_F(CheckTest, UnknownTrip) {
  update().mutable_trip()->set_trip_id("T99");
  EXPECT_THAT(check(), ElementsAre(AllOf(violation(FeedRule::trip_id, T1),
                                         Field(&FeedViolation::detail, HasSubstr("'T99'")))));
}

TEST_F(CheckTest, TripTwiceUnderDifferentIds) {
  *message.add_entity() = message.entity(0);
  message.mutable_entity(2)->set_id("other");
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::trip_once, "other")));
}

TEST_F(CheckTest, StartDateMissingOrWronglyWritten) {
  for (const char* date : {"", "2025-10-01", "20251301"}) {
    update().mutable_trip()->set_start_date(date);
    EXPECT_THAT(check(), ElementsAre(violation(FeedRule::start_date, T1))) << date;
  }
}

TEST_F(CheckTest, TripOutOfService) {
  update().mutable_trip()->set_start_date("20251004");  // Saturday
  update().mutable_trip()->set_schedule_relationship(transit_realtime::TripDescriptor::CANCELED);
  update().clear_stop_time_update();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::start_date, T1)));
}

TEST_F(CheckTest, StartTimeOfAnotherDeparture) {
  update().mutable_trip()->set_start_time("08:00:00");
  EXPECT_THAT(check(), IsEmpty());
  update().mutable_trip()->set_start_time("08:01:00");
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::start_time, T1)));
}

TEST_F(CheckTest, StartTimeOfNoRepetition) {
  for (const char* time : {"", "10:10:00", "soon"}) {
    repetition().mutable_trip()->set_start_time(time);
    EXPECT_THAT(check(), ElementsAre(violation(FeedRule::start_time, R))) << time;
  }
}

TEST_F(CheckTest, RouteAndDirectionOfAnotherTrip) {
  update().mutable_trip()->set_route_id("L2");
  repetition().mutable_trip()->set_direction_id(0);
  EXPECT_THAT(check(),
              ElementsAre(violation(FeedRule::route_id, T1), violation(FeedRule::direction_id, R)));
}

TEST_F(CheckTest, TimestampMissingOrLateOrOld) {
  const auto header = message.header().timestamp();
  update().clear_timestamp();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::timestamp, T1)));
  update().set_timestamp(header + 1);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::timestamp, T1)));
  update().set_timestamp(header - 3600);
  EXPECT_THAT(check(), IsEmpty());
  update().set_timestamp(header - 3601);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::timestamp, T1)));
}

TEST_F(CheckTest, NoStopsUnlessCancelled) {
  update().clear_stop_time_update();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::has_stops, T1)));
  update().mutable_trip()->set_schedule_relationship(transit_realtime::TripDescriptor::CANCELED);
  EXPECT_THAT(check(), IsEmpty());
}

TEST_F(CheckTest, StopThatTheTripDoesNotHave) {
  stop(1).set_stop_sequence(4);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::stop_known, T1)));
  stop(1).set_stop_sequence(5);
  EXPECT_THAT(check(), ElementsAre(AllOf(violation(FeedRule::stop_known, T1),
                                         Field(&FeedViolation::detail,
                                               "stop 5 ('MARKET') is 'PARK' in the timetable"))));
  stop(1).clear_stop_sequence();
  EXPECT_THAT(check(), IsEmpty());
  stop(1).set_stop_id("AIRPORT");
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::stop_known, T1)));
}

TEST_F(CheckTest, StopsTwiceOrOutOfOrder) {
  *update().add_stop_time_update() = stop(3);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::stop_order, T1)));
  update().mutable_stop_time_update()->RemoveLast();
  update().mutable_stop_time_update()->SwapElements(1, 2);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::stop_order, T1),
                                   violation(FeedRule::times_increase, T1),
                                   violation(FeedRule::times_increase, T1)));
}

TEST_F(CheckTest, ScheduledStopWithoutTimes) {
  stop(1).clear_arrival();
  EXPECT_THAT(check(), IsEmpty());
  stop(1).mutable_arrival();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::stop_time_present, T1)));
  stop(1).clear_arrival();
  stop(1).clear_departure();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::stop_time_present, T1)));
}

TEST_F(CheckTest, StopWithoutDataHasNoTimes) {
  stop(2).set_schedule_relationship(StopTimeUpdate::NO_DATA);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::stop_time_absent, T1)));
  stop(2).clear_arrival();
  stop(2).clear_departure();
  EXPECT_THAT(check(), IsEmpty());
  stop(2).set_schedule_relationship(StopTimeUpdate::SKIPPED);
  stop(2).mutable_departure()->set_delay(0);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::stop_time_absent, T1)));
}

TEST_F(CheckTest, TimeFarFromTheTimetable) {
  stop(3).mutable_arrival()->set_time(unix_seconds(at("08:25:00")) + 24LL * 3600 + 1);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::plausible_time, T1)));
  stop(3).mutable_arrival()->set_time(0);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::plausible_time, T1)));
}

TEST_F(CheckTest, DelayThatContradictsTheTime) {
  stop(3).mutable_arrival()->set_delay(59);
  EXPECT_THAT(check(), ElementsAre(AllOf(violation(FeedRule::delay, T1),
                                         Field(&FeedViolation::detail, HasSubstr("delay 59 s")))));
}

TEST_F(CheckTest, NegativeUncertainty) {
  stop(1).mutable_departure()->set_uncertainty(-1);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::uncertainty, T1)));
}

TEST_F(CheckTest, DepartureBeforeArrival) {
  stop(1).mutable_departure()->set_time(stop(1).arrival().time() - 1);
  stop(1).mutable_departure()->clear_delay();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::dwell, T1)));
}

TEST_F(CheckTest, ArrivalBeforeTheDepartureOfTheStopBefore) {
  stop(2).mutable_arrival()->set_time(stop(1).departure().time() - 1);
  stop(2).mutable_arrival()->clear_delay();
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::times_increase, T1)));
}

TEST_F(CheckTest, DelayAloneIsReadAsATime) {
  stop(2).mutable_arrival()->clear_time();
  stop(2).mutable_arrival()->set_delay(-10 * 60);
  EXPECT_THAT(check(), ElementsAre(violation(FeedRule::times_increase, T1)));
}

TEST_F(CheckTest, EveryRuleHasAName) {
  EXPECT_STREQ(to_string(FeedRule::version), "version");
  EXPECT_STREQ(to_string(FeedRule::times_increase), "times_increase");
}

}  // namespace
}  // namespace qiv
