#include "app/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "RQLogger.h"
#include "app/exit_code.h"
#include "engine/forecast_library.h"

namespace qiv {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::SizeIs;

class LogTest : public ::testing::Test {
 protected:
  LogTest() {
    const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    config.file = std::filesystem::path(::testing::TempDir()) /
                  (std::string("qiv_log_test_") + test->name() + ".log");
    config.language = "en";
    config.level = LogLevel::warning;
    std::filesystem::remove(config.file);
  }
  ~LogTest() override {
    RQLogger::SetSink(nullptr);
    RQLogger::SetLanguage("");
    std::filesystem::remove(config.file);
  }

  std::vector<std::string> lines() const {
    std::ifstream in(config.file);
    std::vector<std::string> result;
    for (std::string line; std::getline(in, line);) result.push_back(line);
    return result;
  }

  void take_library_messages() const { Log(config).take_library_messages(); }

  /// A vehicle appears, and then goes back.
  static void let_the_library_reject_a_report() {
    ForecastLibrary library(ForecastMode::arrival);
    LibraryPattern pattern;
    pattern.ref = PatternRef("p");
    pattern.grid.places_m = pattern.grid.milestones_m = {0, 1000};
    const OpenPattern opened = library.open(pattern);
    library.add_trajectory(opened, 0, std::vector<int>{0, 100});
    std::optional<LibraryForecast> answer;
    library.report(opened, {"v", "j", "v"}, 0, {800, 1000, 10}, answer);
    library.report(opened, {"v", "j", "v"}, 0, {300, 1010, 10}, answer);
  }

  static void say(const char* identifier) { RQLogger::InfoMessage("A::b", identifier); }

  LogConfig config;
};

TEST_F(LogTest, AMessageOfTheLibraryReachesItWithTheTextOfTheCatalogue) {
  take_library_messages();
  let_the_library_reject_a_report();
  const std::vector<std::string> written = lines();
  ASSERT_THAT(written, SizeIs(2));
  EXPECT_THAT(written[0], MatchesRegex("[0-9]+-[0-9]+-[0-9]+T[0-9:.]+Z warning KWXBN0021E "
                                       "Vehicle::update_position: .*300.*v.*"));
  EXPECT_THAT(written[0], HasSubstr("rejected"));
  EXPECT_THAT(written[1], HasSubstr(" warning Vehicle::update_position: ")) << "a free text";
}

TEST_F(LogTest, TheLanguageIsTheConfigured) {
  config.language = "de";
  take_library_messages();
  let_the_library_reject_a_report();
  EXPECT_THAT(lines().at(0), HasSubstr("Positionsmeldung des Fahrzeugs v"));
}

TEST_F(LogTest, ALanguageThatTheCatalogueLacksIsRefused) {
  config.language = "xx";
  try {
    take_library_messages();
    FAIL();
  } catch (const CommandError& error) {
    EXPECT_EQ(error.code(), ExitCode::usage);
    EXPECT_THAT(error.what(), AllOf(HasSubstr("'xx'"), HasSubstr("choose of en, de")));
  }
}

TEST_F(LogTest, WhatIsBelowTheLevelIsNotWritten) {
  config.level = LogLevel::error;
  take_library_messages();
  let_the_library_reject_a_report();
  EXPECT_THAT(lines(), IsEmpty());

  config.level = LogLevel::info;
  take_library_messages();
  let_the_library_reject_a_report();
  EXPECT_THAT(lines(), ElementsAre(HasSubstr(" info KWXBN0032I "), HasSubstr(" warning KWXBN0021E"),
                                   HasSubstr(" warning Vehicle::")));
}

TEST_F(LogTest, OfEachKindTheFirstAndThenEveryPowerOfTenIsWritten) {
  config.level = LogLevel::info;
  take_library_messages();
  for (int i = 0; i < 1200; ++i) say("KWXBN0027I");
  say("KWXBN0028I");
  EXPECT_THAT(lines(), ElementsAre(AllOf(HasSubstr("KWXBN0027I"), Not(HasSubstr("of its kind"))),
                                   EndsWith("(10 of its kind)"), EndsWith("(100 of its kind)"),
                                   EndsWith("(1000 of its kind)"),
                                   AllOf(HasSubstr("KWXBN0028I"), Not(HasSubstr("of its kind")))));
}

TEST_F(LogTest, AtLevelDebugEveryOneIsWritten) {
  config.level = LogLevel::debug;
  take_library_messages();
  for (int i = 0; i < 25; ++i) say("KWXBN0027I");
  EXPECT_THAT(lines(), SizeIs(25));
}

TEST_F(LogTest, FreeTextsAreCountedByTheirPlace) {
  take_library_messages();
  for (int i = 0; i < 12; ++i) RQLogger::Error("A::b", "text " + std::to_string(i));
  RQLogger::Error("C::d", "another");
  EXPECT_THAT(lines(),
              ElementsAre(EndsWith("A::b: text 0"), EndsWith("A::b: text 9 (10 of its kind)"),
                          EndsWith("C::d: another")));
}

TEST_F(LogTest, SeveralThreadsCountTogether) {
  config.level = LogLevel::info;
  take_library_messages();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 250; ++i) say("KWXBN0027I");
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(lines(), SizeIs(4));
}

TEST_F(LogTest, AnEntryIsOneLine) {
  Log(config).write(LogLevel::error, "first\nsecond\x1b[31m {} third");
  Log(config).write(LogLevel::info, "below the level");
  EXPECT_THAT(lines(), ElementsAre(EndsWith("Z error first second [31m {} third")));
}

TEST_F(LogTest, AFileThatCannotBeOpenedIsRefused) {
  config.file = std::filesystem::path(::testing::TempDir());
  EXPECT_THROW(Log{config}, CommandError);
  config.file.clear();
  EXPECT_NO_THROW(Log{config}) << "the standard error stream";
}

TEST_F(LogTest, LevelsHaveNames) {
  for (const std::string& name : log_levels()) {
    ASSERT_TRUE(parse_log_level(name));
    EXPECT_EQ(to_string(*parse_log_level(name)), name);
  }
  EXPECT_FALSE(parse_log_level("loud"));
  EXPECT_FALSE(parse_log_level(""));
}

}  // namespace
}  // namespace qiv
