#include "serve/live_city.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/serve/line_service.h"
#include "publish/trip_updates.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;
using testing::key_of;
using testing::LineService;
using testing::run_over_line;

std::string feed_of(const Snapshot& snapshot) {
  return to_text(trip_updates(snapshot.trips, *snapshot.network, snapshot.now).message);
}

const TripForecast* find(const Snapshot& snapshot, const std::string& trip) {
  for (const TripForecast& forecast : snapshot.trips) {
    if (forecast.trip == key_of(trip)) return &forecast;
  }
  return nullptr;
}

class LiveCityTest : public ::testing::Test {
 protected:
  static void drive(LiveCity& city, const std::vector<VehiclePosition>& positions, Instant until) {
    for (const VehiclePosition& position : positions) {
      if (position.received <= until) city.take(position);
    }
    city.advance(until);
    EXPECT_TRUE(city.store());
  }

  LineService line;
};

TEST_F(LiveCityTest, ShowsTripsAndVehicles) {
  LiveCity city = line.city();
  drive(city, run_over_line("v", "out", at("08:02:00")), at("08:03:00"));
  const Snapshot shown = city.show(at("08:03:00"));
  EXPECT_EQ(shown.serial, 1U);
  ASSERT_NE(find(shown, "out"), nullptr);
  EXPECT_EQ(find(shown, "out")->state, TripState::under_way);
  ASSERT_EQ(shown.vehicles.size(), 1U);
  const VehicleView& vehicle = shown.vehicles.front();
  EXPECT_EQ(vehicle.status, VehicleStatus::under_way);
  EXPECT_EQ(vehicle.trip, key_of("out"));
  EXPECT_EQ(vehicle.route, RouteId("r"));
  EXPECT_NEAR(vehicle.offset_m.value(), 500.0, 1.0);
  EXPECT_EQ(vehicle.lateness, Seconds(120));
  EXPECT_EQ(shown.counts.positions_taken, 3U);
  EXPECT_EQ(shown.counts.progress_stored, 3U);
}

TEST_F(LiveCityTest, FinishedTripsAreInTheArchiveAndInTheHistories) {
  LiveCity city = line.city();
  drive(city, run_over_line("v", "out", at("08:00:00"), 150), at("08:20:00"));
  EXPECT_EQ(line.archive.summary().runs, 1U);
  EXPECT_EQ(line.archive.summary().under_way, 0U);
  const Snapshot shown = city.show(at("08:30:00"));
  EXPECT_EQ(shown.counts.trips_finished, 1U);
  EXPECT_EQ(shown.counts.trips_learned, 1U);
  ASSERT_NE(find(shown, "later"), nullptr);
  EXPECT_EQ(find(shown, "later")->basis, ForecastBasis::history);
  EXPECT_EQ(find(shown, "later")->stops.back().arrival.time, at("09:10:00"));
}

TEST_F(LiveCityTest, GoesOnAfterARestartAsItWouldHave) {
  const auto first = run_over_line("v", "out", at("08:00:00"), 150);
  auto second = run_over_line("w", "later", at("09:01:00"), 130);
  LiveCity whole = line.city();
  drive(whole, first, at("08:20:00"));
  drive(whole, second, at("09:05:00"));
  const std::string expected = feed_of(whole.show(at("09:05:00")));
  ASSERT_THAT(expected, ::testing::HasSubstr("later"));

  LiveCity restarted = line.city();
  restarted.rebuild(at("09:05:00"));
  EXPECT_EQ(feed_of(restarted.show(at("09:05:00"))), expected);
  const VehiclePosition next = second[9];
  whole.take(next);
  restarted.take(next);
  whole.advance(at("09:06:00"));
  restarted.advance(at("09:06:00"));
  EXPECT_EQ(feed_of(restarted.show(at("09:06:00"))), feed_of(whole.show(at("09:06:00"))));
}

/// Each report received again every second until the next one comes.
std::vector<VehiclePosition> repeated(const std::vector<VehiclePosition>& reports) {
  std::vector<VehiclePosition> received;
  for (std::size_t i = 0; i < reports.size(); ++i) {
    VehiclePosition again = reports[i];
    do {
      received.push_back(again);
      again.received += Seconds(1);
    } while (i + 1 < reports.size() && again.received < reports[i + 1].received);
  }
  return received;
}

TEST_F(LiveCityTest, RepeatedReportsAreStoredNowAndThen) {
  LiveCity city = line.city();
  drive(city, repeated(run_over_line("v", "out", at("08:00:00"), 400)), at("08:20:00"));
  const auto stored = line.archive.positions(at("07:00:00"), at("09:00:00"));
  EXPECT_EQ(stored.size(), 12u * 4u + 1u) << "each 100 s a report, stored after 0, 30, 60, 90 s";
  VehiclePosition elsewhere = run_over_line("v", "out", at("08:21:00")).front();
  city.take(elsewhere);
  elsewhere.place = testing::place_at(3000.0);
  elsewhere.received += Seconds(1);
  city.take(elsewhere);
  EXPECT_TRUE(city.store());
  EXPECT_EQ(line.archive.positions(at("07:00:00"), at("09:00:00")).size(), stored.size() + 2)
      << "the same time with another place is no repetition";
}

TEST_F(LiveCityTest, GoesOnAfterARestartThoughReportsWereRepeated) {
  const auto received = repeated(run_over_line("v", "out", at("08:00:00"), 400));
  const Instant crash = at("08:07:17");
  LiveCity whole = line.city();
  drive(whole, received, crash);
  LiveCity restarted = line.city();
  restarted.rebuild(crash);
  for (const VehiclePosition& position : received) {
    if (position.received != crash + Seconds(1)) continue;
    whole.take(position);
    restarted.take(position);
  }
  const Snapshot shown = whole.show(crash + Seconds(1));
  ASSERT_NE(find(shown, "out"), nullptr);
  EXPECT_EQ(find(shown, "out")->state, TripState::overdue);
  EXPECT_EQ(feed_of(restarted.show(crash + Seconds(1))), feed_of(shown));
}

TEST_F(LiveCityTest, AQuickRestartKnowsWhatWasStoredUnderTheNextSecond) {
  const auto reports = run_over_line("v", "out", at("08:00:00"), 120);
  LiveCity city = line.city();
  drive(city, {reports[0], reports[1], reports[2]}, reports[2].received);
  LiveCity restarted = line.city();
  restarted.rebuild(reports[2].received - Seconds(1));
  EXPECT_EQ(line.archive.summary().under_way, 1U);
  EXPECT_EQ(feed_of(restarted.show(reports[2].received)), feed_of(city.show(reports[2].received)));
}

TEST_F(LiveCityTest, ClosesWhatWasUnderWayBeforeALongStop) {
  {
    LiveCity city = line.city();
    drive(city, run_over_line("v", "out", at("08:00:00")), at("08:03:00"));
  }
  ASSERT_EQ(line.archive.summary().under_way, 1U);
  LiveCity city = line.city();
  city.rebuild(at("20:00:00"));
  EXPECT_EQ(line.archive.summary().under_way, 0U);
  EXPECT_EQ(line.archive.summary().runs, 1U);
}

TEST_F(LiveCityTest, TripsOnTheRoadFinishOnTheTimetableThatTheyBeganOn) {
  LiveCity city = line.city();
  const auto positions = run_over_line("v", "out", at("08:00:00"), 150);
  drive(city, positions, at("08:03:00"));
  Timetable changed = testing::straight_timetable();
  changed.stops[1].place = testing::place_at(1200.0);
  city.use_timetable(std::make_shared<Network>(build_network(changed)), at("08:03:00"));
  const Snapshot shown = city.show(at("08:03:00"));
  ASSERT_NE(find(shown, "out"), nullptr);
  EXPECT_EQ(find(shown, "out")->state, TripState::under_way);
  EXPECT_NE(find(shown, "out")->pattern, city.network().patterns().front().ref);
  for (const VehiclePosition& position : positions) {
    if (position.received > at("08:03:00")) city.take(position);
  }
  city.advance(at("08:11:00"));
  city.store();
  EXPECT_EQ(line.archive.summary().runs, 1U);
  EXPECT_EQ(line.archive.summary().under_way, 0U);
}

TEST_F(LiveCityTest, HistoriesStayForPatternsThatStay) {
  LiveCity city = line.city();
  drive(city, run_over_line("v", "out", at("08:00:00"), 150), at("08:20:00"));
  city.use_timetable(std::make_shared<Network>(testing::straight_network()), at("08:21:00"));
  const Snapshot shown = city.show(at("08:30:00"));
  ASSERT_NE(find(shown, "later"), nullptr);
  EXPECT_EQ(find(shown, "later")->basis, ForecastBasis::history);
}

TEST_F(LiveCityTest, AVehicleThatBeginsAnotherTripAfterTheChangeIsOnTheNewTimetable) {
  LiveCity city = line.city();
  drive(city, run_over_line("v", "out", at("08:00:00")), at("08:03:00"));
  city.use_timetable(std::make_shared<Network>(testing::straight_network()), at("08:03:00"));
  city.take(fix("v", "later", "08:40:00", 0));
  city.advance(at("08:40:00"));
  const Snapshot shown = city.show(at("08:40:00"));
  EXPECT_EQ(shown.vehicles.front().trip, key_of("later"));
  ASSERT_NE(find(shown, "later"), nullptr);
  EXPECT_EQ(find(shown, "later")->state, TripState::waiting);
}

TEST_F(LiveCityTest, NewSettingsKeepTheVehiclesOnTheRoad) {
  LiveCity city = line.city();
  drive(city, run_over_line("v", "out", at("08:00:00"), 150), at("08:03:00"));
  const std::string before = feed_of(city.show(at("08:03:00")));
  city.use_settings(line.settings, at("08:03:00"));
  EXPECT_EQ(feed_of(city.show(at("08:03:00"))), before);
  city.advance(at("08:03:00"));
  EXPECT_EQ(feed_of(city.show(at("08:03:00"))), before);
  LearnedSettings wide = line.settings;
  wide.calibration = Calibration();
  wide.turnaround = Seconds(900);
  city.use_settings(wide, at("08:03:00"));
  city.advance(at("08:03:00"));
  EXPECT_NE(find(city.show(at("08:03:00")), "out"), nullptr);
}

TEST_F(LiveCityTest, NewSettingsComeIntoForceWhenTheirEngineHasComeAsFar) {
  LearnedSettings wide = line.settings;
  for (auto& of_state : wide.calibration.quantiles) {
    for (BoundQuantiles& quantiles : of_state) quantiles.floor_s = 60.0;
  }
  LineService other;
  other.settings = wide;
  LiveCity expected = other.city();
  LiveCityOptions options;
  options.replayed_at_once = 1;
  LiveCity city = line.city(options);
  std::vector<VehiclePosition> positions = run_over_line("w", "later", at("07:57:00"), 31);
  const std::vector<VehiclePosition> second = run_over_line("v", "out", at("08:00:00"), 600);
  positions.insert(positions.end(), second.begin(), second.end());

  bool is_renewed = false;
  std::size_t steps = 0;
  for (Instant now = at("07:57:00"); now <= at("08:20:00"); now += Seconds(1)) {
    for (LiveCity* const each : {&expected, &city}) {
      for (const VehiclePosition& position : positions) {
        if (position.received == now) each->take(position);
      }
      each->advance(now);
      each->store();
    }
    if (now == at("08:05:00")) city.use_settings(wide, now);
    if (now <= at("08:05:00")) continue;
    const bool is_same = feed_of(city.show(now)) == feed_of(expected.show(now));
    if (!is_renewed) ++steps;
    EXPECT_TRUE(is_same || !is_renewed) << format_utc(now);
    is_renewed = is_renewed || is_same;
  }
  EXPECT_TRUE(is_renewed);
  EXPECT_GT(steps, 3U) << "it was done at once";
}

TEST_F(LiveCityTest, ShowsARecordedDayWithoutRecording) {
  LiveCityOptions options;
  options.records = false;
  options.history_until = at("03:00:00");
  LiveCity city = line.city(options);
  drive(city, run_over_line("v", "out", at("08:00:00")), at("08:20:00"));
  EXPECT_EQ(line.archive.summary().positions, 0U);
  EXPECT_EQ(line.archive.summary().runs, 0U);
  EXPECT_EQ(city.show(at("08:30:00")).counts.trips_learned, 1U);
}

TEST_F(LiveCityTest, ExplainsATripUnderWayOnly) {
  LiveCity city = line.city();
  drive(city, run_over_line("w", "later", at("07:00:00"), 150), at("07:20:00"));
  drive(city, run_over_line("v", "out", at("08:00:00"), 150), at("08:03:00"));
  ASSERT_TRUE(city.explain_trip(key_of("out")));
  EXPECT_FALSE(city.explain_trip(key_of("later")));
  EXPECT_NEAR(city.delay_s(key_of("out")).value(), 30.0, 8.0);
  EXPECT_FALSE(city.delay_s(key_of("later")));
}

}  // namespace
}  // namespace qiv
