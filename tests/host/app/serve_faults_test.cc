#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/log.h"
#include "host/app/small_city.h"
#include "publish/trip_updates.h"
#include "serve/archive_history.h"
#include "serve/live_city.h"
#include "serve/live_service.h"

namespace qiv {
namespace {

using namespace std::chrono_literals;

const TripForecast* find(const Snapshot& snapshot, const std::string& trip) {
  for (const TripForecast& forecast : snapshot.trips) {
    if (forecast.trip.trip == TripId(trip)) return &forecast;
  }
  return nullptr;
}

class ServeFaultsTest : public ::testing::Test {
 protected:
  ServeFaultsTest() { Log({LogLevel::off, "", ""}).take_library_messages(); }

  static LiveCity live_on(const City& city, Archive& archive, LiveCityOptions options = {}) {
    const std::shared_ptr<const Network> network(std::shared_ptr<const Network>(), &city.network());
    return {network, LearnedSettings(), archive,
            [&archive](const Network& of, std::shared_ptr<const HistoryBounds> bounds) {
              return archive_history(archive, of, std::move(bounds));
            },
            options};
  }

  /// Serves the first `count` reports of the trip at eight, one cycle each.
  static Snapshot serve_morning(LiveCity& live, std::size_t count) {
    const auto reports = testing::line_reports("v", "h8", Instant(monday.days()) + 8h, 130);
    Instant now;
    for (std::size_t i = 0; i < count; ++i) {
      now = reports[i].received;
      live.take(reports[i]);
      live.advance(now);
      live.store();
    }
    return live.show(now);
  }

  /// Adds positions until the archive takes not a single one more.
  static void fill(Archive& archive) {
    VehiclePosition position = testing::line_reports("w", "h5", Instant(monday.days()), 130)[0];
    for (int batch = 4096; batch > 0;) {
      std::vector<VehiclePosition> positions;
      for (int i = 0; i < batch; ++i) {
        position.received += 1s;
        positions.push_back(position);
      }
      try {
        archive.record(positions);
      } catch (const ArchiveError&) {
        batch /= 2;
      }
    }
  }

  static std::string feed_of(const Snapshot& shown) {
    return to_text(trip_updates(shown.trips, *shown.network, shown.now).message);
  }

  static inline const ServiceDate monday = *ServiceDate::parse("20250303");
  testing::SmallCity small;
};

TEST_F(ServeFaultsTest, AFullDiskIsCountedAndPredictionsGoOn) {
  City city(small.city);
  LiveCity sound = live_on(city, city.archive());
  const Snapshot expected = serve_morning(sound, 8);
  EXPECT_EQ(expected.counts.archive_failures, 0U);

  Archive full(small.folder / "full.sqlite", {ArchiveOptions::Access::write, 1ms, 200'000});
  fill(full);
  LiveCityOptions options;
  options.writer.most_rows = 4;
  LiveCity live = live_on(city, full, options);
  const Snapshot shown = serve_morning(live, 8);
  EXPECT_EQ(feed_of(shown), feed_of(expected));
  EXPECT_GT(shown.counts.archive_failures, 0U);
  EXPECT_GT(shown.counts.archive_losses, 0U);
  EXPECT_THAT(live.writer().last_error(), ::testing::HasSubstr("make room"));
}

TEST_F(ServeFaultsTest, AReadOnlyDatabaseIsCountedAndPredictionsGoOn) {
  City city(small.city);
  Archive read_only(small.city / "archive.sqlite", {ArchiveOptions::Access::read, 1ms, 0});
  LiveCity live = live_on(city, read_only);
  live.rebuild(Instant(monday.days()) + 8h);
  const Snapshot shown = serve_morning(live, 8);
  ASSERT_NE(find(shown, "h8"), nullptr);
  EXPECT_EQ(find(shown, "h8")->state, TripState::under_way);
  EXPECT_EQ(shown.counts.archive_failures, 8U);
  EXPECT_EQ(shown.counts.progress_stored, 0U);
}

TEST_F(ServeFaultsTest, ComesBackOnAFullDiskWithTripsToClose) {
  City city(small.city);
  Archive full(small.folder / "full.sqlite", {ArchiveOptions::Access::write, 1ms, 200'000});
  {
    LiveCity live = live_on(city, full);
    EXPECT_EQ(serve_morning(live, 4).counts.progress_stored, 4U);
  }
  fill(full);
  LiveCity live = live_on(city, full);
  EXPECT_NO_THROW(live.rebuild(Instant(monday.days()) + 20h));
  EXPECT_NE(find(live.show(Instant(monday.days()) + 20h), "h21"), nullptr);
}

TEST_F(ServeFaultsTest, AClockThatStepsBackAndForthIsSurvived) {
  City city(small.city);
  LiveCity live = live_on(city, city.archive());
  const Instant eight = Instant(monday.days()) + 8h;
  const std::vector<Instant> clock = {eight,       eight + 10s, eight + 5s,  // set back a little
                                      eight + 11s, eight + 3h,               // set forth
                                      eight + 60s};                          // and back again
  std::size_t reads = 0;
  std::vector<Instant> shown;
  std::vector<bool> predicted;
  std::stop_source stop;
  ServiceOptions options;
  options.cycle = 1ms;
  LiveService service(
      live, {},
      [&](std::shared_ptr<const Snapshot> snapshot) {
        shown.push_back(snapshot->now);
        predicted.push_back(!snapshot->trips.empty());
        if (shown.size() == clock.size()) stop.request_stop();
      },
      options);
  service.run(stop.get_token(), [&] { return clock[std::min(reads++, clock.size() - 1)]; });
  EXPECT_THAT(shown, ::testing::ElementsAre(eight, eight + 10s, eight + 10s, eight + 11s,
                                            eight + 3h, eight + 60s));
  EXPECT_THAT(predicted, ::testing::Each(true));
}

/// A night on which the clocks of Dublin change, with trips before, at and after the change; the
/// service day is that of the evening before.
class ClockChangeTest : public ::testing::TestWithParam<const char*> {
 protected:
  ClockChangeTest() {
    Log({LogLevel::off, "", ""}).take_library_messages();
    std::vector<testing::Departure> departures;
    for (const int minutes : {23 * 60 + 40, 24 * 60 + 20, 25 * 60, 25 * 60 + 40, 26 * 60 + 20}) {
      departures.push_back({"m" + std::to_string(minutes), std::chrono::minutes(minutes)});
    }
    testing::write_line_timetable(folder / "gtfs", "Europe/Dublin", departures, evening, evening);
    City::create(folder / "city", folder / "gtfs");
    for (const testing::Departure& departure : departures) trips.push_back(departure);
  }

  samples::TemporaryFolder folder;
  ServiceDate evening = *ServiceDate::parse(GetParam());
  std::vector<testing::Departure> trips;
};

TEST_P(ClockChangeTest, TripsRunOnTimeThroughTheNight) {
  City city(folder / "city");
  const std::shared_ptr<const Network> network(std::shared_ptr<const Network>(), &city.network());
  LiveCity live(network, LearnedSettings(), city.archive(),
                [&](const Network& of, std::shared_ptr<const HistoryBounds> bounds) {
                  return archive_history(city.archive(), of, std::move(bounds));
                });
  for (const testing::Departure& trip : trips) {
    const Instant departs = city.network().clock().at(evening, trip.time);
    const auto reports = testing::line_reports("v", trip.trip, departs, 120);
    for (const VehiclePosition& report : reports) {
      live.take(report);
      live.advance(report.received);
      ASSERT_TRUE(live.store());
      if (report.received != departs + 3min) continue;
      const Snapshot shown = live.show(report.received);
      const TripForecast* const forecast = find(shown, trip.trip);
      ASSERT_NE(forecast, nullptr) << trip.trip;
      EXPECT_EQ(forecast->trip.day, evening);
      EXPECT_EQ(forecast->state, TripState::under_way);
      EXPECT_NEAR(static_cast<double>((forecast->stops.back().arrival.time - departs).count()),
                  480.0, 5.0)
          << trip.trip;
      ASSERT_EQ(shown.vehicles.size(), 1U);
      EXPECT_EQ(shown.vehicles.front().status, VehicleStatus::under_way);
    }
  }
  const auto runs = city.archive().runs();
  ASSERT_EQ(runs.size(), trips.size());
  for (const ArchivedRun& run : runs) EXPECT_EQ(run.run.trip.day, evening);
}

INSTANTIATE_TEST_SUITE_P(BothNights, ClockChangeTest, ::testing::Values("20250329", "20251025"));

}  // namespace
}  // namespace qiv
