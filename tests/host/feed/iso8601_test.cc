#include "feed/iso8601.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

std::string utc(std::string_view text) {
  const auto instant = parse_iso8601(text);
  return instant ? format_utc(*instant) : "nothing";
}

TEST(Iso8601, KnowsZones) {
  EXPECT_EQ(utc("2016-08-03T08:54:36Z"), "2016-08-03T08:54:36Z");
  EXPECT_EQ(utc("2016-08-03T08:54:36-06:00"), "2016-08-03T14:54:36Z");
  EXPECT_EQ(utc("2016-08-03T01:54:36+05:30"), "2016-08-02T20:24:36Z");
  EXPECT_EQ(utc("2016-08-03T08:54:36-0600"), "2016-08-03T14:54:36Z");
  EXPECT_EQ(utc("2016-08-03T08:54:36+02"), "2016-08-03T06:54:36Z");
}

TEST(Iso8601, DropsFractions) {
  EXPECT_EQ(utc("2016-08-03T08:54:36.2551919-06:00"), "2016-08-03T14:54:36Z");
  EXPECT_EQ(utc("2016-08-03T08:54:36.999Z"), "2016-08-03T08:54:36Z");
}

TEST(Iso8601, AllowsBlanksAround) {
  EXPECT_EQ(utc("\n\t 2016-08-03T08:54:36Z\n\t\t"), "2016-08-03T08:54:36Z");
}

TEST(Iso8601, RefusesAnythingElse) {
  for (const char* text :
       {"", "2016-08-03", "2016-08-03T08:54:36", "2016-08-03T08:54Z", "20160803T085436Z",
        "2016-02-30T08:54:36Z", "2016-08-03T24:54:36Z", "2016-08-03T08:60:36Z",
        "2016-08-03T08:54:61Z", "2016-08-03T08:54:36.Z", "2016-08-03T08:54:36+25:00",
        "2016-08-03T08:54:36+02:", "2016-08-03T08:54:36+2", "30000-01-01T00:00:00Z",
        "2016-08-03T08:54:36Zulu", "2016-08-03T08-54-36Z"})
    EXPECT_EQ(utc(text), "nothing") << text;
}

}  // namespace
}  // namespace qiv
