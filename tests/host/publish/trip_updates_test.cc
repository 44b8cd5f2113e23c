#include "publish/trip_updates.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "differential/property.h"
#include "host/publish/small_network.h"
#include "publish/check.h"
#include "publish/published_trip.h"

namespace qiv {
namespace {

using testing::at;
using testing::first_of_october;
using testing::forecast_of;
using testing::small_network;
using transit_realtime::TripDescriptor;
using transit_realtime::TripUpdate;

class TripUpdatesTest : public ::testing::Test {
 protected:
  TripUpdateFeed feed(Instant time, const TripUpdateOptions& options = {}) const {
    return trip_updates(std::vector{forecast}, network, time, options);
  }
  TripUpdate update(Instant time, const TripUpdateOptions& options = {}) const {
    const TripUpdateFeed made = feed(time, options);
    return made.message.entity_size() == 1 ? made.message.entity(0).trip_update() : TripUpdate();
  }

  const Network network = small_network();
  /// Two minutes late; it is 08:10 and the vehicle has left Market.
  TripForecast forecast =
      forecast_of(network, "T1", "08:10:00", {"08:02:00", "08:07:00"}, {"08:17:00", "08:27:00"});
};

TEST_F(TripUpdatesTest, TravelTimesAreCountedAndLeftOut) {
  forecast = testing::legs_of(network, "T1", "08:10:00", 1, {310, 540, 600});
  const TripUpdateFeed made = feed(at("08:10:00"));
  EXPECT_EQ(made.message.entity_size(), 0);
  EXPECT_EQ(made.withheld.count(withheld::no_arrivals), 1U);
}

TEST_F(TripUpdatesTest, TextOfAWholeMessage) {
  EXPECT_EQ(to_text(feed(at("08:10:00")).message), R"(header {
  gtfs_realtime_version: "2.0"
  incrementality: FULL_DATASET
  timestamp: 1759302600
  feed_version: "autumn"
}
entity {
  id: "T1@20251001"
  trip_update {
    trip {
      trip_id: "T1"
      start_date: "20251001"
      schedule_relationship: SCHEDULED
      route_id: "L1"
      direction_id: 1
    }
    stop_time_update {
      stop_sequence: 5
      arrival {
        delay: 120
        time: 1759303020
        uncertainty: 60
      }
      departure {
        delay: 140
        time: 1759303040
        uncertainty: 60
      }
      stop_id: "PARK"
    }
    stop_time_update {
      stop_sequence: 6
      arrival {
        delay: 120
        time: 1759303620
        uncertainty: 60
      }
      stop_id: "HARBOUR"
    }
    vehicle {
      id: "V7"
    }
    timestamp: 1759302585
  }
}
)");
}

TEST_F(TripUpdatesTest, BytesAreTheMessage) {
  const TripUpdateFeed made = feed(at("08:10:00"));
  transit_realtime::FeedMessage read;
  ASSERT_TRUE(read.ParseFromString(to_bytes(made.message)));
  EXPECT_EQ(to_text(read), to_text(made.message));
}

TEST_F(TripUpdatesTest, FirstStopIsOnlyLeft) {
  const TripUpdate made = update(at("07:59:00"));
  ASSERT_EQ(made.stop_time_update_size(), 4);
  EXPECT_FALSE(made.stop_time_update(0).has_arrival());
  EXPECT_EQ(made.stop_time_update(0).departure().delay(), 140);
}

TEST_F(TripUpdatesTest, PassedStopStaysUntilItsScheduledTime) {
  forecast =
      forecast_of(network, "T1", "08:05:00", {"08:00:00", "08:04:00"}, {"08:14:00", "08:24:00"});
  const TripUpdate early = update(at("08:06:00"));  // Market's scheduled departure
  ASSERT_EQ(early.stop_time_update_size(), 3);
  EXPECT_EQ(early.stop_time_update(0).stop_id(), "MARKET");
  EXPECT_EQ(early.stop_time_update(0).arrival().time(), unix_seconds(at("08:04:00")));
  EXPECT_EQ(early.stop_time_update(0).arrival().delay(), -60);
  EXPECT_TRUE(early.stop_time_update(0).arrival().has_uncertainty());
  EXPECT_EQ(early.stop_time_update(0).arrival().uncertainty(), 0);
  EXPECT_EQ(update(at("08:06:01")).stop_time_update(0).stop_id(), "PARK");
}

TEST_F(TripUpdatesTest, ForecastIsNeverCertain) {
  BoundedTime& exact = forecast.stops.edit()[2].arrival;
  exact.lower_68 = exact.upper_68 = exact.time;
  forecast.stops.edit()[3].arrival.lower_68 = forecast.stops[3].arrival.upper_68 - Seconds(121);
  const TripUpdate made = update(at("08:10:00"));
  EXPECT_EQ(made.stop_time_update(0).arrival().uncertainty(), 1);
  EXPECT_EQ(made.stop_time_update(1).arrival().uncertainty(), 61);
}

TEST_F(TripUpdatesTest, NoDataFromTheHorizonOn) {
  forecast =
      forecast_of(network, "T1", "08:02:00", {"08:02:00"}, {"08:07:00", "08:17:00", "08:27:00"});
  const TripUpdate all = update(at("08:02:00"), {Seconds(25 * 60)});
  EXPECT_EQ(all.stop_time_update(2).schedule_relationship(), TripUpdate::StopTimeUpdate::SCHEDULED);
  const TripUpdate some = update(at("08:02:00"), {Seconds(15 * 60 - 1)});
  ASSERT_EQ(some.stop_time_update_size(), 2);
  EXPECT_EQ(some.stop_time_update(1).stop_id(), "PARK");
  EXPECT_EQ(some.stop_time_update(1).schedule_relationship(), TripUpdate::StopTimeUpdate::NO_DATA);
  EXPECT_FALSE(some.stop_time_update(1).has_arrival());
}

TEST_F(TripUpdatesTest, NothingToSayIsLeftOut) {
  EXPECT_EQ(feed(at("08:10:00"), {Seconds(60)}).message.entity_size(), 0);
  forecast =
      forecast_of(network, "T1", "08:30:00", {"08:00:00", "08:05:00", "08:15:00", "08:24:00"}, {});
  EXPECT_EQ(feed(at("08:25:00")).message.entity_size(), 1);
  EXPECT_EQ(feed(at("08:25:01")).message.entity_size(), 0);
}

TEST_F(TripUpdatesTest, RepetitionIsNamedByItsStart) {
  forecast =
      forecast_of(network, "R", "10:00:00", {}, {"10:00:00", "10:05:00", "10:15:00", "10:25:00"});
  const TripUpdateFeed made = feed(at("10:00:00"));
  EXPECT_EQ(made.message.entity(0).id(), "R@20251001#10:00:00");
  const TripDescriptor& trip = made.message.entity(0).trip_update().trip();
  EXPECT_EQ(trip.start_time(), "10:00:00");
  EXPECT_FALSE(trip.has_schedule_relationship());
}

TEST_F(TripUpdatesTest, TimestampIsThatOfThePositionOrOfTheForecast) {
  EXPECT_EQ(update(at("08:09:00")).timestamp(),
            static_cast<std::uint64_t>(unix_seconds(at("08:09:00"))))
      << "not after the header's";
  forecast.position_time = Instant();
  EXPECT_EQ(update(at("08:11:00")).timestamp(),
            static_cast<std::uint64_t>(unix_seconds(at("08:10:00"))));
}

TEST_F(TripUpdatesTest, VehicleOnlyWhenKnown) {
  EXPECT_EQ(update(at("08:10:00")).vehicle().id(), "V7");
  forecast.vehicle = VehicleId();
  EXPECT_FALSE(update(at("08:10:00")).has_vehicle());
}

TEST_F(TripUpdatesTest, ATripOnceOnly) {
  TripForecast second = forecast;
  second.vehicle = VehicleId("V8");
  TripForecast unknown = forecast;
  unknown.trip.trip = TripId("T99");
  const TripUpdateFeed made =
      trip_updates(std::vector{forecast, unknown, second}, network, at("08:10:00"));
  ASSERT_EQ(made.message.entity_size(), 1);
  EXPECT_EQ(made.message.entity(0).trip_update().vehicle().id(), "V7");
  EXPECT_EQ(made.withheld.count(withheld::second_forecast), 1U);
  EXPECT_EQ(made.withheld.count(withheld::unknown_trip), 1U);
}

TripForecast arbitrary_forecast(const Network& network) {
  TripForecast forecast;
  const auto& plan = network.trips()[*rc::gen::inRange<std::size_t>(0, network.trips().size())];
  forecast.trip = {plan.id, first_of_october + std::chrono::days(*rc::gen::inRange(0, 3)),
                   plan.start};
  const ScheduledTrip schedule = network.schedule(plan, forecast.trip.day);
  forecast.made = schedule.first_departure() + Seconds(*rc::gen::inRange(-3600, 3600));
  forecast.position_time = forecast.made - Seconds(*rc::gen::inRange(-60, 600));
  if (*rc::gen::arbitrary<bool>()) forecast.vehicle = VehicleId("V");
  const std::size_t passed = *rc::gen::inRange<std::size_t>(0, 5);
  const auto jitter = [] { return Seconds(*rc::gen::inRange(-1500, 1500)); };
  for (std::size_t i = 0; i < plan.size(); ++i) {
    StopForecast stop;
    stop.stop = network.pattern(plan.pattern).stops[i].stop;
    stop.stop_sequence = plan.call(i).sequence;
    stop.observed = i < passed;
    for (Instant BoundedTime::*field :
         {&BoundedTime::time, &BoundedTime::lower_68, &BoundedTime::upper_68,
          &BoundedTime::lower_90, &BoundedTime::upper_90}) {
      stop.arrival.*field = schedule.arrival(i) + jitter();
    }
    stop.departure = schedule.departure(i) + jitter();
    forecast.stops.edit().push_back(stop);
  }
  return forecast;
}

TEST_F(TripUpdatesTest, WhateverIsForecastPassesTheCheck) {
  differential::check(200, [this] {
    const auto count = *rc::gen::inRange<std::size_t>(0, 8);
    std::vector<TripForecast> forecasts;
    Instant latest = at("08:00:00");
    for (std::size_t i = 0; i < count; ++i) {
      forecasts.push_back(arbitrary_forecast(network));
      latest = std::max(latest, forecasts.back().made);
    }
    TripUpdateOptions options;
    if (*rc::gen::arbitrary<bool>()) options.horizon = Seconds(*rc::gen::inRange(0, 3600));
    const TripUpdateFeed made = trip_updates(forecasts, network, latest, options);
    FeedCheckOptions check;
    check.greatest_entity_age = Seconds(4 * 24 * 3600);
    check.now = latest;
    for (const FeedViolation& violation : check_feed(made.message, network, check)) {
      RC_LOG() << violation.entity << ": " << to_string(violation.rule) << ": " << violation.detail
               << "\n";
      RC_FAIL("violation");
    }
  });
}

TEST_F(TripUpdatesTest, ACanceledTripHasNoStops) {
  forecast.state = TripState::canceled;
  const TripUpdateFeed made = feed(at("08:10:00"));
  ASSERT_EQ(made.message.entity_size(), 1);
  EXPECT_EQ(made.message.entity(0).trip_update().trip().schedule_relationship(),
            TripDescriptor::CANCELED);
  EXPECT_EQ(made.message.entity(0).trip_update().stop_time_update_size(), 0);
  EXPECT_THAT(check_feed(made.message, network), ::testing::IsEmpty());
}

TEST_F(TripUpdatesTest, ASkippedStopHasNoTimes) {
  forecast.stops.edit()[2].skipped = true;
  const TripUpdateFeed made = feed(at("08:10:00"));
  ASSERT_EQ(made.message.entity_size(), 1);
  const TripUpdate& skipping = made.message.entity(0).trip_update();
  ASSERT_EQ(skipping.stop_time_update_size(), 2);
  EXPECT_EQ(skipping.stop_time_update(0).schedule_relationship(),
            TripUpdate::StopTimeUpdate::SKIPPED);
  EXPECT_FALSE(skipping.stop_time_update(0).has_arrival());
  EXPECT_FALSE(skipping.stop_time_update(0).has_departure());
  EXPECT_TRUE(skipping.stop_time_update(1).has_arrival());
  EXPECT_THAT(check_feed(made.message, network), ::testing::IsEmpty());
}

}  // namespace
}  // namespace qiv
