#include "serve/api/json_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

namespace qiv {
namespace {

template <class T>
std::string written(const T& value) {
  JsonWriter json;
  json.value(value);
  return json.take();
}

TEST(JsonWriter, PutsCommasBetween) {
  JsonWriter json;
  json.begin_object();
  json.member("a", 1);
  json.key("b");
  json.begin_array();
  json.value(true);
  json.null();
  json.begin_object();
  json.end_object();
  json.value("x");
  json.end_array();
  json.member_or_null("c", "");
  json.member_or_null("d", "D");
  json.end_object();
  EXPECT_EQ(json.take(), R"({"a":1,"b":[true,null,{},"x"],"c":null,"d":"D"})");
}

TEST(JsonWriter, WritesWhatTheModelHas) {
  EXPECT_EQ(written(from_unix_seconds(-5)), "-5");
  EXPECT_EQ(written(Seconds(90)), "90");
  EXPECT_EQ(written(StopId("A")), "\"A\"");
  EXPECT_EQ(written(std::optional<Seconds>()), "null");
  EXPECT_EQ(written(std::optional(Seconds(1))), "1");
  EXPECT_EQ(written(std::uint64_t{18'446'744'073'709'551'615U}), "18446744073709551615");
}

TEST(JsonWriter, RoundsNumbers) {
  EXPECT_EQ(written(Decimal{1.005, 6}), "1.005");
  EXPECT_EQ(written(Decimal{2.0, 3}), "2");
  EXPECT_EQ(written(Decimal{-0.0004, 3}), "0");
  EXPECT_EQ(written(Decimal{1200.0, 0}), "1200");
  EXPECT_EQ(written(Decimal{NAN, 3}), "null");
  EXPECT_EQ(written(Decimal{1e300, 1}).size(), 301u);
}

TEST(JsonWriter, EscapesAndRepairsText) {
  for (const std::string text :
       {"plain", "quote \" and \\", "line\nfeed\ttab", "\x01\x1f", "é € 😀", "</script>"}) {
    EXPECT_EQ(nlohmann::json::parse(written(std::string_view(text))), text);
  }
  EXPECT_EQ(written(std::string_view("a\xFF\xC3")), "\"a\xEF\xBF\xBD\xEF\xBF\xBD\"");
}

}  // namespace
}  // namespace qiv
