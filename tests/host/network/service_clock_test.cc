#include "network/service_clock.h"

#include <stdexcept>
#include <string>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "host/network/timetable_on_map.h"

namespace qiv {
namespace {

using test::day;
using test::time_of;
using test::utc;

TEST(ServiceClock, CountsFromMidnightOnOrdinaryDays) {
  const ServiceClock dublin("Europe/Dublin");
  EXPECT_EQ(dublin.zero(day("20251007")), utc("2025-10-06T23:00:00Z"));
  EXPECT_EQ(dublin.zero(day("20251107")), utc("2025-11-07T00:00:00Z"));
  const ServiceClock new_york("America/New_York");
  EXPECT_EQ(new_york.zero(day("20101122")), utc("2010-11-22T05:00:00Z"));
}

// 30 March 2025: at 1:00 the clocks go to 2:00. Noon is 11:00 UTC, so the day's times count from
// 23:00 UTC, an hour before the local midnight.
TEST(ServiceClock, CountsFromAnHourBeforeMidnightWhenSummerTimeBegins) {
  const ServiceClock dublin("Europe/Dublin");
  EXPECT_EQ(dublin.zero(day("20250330")), utc("2025-03-29T23:00:00Z"));
  EXPECT_EQ(dublin.at(day("20250330"), time_of("09:00:00")), utc("2025-03-30T08:00:00Z"));
  const ServiceClock new_york("America/New_York");
  EXPECT_EQ(new_york.zero(day("20250309")), utc("2025-03-09T04:00:00Z"));
}

TEST(ServiceClock, CountsFromAnHourAfterMidnightWhenSummerTimeEnds) {
  const ServiceClock dublin("Europe/Dublin");
  EXPECT_EQ(dublin.zero(day("20251026")), utc("2025-10-26T00:00:00Z"));
  EXPECT_EQ(dublin.at(day("20251026"), time_of("09:00:00")), utc("2025-10-26T09:00:00Z"));
  const ServiceClock new_york("America/New_York");
  EXPECT_EQ(new_york.zero(day("20251102")), utc("2025-11-02T05:00:00Z"));
}

// The evening before the clocks change: 25:30 is half past one hour further on, not on the dial.
TEST(ServiceClock, ReachesBeyondMidnightAndBefore) {
  const ServiceClock dublin("Europe/Dublin");
  EXPECT_EQ(dublin.at(day("20251007"), time_of("25:30:00")), utc("2025-10-08T00:30:00Z"));
  EXPECT_EQ(dublin.at(day("20250329"), time_of("26:30:00")), utc("2025-03-30T02:30:00Z"));
  EXPECT_EQ(dublin.at(day("20251007"), Seconds(-600)), utc("2025-10-06T22:50:00Z"));
}

TEST(ServiceClock, ShowsLocalDayAndTime) {
  const ServiceClock new_york("America/New_York");
  EXPECT_EQ(new_york.local_day(utc("2025-10-07T03:59:59Z")), day("20251006"));
  EXPECT_EQ(new_york.local_day(utc("2025-10-07T04:00:00Z")), day("20251007"));
  EXPECT_EQ(new_york.local_time(utc("2025-10-07T03:59:59Z")), time_of("23:59:59"));
  EXPECT_EQ(new_york.local_time(utc("1969-12-31T12:00:00Z")), time_of("7:00:00"));
}

TEST(ServiceClock, SaysWhatToDoAboutAnUnknownZone) {
  for (const char* name : {"Europe/Atlantis", "", "../../etc/passwd", "zone.tab"}) {
    try {
      const ServiceClock clock(name);
      FAIL() << "took " << name;
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), ::testing::HasSubstr(std::string("'") + name + "'"));
      EXPECT_THAT(error.what(), ::testing::HasSubstr("apt-get install tzdata"));
    }
  }
}

}  // namespace
}  // namespace qiv
