#include "app/toml_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "app/exit_code.h"

namespace qiv {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

/// What a reader of the table in `text` refuses, empty when it refuses nothing.
template <class Read>
std::string refusal(const std::string& text, Read read) {
  const toml::table table = toml::parse(text);
  TomlReader reader("city.toml", table, "[part]");
  try {
    read(reader);
  } catch (const CommandError& error) {
    EXPECT_EQ(error.code(), ExitCode::usage);
    return error.what();
  }
  return "";
}

TEST(TomlReaderTest, ReadsEveryKind) {
  const toml::table table = toml::parse(R"(
    text = "a"
    choice = "two"
    number = 2
    whole = 3
    flag = true
    list = ["x", "y"]
    map = { a = "1", b = "2" }
  )");
  TomlReader reader("city.toml", table, "[part]");
  EXPECT_EQ(reader.text("text", "b"), "a");
  EXPECT_EQ(reader.text_of("choice", {"one", "two"}, "one"), "two");
  EXPECT_EQ(reader.number("number", 0, 5, 1), 2.0);
  EXPECT_EQ(reader.whole("whole", 0, 5, 1), 3);
  EXPECT_TRUE(reader.flag("flag", false));
  EXPECT_THAT(reader.texts("list"), ElementsAre("x", "y"));
  EXPECT_THAT(reader.text_map("map"), ElementsAre(Pair("a", "1"), Pair("b", "2")));
  EXPECT_NO_THROW(reader.finish());
}

TEST(TomlReaderTest, AKeyThatIsNotThereIsItsDefault) {
  const toml::table table;
  TomlReader reader("city.toml", table, "[part]");
  EXPECT_EQ(reader.text("text", "b"), "b");
  EXPECT_EQ(reader.text_of("choice", {"one", "two"}, "one"), "one");
  EXPECT_EQ(reader.number("number", 0, 5, 1.5), 1.5);
  EXPECT_EQ(reader.whole("whole", 0, 5, 1), 1);
  EXPECT_TRUE(reader.flag("flag", true));
  EXPECT_THAT(reader.texts("list"), IsEmpty());
  EXPECT_THAT(reader.text_map("map"), IsEmpty());
  EXPECT_EQ(reader.secret("secret"), "");
}

TEST(TomlReaderTest, RefusalsNameFileLineAndRemedy) {
  const auto of = [](const std::string& text, auto read) { return refusal(text, read); };
  EXPECT_EQ(of("\nk = 3", [](auto& r) { r.text("k", ""); }), "city.toml:2: 'k' must be a text");
  EXPECT_EQ(of("k = \"c\"",
               [](auto& r) {
                 r.text_of("k", {"a", "b"}, "a");
               }),
            "city.toml:1: 'k' must be one of a, b");
  EXPECT_EQ(of("k = 9", [](auto& r) { r.number("k", 0.5, 8, 1); }),
            "city.toml:1: 'k' must be a number from 0.5 to 8");
  EXPECT_EQ(of("k = nan", [](auto& r) { r.number("k", 0.5, 8, 1); }),
            "city.toml:1: 'k' must be a number from 0.5 to 8");
  EXPECT_EQ(of("k = 1.5", [](auto& r) { r.whole("k", 1, 8, 1); }),
            "city.toml:1: 'k' must be a whole number from 1 to 8");
  EXPECT_EQ(of("k = 9", [](auto& r) { r.whole("k", 1, 8, 1); }),
            "city.toml:1: 'k' must be a whole number from 1 to 8");
  EXPECT_EQ(of("k = 1", [](auto& r) { r.flag("k", false); }),
            "city.toml:1: 'k' must be true or false");
  EXPECT_EQ(of("k = \"x\"", [](auto& r) { r.texts("k"); }),
            "city.toml:1: 'k' must be a list of texts");
  EXPECT_EQ(of("k = [\n\"x\",\n4]", [](auto& r) { r.texts("k"); }),
            "city.toml:3: 'k' must be a list of texts");
  EXPECT_EQ(of("k = \"x\"", [](auto& r) { r.text_map("k"); }),
            "city.toml:1: 'k' must be a table of texts");
  EXPECT_EQ(of("k = { a = 1 }", [](auto& r) { r.text_map("k"); }),
            "city.toml:1: 'k' must be a table of texts");
}

TEST(TomlReaderTest, AMissingOrAnUnknownKeyIsNamed) {
  const toml::table table = toml::parse("[part]\na = 1\nb = 2");
  TomlReader reader("city.toml", *table["part"].as_table(), "[part]");
  reader.whole("a", 0, 5, 0);
  try {
    reader.finish();
    FAIL() << "b is not known";
  } catch (const CommandError& error) {
    EXPECT_STREQ(error.what(), "city.toml:3: there is no key 'b' in [part]: remove it");
  }
  EXPECT_NO_THROW(reader.require("a", "the first"));
  try {
    reader.require("url", "the address");
    FAIL() << "url is missing";
  } catch (const CommandError& error) {
    EXPECT_STREQ(error.what(), "city.toml:1: [part] needs 'url': the address");
  }
}

TEST(TomlReaderTest, ASecretIsTakenFromTheEnvironment) {
  setenv("QIV_TOML_READER_TEST", "key", 1);
  unsetenv("QIV_TOML_READER_TEST_MISSING");
  const toml::table table = toml::parse(R"(
    plain = "open"
    hidden = "env:QIV_TOML_READER_TEST"
    map = { "X-Key" = "env:QIV_TOML_READER_TEST" }
  )");
  TomlReader reader("city.toml", table, "[part]");
  EXPECT_EQ(reader.secret("plain"), "open");
  EXPECT_EQ(reader.secret("hidden"), "key");
  EXPECT_THAT(reader.text_map("map"), ElementsAre(Pair("X-Key", "key")));
  EXPECT_EQ(refusal("k = \"env:QIV_TOML_READER_TEST_MISSING\"", [](auto& r) { r.secret("k"); }),
            "city.toml:1: the environment variable QIV_TOML_READER_TEST_MISSING is not set: "
            "set it");
}

}  // namespace
}  // namespace qiv
