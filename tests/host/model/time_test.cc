#include "model/time.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

using std::chrono::days;

TEST(ServiceDate, ReadsBothSpellings) {
  EXPECT_EQ(ServiceDate::parse("20251007")->to_string(), "20251007");
  EXPECT_EQ(ServiceDate::parse("2025-10-07")->to_string(), "20251007");
  EXPECT_EQ(ServiceDate::parse("20251007")->to_iso_string(), "2025-10-07");
}

TEST(ServiceDate, RefusesWhatIsNoDay) {
  for (const char* text : {"", "2025", "20251301", "20250229", "20250431", "20250100", "2025100",
                           "202510071", "2025-10-7", "2025/10/07", "2025-1007", " 20251007",
                           "20251007 ", "2025100a", "-0251007", "30000101-"})
    EXPECT_FALSE(ServiceDate::parse(text)) << text;
}

TEST(ServiceDate, KnowsLeapDays) {
  EXPECT_TRUE(ServiceDate::parse("20240229"));
  EXPECT_FALSE(ServiceDate::parse("21000229"));
}

TEST(ServiceDate, CountsInDays) {
  const ServiceDate last_of_february = *ServiceDate::parse("20240229");
  EXPECT_EQ((last_of_february + days(1)).to_string(), "20240301");
  EXPECT_EQ((last_of_february - days(29)).to_string(), "20240131");
  EXPECT_EQ(last_of_february - *ServiceDate::parse("20230228"), days(366));
  EXPECT_LT(last_of_february, last_of_february + days(1));
}

TEST(ServiceDate, KnowsItsWeekday) {
  EXPECT_EQ(ServiceDate::parse("20251007")->weekday(), std::chrono::Tuesday);
}

TEST(TimeOfDay, ReadsHoursBeyondMidnight) {
  EXPECT_EQ(parse_time_of_day("00:00:00"), Seconds(0));
  EXPECT_EQ(parse_time_of_day("5:32:10"), Seconds(5 * 3600 + 32 * 60 + 10));
  EXPECT_EQ(parse_time_of_day("25:10:00"), Seconds(25 * 3600 + 600));
  EXPECT_EQ(parse_time_of_day("999:59:59"), Seconds(1000 * 3600 - 1));
  EXPECT_EQ(parse_time_of_day("  08:00:00 "), Seconds(8 * 3600));
}

TEST(TimeOfDay, RefusesWhatIsNoTime) {
  for (const char* text : {"", ":", "08:00", "08:00:0", "08:60:00", "08:00:60", "1000:00:00",
                           "-1:00:00", "08-00-00", "8.5:00:00", ":00:00", "08:00:00Z", "08: 0:00"})
    EXPECT_FALSE(parse_time_of_day(text)) << text;
}

TEST(TimeOfDay, IsWrittenAsItIsRead) {
  for (const char* text : {"00:00:00", "09:05:07", "23:59:59", "24:00:00", "47:30:00", "100:00:01"})
    EXPECT_EQ(format_time_of_day(*parse_time_of_day(text)), text);
}

TEST(TimeOfDay, BeforeTheDayHasASign) {
  EXPECT_EQ(format_time_of_day(Seconds(-90)), "-00:01:30");
}

TEST(Instants, AreWrittenInUtc) {
  EXPECT_EQ(format_utc(from_unix_seconds(0)), "1970-01-01T00:00:00Z");
  EXPECT_EQ(format_utc(from_unix_seconds(1759811582)), "2025-10-07T04:33:02Z");
  EXPECT_EQ(format_utc(from_unix_seconds(-1)), "1969-12-31T23:59:59Z");
}

TEST(Instants, GoThroughUnixSeconds) {
  EXPECT_EQ(unix_seconds(from_unix_seconds(1759811582)), 1759811582);
}

}  // namespace
}  // namespace qiv
