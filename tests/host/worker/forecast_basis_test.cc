#include "worker/forecast_basis.h"

#include <gtest/gtest.h>

#include "engine/engine.h"
#include "host/support/straight_line.h"
#include "track/tracker.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;

/// An engine that has seen six trips, and a vehicle on its way.
class ForecastBasisTest : public ::testing::Test {
 protected:
  ForecastBasisTest() {
    for (int i = 0; i < 6; ++i) history.push_back(trajectory(i));
    Tracker tracker(network);
    std::vector<TrackEvent> events;
    for (const auto& report : {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:10", 500),
                               fix("v", "out", "08:02:20", 1000)}) {
      tracker.update(report, events);
    }
    for (const TrackEvent& event : events) engine.apply(event);
  }

  /// The trip of some days before, a little slower each day.
  Trajectory trajectory(int days) const {
    const auto schedule = network.schedule(key);
    const JourneyPattern& pattern = network.pattern(schedule->pattern());
    TripRun run{VehicleId("u"), key, pattern.ref, {}};
    run.trip.day = key.day - std::chrono::days(10 - days);
    for (int i = 0; i <= 16; ++i) {
      Progress progress;
      progress.time = at("08:00:00") - std::chrono::days(10 - days) + Seconds((30 + days) * i);
      progress.received = progress.time;
      progress.offset_m = 250.0 * i;
      run.progress.push_back(progress);
    }
    auto made = make_trajectory(run, pattern, make_grid(pattern, 250.0).milestones_m);
    std::get<Trajectory>(made).finished = run.progress.back().received;
    return std::get<Trajectory>(made);
  }

  HistorySource source(std::vector<Trajectory> trips) const {
    return [trips](PatternIndex, const Grid&) { return trips; };
  }

  ForecastBasisFound find(const std::vector<Trajectory>& trips,
                          const std::optional<TripKey>& first) {
    return find_basis(*engine.live(key), first, network, settings, source(trips),
                      ForecastMode::arrival);
  }

  const TripKey key{TripId("out"), testing::monday, Seconds(0)};
  Network network = testing::straight_network();
  LearnedSettings settings;
  std::vector<Trajectory> history;
  Engine engine{network, settings, [this](PatternIndex, const Grid&) { return history; }};
};

TEST_F(ForecastBasisTest, IsThatOfTheEngineThatMadeTheForecast) {
  const auto made = engine.explain_trip(key);
  ASSERT_EQ(made->trips.size(), 6U);
  const auto found = find(history, history.front().trip);
  ASSERT_TRUE(found.explanation) << found.reason;
  ASSERT_EQ(found.explanation->trips.size(), 6U);
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(found.explanation->trips[i].trip, made->trips[i].trip);
    EXPECT_EQ(found.explanation->trips[i].weight, made->trips[i].weight);
  }
}

TEST_F(ForecastBasisTest, TripsBeforeAndAfterThoseThatItHadAreLeftOut) {
  std::vector<Trajectory> more = history;
  more.insert(more.begin(), trajectory(-3));
  more.push_back(trajectory(9));
  const auto found = find(more, history.front().trip);
  ASSERT_TRUE(found.explanation) << found.reason;
  EXPECT_EQ(found.explanation->trips.size(), 6U);
}

TEST_F(ForecastBasisTest, IsNotTheWindowOfTheSettings) {
  settings.fallback.window = 2;
  EXPECT_TRUE(find(history, history.front().trip).explanation);
}

TEST_F(ForecastBasisTest, OtherTripsThanItHadAreNoBasis) {
  const std::string reason =
      "the earlier trips that have come here are not those that the forecast was made from";
  EXPECT_EQ(find({}, history.front().trip).reason, reason);
  std::vector<Trajectory> fewer(history.begin() + 3, history.end());
  EXPECT_EQ(find(fewer, history.front().trip).reason, reason);
  std::vector<Trajectory> shorter(history.begin(), history.begin() + 5);
  EXPECT_EQ(find(shorter, history.front().trip).reason, reason);
}

TEST_F(ForecastBasisTest, WithoutEarlierTripsItIsTheTimetable) {
  history.clear();
  Engine none(network, settings, source({}));
  Tracker tracker(network);
  std::vector<TrackEvent> events;
  tracker.update(fix("v", "out", "08:01:10", 500), events);
  for (const TrackEvent& event : events) none.apply(event);
  const auto found = find_basis(*none.live(key), std::nullopt, network, settings, source({}),
                                ForecastMode::arrival);
  ASSERT_TRUE(found.explanation) << found.reason;
  EXPECT_EQ(found.explanation->basis, ForecastBasis::timetable);
  EXPECT_TRUE(found.explanation->trips.empty());
}

}  // namespace
}  // namespace qiv
