#include "app/city_config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "app/exit_code.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;

class CityConfigTest : public ::testing::Test {
 protected:
  CityConfigTest() {
    const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    folder = std::filesystem::path(::testing::TempDir()) /
             (std::string("qiv_city_config_test_") + test->name());
    std::filesystem::create_directories(folder);
  }
  ~CityConfigTest() override { std::filesystem::remove_all(folder); }

  CityConfig read(const std::string& text) const {
    std::ofstream(folder / "city.toml") << text;
    return read_city_config(folder / "city.toml");
  }

  std::string refusal(const std::string& text) const {
    try {
      read(text);
    } catch (const CommandError& error) {
      EXPECT_EQ(error.code(), ExitCode::usage);
      return error.what();
    }
    return "";
  }

  std::filesystem::path folder;
};

TEST_F(CityConfigTest, HasADefaultForEverything) {
  const CityConfig config = read("");
  EXPECT_EQ(config.name, folder.filename().string());
  EXPECT_EQ(config.timetable, "timetable.zip");
  EXPECT_EQ(config.engine.announce, EngineOptions().announce);
  EXPECT_EQ(config.log.level, LogLevel::error);
  EXPECT_TRUE(config.log.file.empty());
  EXPECT_TRUE(config.log.language.empty());
}

TEST_F(CityConfigTest, ReadsWhatIsWritten) {
  const CityConfig config = read(R"(
    name = "Dublin"
    [track]
    silence = 900
    assign_trips = true
    assign_confidence = 0.9
    [engine]
    least_error_m = 12.5
    [log]
    level = "info"
    file = "qiv.log"
    language = "de"
  )");
  EXPECT_EQ(config.name, "Dublin");
  EXPECT_EQ(config.track.silence, Seconds(900));
  EXPECT_TRUE(config.track.assign_trips);
  EXPECT_EQ(config.track.assign_confidence, 0.9);
  EXPECT_EQ(config.engine.least_error_m, 12.5);
  EXPECT_EQ(config.log.level, LogLevel::info);
  EXPECT_EQ(config.log.file, "qiv.log");
  EXPECT_EQ(config.log.language, "de");
}

TEST_F(CityConfigTest, NamesLineAndRemedy) {
  EXPECT_THAT(refusal("[engine]\nannounce = -5"),
              HasSubstr("city.toml:2: 'announce' must be a number that is not negative"));
  EXPECT_THAT(refusal("\n[log]\nlevel = \"loud\""),
              HasSubstr("city.toml:3: 'level' must be one of debug, info, warning, error, off"));
  EXPECT_THAT(refusal("[track]\nassign_trips = 1"),
              HasSubstr("city.toml:2: 'assign_trips' must be true or false"));
  EXPECT_THAT(refusal("[track]\nassign_confidence = 80"),
              HasSubstr("city.toml:2: 'assign_confidence' must be a number from 0 to 1"));
  EXPECT_THAT(refusal("[log]\nfile = 3"), HasSubstr("'file' must be the name of a file"));
  EXPECT_THAT(refusal("[log]\nlanguage = 3"), HasSubstr("must be the name of a language"));
  EXPECT_THAT(refusal("[log]\nlvel = \"info\""), HasSubstr("there is no key 'lvel'"));
  EXPECT_THAT(refusal("[log"), HasSubstr("city.toml:1: "));
}

TEST_F(CityConfigTest, TheTextOfANewOneShowsEveryDefaultAndReadsAsSuch) {
  CityConfig config;
  config.name = "Dublin \"North\"";
  std::string text = city_config_text(config);
  EXPECT_THAT(text, HasSubstr("# level = \"error\"\n"));
  EXPECT_THAT(text, HasSubstr("# file = \"\"\n"));
  EXPECT_EQ(read(text).name, config.name);
  for (std::size_t at = 0; (at = text.find("# ", at)) != std::string::npos;) {
    const std::string line = text.substr(at, text.find('\n', at) - at);
    if (line.find(" = ") == std::string::npos) {
      at += 2;
    } else {
      text.erase(at, 2);
    }
  }
  const CityConfig again = read(text);
  EXPECT_EQ(again.track.widest_distance_m, TrackOptions().widest_distance_m);
  EXPECT_EQ(again.log.level, LogLevel::error);
}

}  // namespace
}  // namespace qiv
