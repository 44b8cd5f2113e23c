#include "serve/http/http_date.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

const Instant sample = std::chrono::sys_days(std::chrono::year_month_day(
                           std::chrono::year(1994), std::chrono::November, std::chrono::day(6))) +
                       Seconds(8 * 3600 + 49 * 60 + 37);

TEST(HttpDate, IsWrittenAsTheStandardHasIt) {
  EXPECT_EQ(format_http_date(sample), "Sun, 06 Nov 1994 08:49:37 GMT");
}

TEST(HttpDate, IsReadBack) {
  EXPECT_EQ(parse_http_date("Sun, 06 Nov 1994 08:49:37 GMT"), sample);
}

TEST(HttpDate, NothingElseIsADate) {
  for (const char* text :
       {"", "now", "Sun, 06 Nov 1994 08:49:37 CET", "Sun, 31 Feb 1994 08:49:37 GMT",
        "Sun, 06 Nvm 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08-49-37 GMT"}) {
    EXPECT_EQ(parse_http_date(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace qiv
