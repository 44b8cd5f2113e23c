#include "evaluate/report_text.h"

#include <gmock/gmock.h>

#include <sstream>

#include "host/evaluate/report_sample.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using testing::sample_scorecard;

TEST(ReportTextTest, ContendersByHorizon) {
  EXPECT_THAT(report_text(sample_scorecard()), HasSubstr(R"(
Mean absolute error on display, seconds
  minutes to the arrival      0-3     3-6    6-10   10-15   15-30   30-60    mean   ETA % reliab%
  -----------------------------------------------------------------------------------------------
  qiv forecast               24.1    33.0    41.8    50.2    66.9    92.0    51.3    90.2    86.8
  timetable                 136.0   140.5   143.0   145.5   150.0   158.0   145.5    64.5    62.0
)"));
}

TEST(ReportTextTest, Bounds) {
  EXPECT_THAT(report_text(sample_scorecard()), HasSubstr(R"(
The published bounds
  predicted lead, minutes     0-3     3-6    6-10   10-15   15-30   30-60
  -----------------------------------------------------------------------
  inside 68 % bounds, %      66.1    67.2    68.4    68.8    67.9    67.1
    half width, s            27.4    38.0    49.5    61.2    82.9   110.3
    fixed half width, s      28.0    40.9    53.1    66.6    90.2   121.0
  inside 90 % bounds, %      89.3    89.4    89.5    89.6    89.7    89.8
)"));
}

TEST(ReportTextTest, AnotherProducerStandsBesideTheForecast) {
  const std::string text = report_text(testing::sample_against());
  EXPECT_THAT(text, HasSubstr("\n  present                    48.0    66.0    83.5   100.0   134.0"
                              "   184.0   102.6    71.0    68.3\n"));
  EXPECT_THAT(text, HasSubstr(R"(
Each on the events for which it has a prediction of its own, seconds
  minutes to the arrival      0-3     3-6    6-10   10-15   15-30   30-60     all of all%
)"));
  EXPECT_THAT(text, HasSubstr("\n  present                    47.5    65.5    83.0    99.5   133.5"
                              "   183.5   115.4    50.0\n"));
  EXPECT_THAT(text, HasSubstr("\nRecording of present\n    20 160  snapshots\n"
                              "    20 100  of them on display\n   412 345  trip updates used\n"
                              "\nNot used of present\n         1  trip canceled\n"));
  EXPECT_THAT(text,
              HasSubstr("50 % less than present (102.6 s, for 50 % a prediction of its own);"));
}

TEST(ReportTextTest, ServiceAndCounts) {
  const std::string text = report_text(sample_scorecard());
  EXPECT_THAT(text, HasSubstr("    98.7 %  of the minutes"));
  EXPECT_THAT(text, HasSubstr("     1 204  trips scheduled"));
  EXPECT_THAT(text, HasSubstr("Not used\n         1  vehicle off its route\n"));
}

TEST(ReportTextTest, BucketWithoutEventsHasNoFigures) {
  Scorecard card = sample_scorecard();
  for (ContenderScore& contender : card.on_display) contender.buckets[0].n = 0;
  EXPECT_THAT(report_text(card), HasSubstr("  qiv forecast                  -    33.0"));
}

TEST(ReportTextTest, FitsTheTerminal) {
  Scorecard card = sample_scorecard();
  card.city = "Baile Átha Cliath " + std::string(70, 'x') + " und noch ein Wort";
  std::istringstream text(report_text(card));
  for (std::string line; std::getline(text, line);) {
    EXPECT_LE(line.size(), 102U) << line;  // Á is two bytes
    EXPECT_THAT(line, Not(::testing::EndsWith(" ")));
  }
}

TEST(ReportTextTest, NothingScored) {
  EXPECT_THAT(report_text(Scorecard()), HasSubstr("There was nothing to score."));
}

}  // namespace
}  // namespace qiv
