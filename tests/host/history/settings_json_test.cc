#include "history/settings_json.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace qiv {
namespace {

using testing::HasSubstr;

std::string refusal(const char* text) {
  try {
    settings_from_json(text);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "accepted";
}

TEST(SettingsJsonTest, BringsEveryMemberBack) {
  LearnedSettings settings;
  settings.fallback = {71.25, 33, 2, 4, 123.4, true};
  settings.patterns[PatternRef("DART/0/\"x\"")] = {1.0 / 3.0, 7, 0, 1, 50.0, false};
  settings.calibration.quantiles[2][6] = {17.5, -1.5, -0.75, 1.25, 0.1 + 0.2, 1234567890123U};
  settings.turnaround = Seconds(240);

  const LearnedSettings back = settings_from_json(to_json(settings));
  EXPECT_EQ(back.fallback.bandwidth, 71.25);
  EXPECT_EQ(back.fallback.window, 33U);
  EXPECT_EQ(back.fallback.category_depth, 2);
  EXPECT_EQ(back.fallback.least_trips, 4U);
  EXPECT_EQ(back.fallback.milestone_spacing_m, 123.4);
  EXPECT_TRUE(back.fallback.delay_clock);
  EXPECT_EQ(back.patterns.size(), 1U);
  EXPECT_EQ(back.of(PatternRef("DART/0/\"x\"")).bandwidth, 1.0 / 3.0);
  EXPECT_EQ(back.of(PatternRef("DART/0/\"x\"")).window, 7U);
  EXPECT_EQ(back.calibration.quantiles[2][6].floor_s, 17.5);
  EXPECT_EQ(back.calibration.quantiles[2][6].q05, -1.5);
  EXPECT_EQ(back.calibration.quantiles[2][6].q16, -0.75);
  EXPECT_EQ(back.calibration.quantiles[2][6].q84, 1.25);
  EXPECT_EQ(back.calibration.quantiles[2][6].q95, 0.1 + 0.2);
  EXPECT_EQ(back.calibration.quantiles[2][6].samples, 1234567890123U);
  EXPECT_EQ(back.calibration.quantiles[0][0].q16, -1.0);
  EXPECT_EQ(back.turnaround, Seconds(240));
}

TEST(SettingsJsonTest, KeepsDefaultsForWhatIsMissingAndPassesOverTheUnknown) {
  const LearnedSettings settings = settings_from_json(
      R"({"fallback": {"window": 8, "of_a_later_version": []}, "patterns": {"P": {}}})");
  EXPECT_EQ(settings.fallback.window, 8U);
  EXPECT_EQ(settings.fallback.bandwidth, PatternSettings{}.bandwidth);
  EXPECT_EQ(settings.patterns.size(), 1U);
  EXPECT_EQ(settings.turnaround, LearnedSettings{}.turnaround);
}

TEST(SettingsJsonTest, NamesTheMemberThatIsWrong) {
  EXPECT_THAT(refusal("{"), HasSubstr("the text is not JSON"));
  EXPECT_THAT(refusal("[]"), HasSubstr("the text is not an object"));
  EXPECT_THAT(refusal(R"({"fallback": {"bandwidth": "wide"}})"),
              HasSubstr("fallback.bandwidth is not a number"));
  EXPECT_THAT(refusal(R"({"patterns": {"P": {"window": -1}}})"),
              HasSubstr("patterns.P.window is not a whole number"));
  EXPECT_THAT(refusal(R"({"fallback": {"window": 1e30}})"), HasSubstr("fallback.window"));
  EXPECT_THAT(refusal(R"({"fallback": {"delay_clock": 1}})"),
              HasSubstr("fallback.delay_clock is not true or false"));
  EXPECT_THAT(refusal(R"({"calibration": {"quantiles": [[], []]}})"),
              HasSubstr("calibration.quantiles is not a list of the right length"));
  EXPECT_THAT(refusal(R"({"patterns": []})"), HasSubstr("patterns is not an object"));
}

}  // namespace
}  // namespace qiv
