#include "worker/history_book.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "engine/pattern_desk.h"
#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;

class HistoryBookTest : public ::testing::Test {
 protected:
  /// A run over the whole line, `leg_s` from stop to stop.
  FinishedTrip run(const std::string& vehicle, int leg_s, const std::string& trip = "out",
                   ServiceDate day = testing::monday) const {
    const auto schedule = network.schedule({TripId(trip), day, Seconds(0)});
    FinishedTrip finished;
    finished.run = {
        VehicleId(vehicle), schedule->key, network.pattern(schedule->pattern()).ref, {}};
    for (int i = 0; i <= 16; ++i) {
      Progress progress;
      progress.time = progress.received = at("08:00:00", day) + Seconds(i * leg_s / 4);
      progress.offset_m = 250.0 * i;
      finished.run.progress.push_back(progress);
    }
    finished.finished = finished.run.progress.back().received;
    return finished;
  }

  PatternIndex line() const {
    return network.schedule({TripId("out"), testing::monday, Seconds(0)})->pattern();
  }

  std::vector<Trajectory> trajectories(const HistoryBook& book) const {
    return book.source()(line(), make_grid(network.pattern(line()), 250.0));
  }

  std::vector<std::string> vehicles(const HistoryBook& book) const {
    std::vector<std::string> names;
    for (const Trajectory& made : trajectories(book)) names.push_back(made.vehicle.text());
    return names;
  }

  Network network = testing::straight_network();
  LearnedSettings settings;
};

TEST_F(HistoryBookTest, GivesTripsInTheOrderOfFinishingWhateverTheOrderInWhichTheyCame) {
  HistoryBook book(network, settings);
  EXPECT_TRUE(book.take(run("slow", 200)));
  EXPECT_TRUE(book.take(run("fast", 100)));
  EXPECT_THAT(vehicles(book), ElementsAre("fast", "slow"));
  EXPECT_EQ(trajectories(book)[1].finished, at("08:13:20"));
}

TEST_F(HistoryBookTest, TheSameTripTwiceIsOne) {
  HistoryBook book(network, settings);
  FinishedTrip trip = run("v", 100);
  EXPECT_TRUE(book.take(trip));
  EXPECT_FALSE(book.take(trip));
  trip.finished += Seconds(5);  // as another writer saw it
  EXPECT_FALSE(book.take(trip));
  EXPECT_EQ(book.trips(), 1U);
  EXPECT_EQ(trajectories(book).size(), 1U);
}

TEST_F(HistoryBookTest, TripsOfLaterStayOut) {
  HistoryBook book(network, settings, at("08:10:00"));
  EXPECT_TRUE(book.take(run("fast", 100)));
  EXPECT_FALSE(book.take(run("slow", 200)));
  EXPECT_EQ(trajectories(book).size(), 1U);
}

TEST_F(HistoryBookTest, APatternWithoutTripsHasNone) {
  EXPECT_TRUE(trajectories(HistoryBook(network, settings)).empty());
}

TEST_F(HistoryBookTest, WhatIsNoTrajectoryOrOfAnotherTimetableIsNotKept) {
  HistoryBook book(network, settings);
  FinishedTrip half = run("half", 100);
  half.run.progress.resize(8);
  EXPECT_FALSE(book.take(half));
  FinishedTrip foreign = run("foreign", 100);
  foreign.run.pattern = PatternRef("of another timetable");
  EXPECT_FALSE(book.take(foreign));
  EXPECT_EQ(book.trips(), 0U);
}

TEST_F(HistoryBookTest, OfEachCategoryTheLastAreKept) {
  settings.fallback.window = 2;
  settings.fallback.category_depth = 1;
  HistoryBook book(network, settings);
  EXPECT_TRUE(book.take(run("b", 110)));
  EXPECT_TRUE(book.take(run("c", 120)));
  EXPECT_TRUE(book.take(run("at nine", 105, "later")));  // of another half hour
  EXPECT_TRUE(book.take(run("d", 130)));
  EXPECT_FALSE(book.take(run("a", 100))) << "it would be the first to be dropped";
  EXPECT_THAT(vehicles(book), ElementsAre("at nine", "c", "d"));
  EXPECT_EQ(book.trips(), 3U);
}

/// What the book has dropped, an engine would not have used.
TEST_F(HistoryBookTest, AnEngineIsGivenTheSameAsFromAllTrips) {
  for (const int depth : {0, 1, 2}) {
    settings.fallback.window = 3;
    settings.fallback.category_depth = depth;
    HistoryBook book(network, settings);
    std::vector<FinishedTrip> all;
    for (int i = 0; i < 40; ++i) {
      const ServiceDate day(testing::monday.days() + std::chrono::days(i / 4));
      all.push_back(run("v" + std::to_string(i), 100 + 7 * i % 40, i % 3 ? "out" : "later", day));
    }
    std::vector<Trajectory> whole;
    const Grid grid = make_grid(network.pattern(line()), 250.0);
    for (const FinishedTrip& trip : all) {
      auto made = make_trajectory(trip.run, network.pattern(line()), grid.milestones_m);
      whole.push_back(std::get<Trajectory>(std::move(made)));
      whole.back().finished = trip.finished;
    }
    std::ranges::sort(whole, {}, &Trajectory::finished);
    for (std::size_t i = 0; i < all.size(); ++i) book.take(all[i * 7 % all.size()]);
    EXPECT_LT(book.trips(), 20U);
    ForecastLibrary one(ForecastMode::arrival);
    ForecastLibrary other(ForecastMode::arrival);
    const PatternDesk of_all(network, line(), settings.fallback, grid, one, whole);
    const PatternDesk of_book(network, line(), settings.fallback, grid, other, trajectories(book));
    for (const int hour : {8, 9}) {
      for (const Category category : categories(testing::monday, std::chrono::hours(hour), depth)) {
        EXPECT_FALSE(of_all.stored(category).empty());
        EXPECT_EQ(of_all.stored(category), of_book.stored(category)) << category;
      }
    }
  }
}

}  // namespace
}  // namespace qiv
