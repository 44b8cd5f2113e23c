#include "history/category.h"

#include <gmock/gmock.h>

#include <set>

namespace qiv {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using testing::ElementsAre;

ServiceDate day(const char* text) {
  return ServiceDate::parse(text).value();
}

std::vector<std::string> described(const char* date, Seconds departure, int depth) {
  std::vector<std::string> texts;
  for (const Category c : categories(day(date), departure, depth)) texts.push_back(describe(c));
  return texts;
}

TEST(CategoryTest, KnowsClassesOfDay) {
  EXPECT_EQ(day_class(day("2025-10-03")), 0);  // a Friday
  EXPECT_EQ(day_class(day("2025-10-04")), 1);
  EXPECT_EQ(day_class(day("2025-10-05")), 2);
  EXPECT_EQ(day_class(day("2025-10-06")), 0);
}

TEST(CategoryTest, GoesFromTheFinestToTheWholePattern) {
  EXPECT_THAT(
      described("2025-10-07", hours(8) + minutes(59), 2),
      ElementsAre("weekday departures 08:30 to 09:00", "departures 08:30 to 09:00", "all trips"));
  EXPECT_THAT(described("2025-10-05", hours(9), 1),
              ElementsAre("departures 09:00 to 09:30", "all trips"));
  EXPECT_THAT(described("2025-10-05", hours(9), 0), ElementsAre("all trips"));
}

TEST(CategoryTest, ClampsDepartureAndDepth) {
  EXPECT_THAT(
      described("2025-10-04", -minutes(5), 9),
      ElementsAre("Saturday departures 00:00 to 00:30", "departures 00:00 to 00:30", "all trips"));
  EXPECT_THAT(
      described("2025-10-05", hours(40), 2),
      ElementsAre("Sunday departures 35:30 to 36:00", "departures 35:30 to 36:00", "all trips"));
  EXPECT_THAT(described("2025-10-05", hours(40), -1), ElementsAre("all trips"));
}

TEST(CategoryTest, KeepsTripsAfterMidnightApartFromEarlyOnes) {
  EXPECT_NE(categories(day("2025-10-06"), hours(25), 1),
            categories(day("2025-10-06"), hours(1), 1));
}

TEST(CategoryTest, NumbersEveryNodeOfTheTreeOnce) {
  std::set<std::string> texts;
  std::set<Category> numbers;
  for (const char* date : {"2025-10-03", "2025-10-04", "2025-10-05"}) {
    for (Seconds departure{0}; departure < hours(36); departure += minutes(30)) {
      for (const Category c : categories(day(date), departure, deepest_category)) {
        numbers.insert(c);
        texts.insert(describe(c));
      }
    }
  }
  EXPECT_EQ(numbers.size(), 1U + 72U + 3U * 72U);
  EXPECT_EQ(texts.size(), numbers.size());
}

TEST(CategoryTest, DescribesNumbersThatAreNone) {
  EXPECT_EQ(describe(289), "category 289");
  EXPECT_EQ(describe(-1), "category -1");
}

}  // namespace
}  // namespace qiv
