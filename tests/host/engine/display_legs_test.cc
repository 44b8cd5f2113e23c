#include "engine/display_legs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "Journey.h"
#include "RQLogger.h"
#include "engine/engine.h"
#include "engine/explain.h"
#include "host/engine/slow_trip.h"
#include "track/tracker.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using testing::fix;
using ::testing::IsEmpty;
using testing::monday;

class DisplayLegsTest : public ::testing::Test {
 protected:
  DisplayLegsTest() { settings.fallback.category_depth = 0; }

  /// Earlier trips of "out", each with its time at every milestone.
  using Earlier = std::function<std::vector<std::vector<int>>(const Grid&)>;

  Engine make(const Earlier& earlier) {
    EngineOptions options;
    options.mode = ForecastMode::travel;
    const auto history = [this, earlier](PatternIndex pattern, const Grid& grid) {
      std::vector<Trajectory> trajectories;
      if (network.pattern(pattern).stops.back().stop != 4) return trajectories;
      for (const std::vector<int>& times_s : earlier(grid)) {
        Trajectory trajectory;
        trajectory.trip = {TripId("out"), monday - std::chrono::days(1), Seconds(0)};
        trajectory.departed = at("08:00:00", trajectory.trip.day);
        trajectory.times_s = times_s;
        trajectories.push_back(trajectory);
      }
      return trajectories;
    };
    return Engine(network, settings, history, options);
  }

  /// Earlier trips that took `leg_s` from stop to stop.
  static Earlier steady(const std::vector<int>& legs_s) {
    return [legs_s](const Grid& grid) {
      std::vector<std::vector<int>> trajectories;
      for (const int leg_s : legs_s) {
        std::vector<int> times_s;
        for (const double milestone_m : grid.milestones_m) {
          times_s.push_back(static_cast<int>(std::lround(milestone_m / 1000.0 * leg_s)));
        }
        trajectories.push_back(times_s);
      }
      return trajectories;
    };
  }

  static Earlier random_trips(std::size_t count, unsigned seed) {
    return [count, seed](const Grid& grid) {
      std::mt19937 random(seed);
      std::vector<std::vector<int>> trajectories(count);
      for (std::vector<int>& times_s : trajectories) {
        int time_s = 0;
        for (std::size_t m = 0; m < grid.milestones_m.size(); ++m) {
          if (m > 0) time_s += static_cast<int>(random() % 60);
          times_s.push_back(time_s);
        }
      }
      return trajectories;
    };
  }

  void feed(Engine& engine, const std::vector<VehiclePosition>& reports) {
    for (const VehiclePosition& report : reports) {
      std::vector<TrackEvent> events;
      tracker->update(report, events);
      for (const TrackEvent& event : events) engine.apply(event);
    }
  }

  static TripKey key(const char* trip) { return {TripId(trip), monday, Seconds(0)}; }

  static std::vector<long long> times_s(const TripForecast& forecast) {
    std::vector<long long> result;
    for (const LegForecast& leg : forecast.legs) result.push_back(leg.travel_time.count());
    return result;
  }

  Network network = testing::network_with_slow_trip();
  LearnedSettings settings;
  std::optional<Tracker> tracker{network};
};

/// The library itself, told the same as the engine's.
class DirectLibrary {
 public:
  DirectLibrary(const PatternDesk& desk, Category category) : _category(category) {
    RQLogger::SetSink([](const RQLogger::Record&) {});
    const Grid& grid = desk.grid();
    std::vector<double> stops_m;
    for (std::size_t j = 0; j < desk.pattern().stops.size(); ++j) {
      stops_m.push_back(grid.places_m[Grid::arrival_place(j)]);
    }
    _journeys.initialize("KernelRegression", {}, {desk.settings().bandwidth}, "travel", 1000,
                         "ring");
    _journeys.read_milestones("p", 1, 1, grid.milestones_m);
    _journeys.read_bus_stops("p", 1, 1, std::vector<std::string>(stops_m.size()), stops_m);
    for (const std::vector<int>& times_s : desk.stored(category)) {
      _journeys.read_history("p", 1, 1, category, times_s);
    }
  }
  ~DirectLibrary() { RQLogger::SetSink(nullptr); }

  Forecast& report(const LibraryReport& report) {
    return *_journeys.update("p", "v", VehicleJourneyRef("v", ""), 1, 1, _category, report.offset_m,
                             report.time_s, report.error_m);
  }

 private:
  AllJourneys _journeys;
  Category _category;
};

TEST_F(DisplayLegsTest, LegsAreWhatTheLibraryReturnsForTheSameMessages) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    tracker.emplace(network);
    Engine engine = make(random_trips(3 + seed % 7, seed));
    std::unique_ptr<DirectLibrary> direct;
    std::size_t told = 0;
    feed(engine, {fix("v", "out", "08:00:00", 0)});
    for (const auto& [time, east_m] : std::vector<std::pair<const char*, double>>{
             {"08:00:40", 400}, {"08:01:30", 1100}, {"08:02:10", 1900}, {"08:02:50", 2600}}) {
      feed(engine, {fix("v", "out", time, east_m)});
      const LiveTrip& live = *engine.live(key("out"));
      if (!direct) {
        direct = std::make_unique<DirectLibrary>(engine.desk_of(live.schedule.pattern()),
                                                 live.choice.category);
      }
      ASSERT_LT(told, live.reports.size());
      while (told + 1 < live.reports.size()) direct->report(live.reports[told++]);
      Forecast& expected = direct->report(live.reports[told++]);
      const auto shown = engine.forecast(key("out"), at(time));
      ASSERT_TRUE(shown);
      EXPECT_THAT(shown->stops, IsEmpty());
      EXPECT_EQ(shown->confidence, expected.get_confidence());
      ASSERT_EQ(shown->legs.size(), expected.size());
      for (unsigned j = 0; j < expected.size(); ++j) {
        const LegForecast& leg = shown->legs[j];
        const bool is_overdue = leg.elapsed && leg.elapsed->count() > expected[j].get_time();
        EXPECT_EQ(leg.travel_time.count(),
                  is_overdue ? leg.elapsed->count() : expected[j].get_time());
        EXPECT_EQ(leg.library_lower.count(), expected[j].get_lower_confidence_bound());
        EXPECT_EQ(leg.library_upper.count(), expected[j].get_upper_confidence_bound());
        EXPECT_EQ(leg.observed, j < expected.get_first_index());
        EXPECT_EQ(leg.elapsed.has_value(), j == expected.get_first_index());
        if (!leg.observed) {
          EXPECT_EQ(leg.spread_s, std::sqrt(expected[j].get_conditional_var()));
        }
      }
    }
  }
}

TEST_F(DisplayLegsTest, NameTheirStopsAndTellWhatWasObserved) {
  Engine engine = make(steady({90, 110, 100}));
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:37", 1000),
                fix("v", "out", "08:02:27", 1500)});
  const auto shown = engine.forecast(key("out"), at("08:02:30"));
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->state, TripState::under_way);
  ASSERT_EQ(shown->legs.size(), 4U);
  for (unsigned j = 0; j < 4; ++j) {
    EXPECT_EQ(shown->legs[j].from, j);
    EXPECT_EQ(shown->legs[j].to, j + 1);
    EXPECT_EQ(shown->legs[j].from_sequence, j + 1);
    EXPECT_EQ(shown->legs[j].to_sequence, j + 2);
  }
  EXPECT_TRUE(shown->legs[0].observed);
  EXPECT_EQ(shown->legs[0].travel_time, Seconds(97));
  EXPECT_FALSE(shown->legs[1].observed);
  EXPECT_NEAR(static_cast<double>(shown->legs[1].travel_time.count()), 100, 4)
      << "the whole leg, though half of it is done";
  EXPECT_EQ(shown->legs[1].elapsed, Seconds(50));
  EXPECT_EQ(shown->legs[2].elapsed, std::nullopt);
  EXPECT_LT(shown->legs[3].library_lower, shown->legs[3].travel_time);
  EXPECT_GT(shown->legs[3].library_upper, shown->legs[3].travel_time);
}

TEST_F(DisplayLegsTest, AnOverdueVehicleMakesItsLegAsLongAsItHasTaken) {
  Engine engine = make(steady({100, 100}));
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:40", 1000),
                fix("v", "out", "08:02:00", 1200), fix("v", "out", "08:04:20", 1201)});
  const auto shown = engine.forecast(key("out"), at("08:04:20"));
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->state, TripState::overdue);
  EXPECT_EQ(shown->legs[1].elapsed, Seconds(160));
  EXPECT_THAT(times_s(*shown), ElementsAre(100, 160, 100, 100));
  EXPECT_EQ(shown->legs[1].library_upper, Seconds(100)) << "the library's own stays as it is";
}

TEST_F(DisplayLegsTest, OfATripThatWasFirstSeenWithinALegOnlyWhatWasSeenCounts) {
  Engine engine = make(steady({100, 100}));
  feed(engine, {fix("v", "out", "08:02:20", 1400), fix("v", "out", "08:02:40", 1600),
                fix("v", "out", "08:02:50", 1700)});
  const auto shown = engine.forecast(key("out"), at("08:02:50"));
  ASSERT_TRUE(shown);
  ASSERT_EQ(shown->legs.size(), 4U);
  EXPECT_TRUE(shown->legs[0].observed);
  EXPECT_EQ(shown->legs[1].elapsed, Seconds(30));
}

TEST_F(DisplayLegsTest, AllLegsAreForecastBeforeTheTripBegins) {
  Engine engine = make(steady({100, 100}));
  feed(engine, {fix("v", "out", "07:50:00", 0), fix("v", "out", "08:10:00", 1)});
  const auto waiting = engine.forecast(key("out"), at("08:10:00"));
  const auto not_begun = engine.forecast(key("later"), at("08:30:00"));
  ASSERT_TRUE(waiting && not_begun);
  EXPECT_EQ(waiting->state, TripState::waiting) << "however long it waits";
  EXPECT_EQ(not_begun->state, TripState::not_begun);
  for (const TripForecast& shown : {*waiting, *not_begun}) {
    EXPECT_THAT(times_s(shown), ElementsAre(100, 100, 100, 100));
    EXPECT_THAT(shown.legs, Each(Field(&LegForecast::observed, false)));
    EXPECT_THAT(shown.legs, Each(Field(&LegForecast::elapsed, std::optional<Seconds>())));
  }
}

TEST_F(DisplayLegsTest, WithoutHistoryTheTimetableServes) {
  Engine engine = make(steady({}));
  feed(engine, {fix("v", "slow", "08:03:00", 0), fix("v", "slow", "08:04:00", 500)});
  const auto shown = engine.forecast(key("slow"), at("08:04:00"));
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->basis, ForecastBasis::timetable);
  EXPECT_THAT(times_s(*shown), ElementsAre(120, 120, 180, 180));
  const auto not_begun = engine.forecast(key("later"), at("08:30:00"));
  ASSERT_TRUE(not_begun);
  EXPECT_THAT(times_s(*not_begun), ElementsAre(120, 120, 120, 120));
}

TEST_F(DisplayLegsTest, TheDelayClockAddsWhatTheTimetableOfTheTripTakesMore) {
  settings.fallback.delay_clock = true;
  Engine engine = make(steady({130, 130}));
  feed(engine, {fix("v", "slow", "08:00:00", 0), fix("v", "slow", "08:01:00", 500)});
  const auto shown = engine.forecast(key("slow"), at("08:01:00"));
  ASSERT_TRUE(shown);
  EXPECT_THAT(times_s(*shown), ElementsAre(130, 130, 190, 190));
}

TEST_F(DisplayLegsTest, AVehiclesSecondTripIsForecastAsWellAsItsFirst) {
  Engine engine = make(random_trips(5, 7));
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:00", 1000)});
  const auto first = engine.forecast(key("out"), at("08:01:00"));
  feed(engine, {fix("v", "later", "09:00:00", 0), fix("v", "later", "09:01:00", 1000)});
  const auto second = engine.forecast(key("later"), at("09:01:00"));
  ASSERT_TRUE(first && second);
  EXPECT_EQ(times_s(*first), times_s(*second));
  for (std::size_t j = 0; j < 4; ++j) {
    EXPECT_EQ(first->legs[j].spread_s, second->legs[j].spread_s);
  }
}

TEST_F(DisplayLegsTest, AnExplanationRepeatsTheLegsBitForBit) {
  Engine engine = make(random_trips(6, 11));
  feed(engine, {fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:45", 1000),
                fix("v", "out", "08:03:40", 2100)});
  const LiveTrip& live = *engine.live(key("out"));
  const auto why = explain(live, engine.desk_of(live.schedule.pattern()));
  ASSERT_TRUE(why);
  EXPECT_EQ(why->trips.size(), 6U);
  EXPECT_EQ(why->forecast.rows.size(), 4U);
}

}  // namespace
}  // namespace qiv
