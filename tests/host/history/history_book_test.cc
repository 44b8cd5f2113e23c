#include "history/history_book.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <random>

#include "host/history/samples.h"

namespace qiv {
namespace {

using samples::at;
using samples::pattern_with_stops;
using samples::run_of;
using testing::ElementsAre;
using testing::IsEmpty;

const PatternRef line("line");
const Seconds eight = std::chrono::hours(8);
const Seconds nine = std::chrono::hours(9);
constexpr Instant end_of_time = Instant::max();
constexpr std::size_t any_number = 1000;

/// A trip that leaves at `departure` and takes `duration` for its 2000 m.
TripRun trip_of(const std::string& trip, Instant departure, Seconds duration) {
  TripRun run{VehicleId("V" + trip), {TripId(trip), samples::sample_day, {}}, line, {}};
  for (int part = 0; part <= 4; ++part) {
    const Instant time = departure + duration * part / 4;
    run.progress.push_back({run.vehicle, run.trip, 0, time, time, 500.0 * part, 10.0, {}});
  }
  return run;
}

HistoryBook open_book() {
  HistoryBook book;
  book.open(pattern_with_stops("line", {0, 1000, 2000}), {0, 1000, 2000});
  return book;
}

std::vector<std::string> trips(std::span<const Trajectory* const> trajectories) {
  std::vector<std::string> names;
  for (const Trajectory* t : trajectories) names.push_back(t->trip.trip.text());
  return names;
}

/// Three trips that finish in the order B, A, C; C leaves an hour later than the others.
HistoryBook sample_book() {
  HistoryBook book = open_book();
  EXPECT_EQ(book.add(trip_of("A", at("08:00:00"), Seconds(600)), eight), std::nullopt);
  EXPECT_EQ(book.add(trip_of("B", at("08:05:00"), Seconds(240)), eight), std::nullopt);
  EXPECT_EQ(book.add(trip_of("C", at("09:00:00"), Seconds(300)), nine), std::nullopt);
  return book;
}

TEST(HistoryBookTest, KeepsTripsInOrderOfFinishing) {
  EXPECT_THAT(trips(sample_book().latest(line, 0, any_number, end_of_time)),
              ElementsAre("B", "A", "C"));
}

TEST(HistoryBookTest, GivesTheLatestOfTheWindow) {
  const HistoryBook book = sample_book();
  EXPECT_THAT(trips(book.latest(line, 0, 2, end_of_time)), ElementsAre("A", "C"));
  EXPECT_THAT(book.latest(line, 0, 0, end_of_time), IsEmpty());
}

TEST(HistoryBookTest, DoesNotLookAhead) {
  const HistoryBook book = sample_book();
  EXPECT_THAT(trips(book.latest(line, 0, any_number, at("08:10:00"))), ElementsAre("B"));
  EXPECT_THAT(trips(book.latest(line, 0, any_number, at("08:10:01"))), ElementsAre("B", "A"));
  EXPECT_EQ(book.count(line, 0, at("08:10:00")), 1U);
}

TEST(HistoryBookTest, PutsATripIntoItsCategoriesOfEveryDepth) {
  const HistoryBook book = sample_book();
  for (const Category category : categories(samples::sample_day, nine, deepest_category)) {
    const auto found = trips(book.latest(line, category, any_number, end_of_time));
    EXPECT_THAT(found, testing::Contains("C")) << describe(category);
    EXPECT_EQ(found.size(), category == 0 ? 3U : 1U) << describe(category);
  }
  EXPECT_EQ(book.categories_of(line).size(), 1U + 2U + 2U);
}

TEST(HistoryBookTest, FallsBackToACategoryWithEnoughTrips) {
  const HistoryBook book = sample_book();
  const auto of_eight = categories(samples::sample_day, eight, 1);
  EXPECT_EQ(book.choose(line, of_eight, 2, end_of_time), of_eight[0]);
  EXPECT_EQ(book.choose(line, of_eight, 3, end_of_time), 0);
  EXPECT_EQ(book.choose(line, of_eight, 99, end_of_time), 0);
}

TEST(HistoryBookTest, ReplacesATripThatIsAddedAgain) {
  HistoryBook book = sample_book();
  EXPECT_EQ(book.add(trip_of("A", at("10:00:00"), Seconds(500)), nine), std::nullopt);
  EXPECT_THAT(trips(book.latest(line, 0, any_number, end_of_time)), ElementsAre("B", "C", "A"));
  const Category of_eight = categories(samples::sample_day, eight, 1).front();
  EXPECT_THAT(trips(book.latest(line, of_eight, any_number, end_of_time)), ElementsAre("B"));
}

TEST(HistoryBookTest, NamesTheReasonForARejection) {
  HistoryBook book = sample_book();
  EXPECT_EQ(book.add(run_of("V", "A", "line", "08:00:00 at 0 \n 08:01:00 at 900"), eight),
            "ends early");
  EXPECT_EQ(book.add(run_of("V", "A", "other", "08:00:00 at 0"), eight), "unknown pattern");
  EXPECT_EQ(book.count(line, 0, end_of_time), 3U);
}

TEST(HistoryBookTest, HasNothingOfUnknownPatternsAndCategories) {
  const HistoryBook book = sample_book();
  EXPECT_THAT(book.latest(PatternRef("other"), 0, any_number, end_of_time), IsEmpty());
  EXPECT_THAT(book.latest(line, 250, any_number, end_of_time), IsEmpty());
  EXPECT_THAT(book.milestones_m(PatternRef("other")), IsEmpty());
  EXPECT_THAT(book.milestones_m(line), ElementsAre(0, 1000, 2000));
  EXPECT_THAT(book.patterns(), ElementsAre(line));
}

TEST(HistoryBookTest, ForgetsOldTrips) {
  HistoryBook book = sample_book();
  EXPECT_EQ(book.forget(at("08:10:00")), 1U);
  EXPECT_THAT(trips(book.latest(line, 0, any_number, end_of_time)), ElementsAre("A", "C"));
  EXPECT_EQ(book.forget(end_of_time), 2U);
  EXPECT_THAT(book.categories_of(line), IsEmpty());
}

TEST(HistoryBookTest, OpeningAgainEmptiesTheChapter) {
  HistoryBook book = sample_book();
  book.open(pattern_with_stops("line", {0, 1000, 2000}), {0, 2000});
  EXPECT_EQ(book.count(line, 0, end_of_time), 0U);
  EXPECT_EQ(book.add(trip_of("A", at("08:00:00"), Seconds(600)), eight), std::nullopt);
  EXPECT_THAT(book.latest(line, 0, 1, end_of_time).front()->times_s, ElementsAre(0, 600));
}

RC_GTEST_PROP(HistoryBookProperty, IsTheSameInWhateverOrderTripsAreAdded, (unsigned seed)) {
  struct Finished {
    TripRun run;
    Seconds departure;
  };
  std::vector<Finished> finished;
  const auto count = *rc::gen::inRange(0, 12);
  for (int i = 0; i < count; ++i) {
    const Seconds departure(300 * *rc::gen::inRange(0, 30));
    const Seconds duration(60 * *rc::gen::inRange(3, 9));
    finished.push_back(
        {trip_of(std::to_string(i), samples::midnight + departure, duration), departure});
  }
  const auto filled = [](const std::vector<Finished>& trips_in_order) {
    HistoryBook book = open_book();
    for (const auto& [run, departure] : trips_in_order) book.add(run, departure);
    return book;
  };
  const HistoryBook book = filled(finished);
  std::shuffle(finished.begin(), finished.end(), std::mt19937(seed));
  const HistoryBook other = filled(finished);

  RC_ASSERT(book.count(line, 0, end_of_time) == static_cast<std::size_t>(count));
  RC_ASSERT(book.categories_of(line) == other.categories_of(line));
  for (const Category category : book.categories_of(line)) {
    RC_ASSERT(trips(book.latest(line, category, any_number, end_of_time)) ==
              trips(other.latest(line, category, any_number, end_of_time)));
  }
}

}  // namespace
}  // namespace qiv
