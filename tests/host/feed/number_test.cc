#include "feed/number.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace qiv {
namespace {

TEST(ParseInteger, TakesTheWholeText) {
  EXPECT_EQ(parse_integer<int>("42"), 42);
  EXPECT_EQ(parse_integer<int>("+42"), 42);
  EXPECT_EQ(parse_integer<int>("-42"), -42);
  EXPECT_EQ(parse_integer<std::uint32_t>("4294967295"), 4294967295U);
}

TEST(ParseInteger, RefusesAnythingElse) {
  for (const char* text : {"", "+", "-", "4x", "4.0", " 4", "+-4", "99999999999"})
    EXPECT_FALSE(parse_integer<int>(text)) << text;
  EXPECT_FALSE(parse_integer<std::uint32_t>("-1"));
  EXPECT_FALSE(parse_integer<std::uint32_t>("4294967296"));
}

TEST(ParseNumber, TakesTheWholeText) {
  EXPECT_EQ(parse_number("53.25"), 53.25);
  EXPECT_EQ(parse_number("-6"), -6.0);
  EXPECT_EQ(parse_number("+1e3"), 1000.0);
}

TEST(ParseNumber, RefusesAnythingElse) {
  for (const char* text : {"", "nan", "inf", "-inf", "1e999", "53,25", "0x10", "1.0 ", "--1"})
    EXPECT_FALSE(parse_number(text)) << text;
}

}  // namespace
}  // namespace qiv
