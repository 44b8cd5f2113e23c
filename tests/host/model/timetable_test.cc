#include "model/timetable.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

ServiceDate day(const char* text) {
  return *ServiceDate::parse(text);
}

// Weekdays of October 2025.
Service weekdays_in_october() {
  Service service;
  service.weekdays = {true, true, true, true, true, false, false};
  service.first = day("20251001");
  service.last = day("20251031");
  return service;
}

TEST(Service, RunsOnItsWeekdays) {
  const Service service = weekdays_in_october();
  EXPECT_TRUE(service.runs_on(day("20251006")));   // a Monday
  EXPECT_TRUE(service.runs_on(day("20251010")));   // a Friday
  EXPECT_FALSE(service.runs_on(day("20251011")));  // a Saturday
  EXPECT_FALSE(service.runs_on(day("20251012")));  // a Sunday
}

TEST(Service, RunsFromItsFirstToItsLastDay) {
  const Service service = weekdays_in_october();
  EXPECT_FALSE(service.runs_on(day("20250930")));
  EXPECT_TRUE(service.runs_on(day("20251001")));
  EXPECT_TRUE(service.runs_on(day("20251031")));
  EXPECT_FALSE(service.runs_on(day("20251103")));
}

TEST(Service, SingleDaysCountMoreThanTheCalendar) {
  Service service = weekdays_in_october();
  service.removed.insert(day("20251006"));
  service.added.insert(day("20251011"));
  service.added.insert(day("20251224"));
  EXPECT_FALSE(service.runs_on(day("20251006")));
  EXPECT_TRUE(service.runs_on(day("20251011")));
  EXPECT_TRUE(service.runs_on(day("20251224")));
}

TEST(Service, WithoutCalendarRunsOnAddedDaysOnly) {
  Service service;
  service.added.insert(day("20251006"));
  EXPECT_TRUE(service.runs_on(day("20251006")));
  EXPECT_FALSE(service.runs_on(day("20251007")));
}

}  // namespace
}  // namespace qiv
