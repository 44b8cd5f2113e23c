#include "app/nightly.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <thread>

#include "host/app/small_city.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

const ServiceDate first_day = *ServiceDate::parse("20250303");

Instant night_after(int days) {
  return Instant((first_day + std::chrono::days(days)).days()) + std::chrono::hours(4);
}

class NightlyTest : public ::testing::Test {
 protected:
  NightlyTest() { Log({LogLevel::off, "", ""}).take_library_messages(); }

  void record_days(int days) const {
    for (int day = 0; day < days; ++day) {
      small.record_day(first_day + std::chrono::days(day), 130 + day % 3);
    }
  }

  Nightly nightly(const Clock& clock = [] { return Instant(); }) {
    return {small.city,
            config,
            ServiceClock("UTC"),
            [this](const LearnedSettings& settings) { taken = settings; },
            clock,
            log};
  }

  ArchiveSummary summary() const { return Archive(small.city / "archive.sqlite").summary(); }

  testing::SmallCity small;
  ServeConfig config;
  Log log{LogConfig{LogLevel::info, small.folder / "log", ""}};
  std::optional<LearnedSettings> taken;
};

TEST_F(NightlyTest, LearnsNothingFromTooFewDays) {
  record_days(3);
  EXPECT_EQ(nightly().learn_again(night_after(3)),
            "nothing learned: 3 whole days are recorded, 4 are needed");
  EXPECT_FALSE(taken);
}

TEST_F(NightlyTest, TheDayThatHasNotEndedDoesNotCount) {
  record_days(4);
  EXPECT_THAT(nightly().learn_again(night_after(3)), HasSubstr("3 whole days"));
}

TEST_F(NightlyTest, TakesNewSettingsOnlyIfTheyScoreBetter) {
  record_days(6);
  LearnedSettings bad;
  for (auto& row : bad.calibration.quantiles) row.fill({});
  bad.fallback.least_trips = 100'000;
  bad.fallback.window = 1;
  City(small.city).archive().add_settings({night_after(1), first_day, bad});
  const std::string first = nightly().learn_again(night_after(6));
  EXPECT_THAT(first, StartsWith("new settings taken: on the last 2 days the new settings score "));
  ASSERT_TRUE(taken);
  EXPECT_EQ(City(small.city).settings().patterns, taken->patterns);
  EXPECT_EQ(Archive(small.city / "archive.sqlite").settings().size(), 2U);

  taken.reset();
  const std::string second = nightly().learn_again(night_after(6));
  EXPECT_THAT(second, StartsWith("present settings kept: on the last 2 days the new settings "));
  EXPECT_FALSE(taken);
  EXPECT_EQ(Archive(small.city / "archive.sqlite").settings().size(), 2U);
}

TEST_F(NightlyTest, ForgetsPositionsAndTripsThatAreTooOld) {
  record_days(5);
  City(small.city).follow(first_day + std::chrono::days(4), [](double, ServiceDate) {});
  ASSERT_EQ(summary().runs, 5U * 18U);
  config.keep_positions_days = 2;
  config.keep_trips_days = 3;
  nightly().forget(night_after(5));
  const ArchiveSummary kept = summary();
  EXPECT_EQ(kept.first_received,
            Instant((first_day + std::chrono::days(3)).days()) + std::chrono::hours(5));
  EXPECT_EQ(kept.positions, 2U * 18U * 17U);
  EXPECT_EQ(kept.first_day, first_day + std::chrono::days(3));
  EXPECT_EQ(kept.runs, 2U * 18U);
}

TEST_F(NightlyTest, ForgetsNothingThatIsYoungAndNothingOfAnEmptyArchive) {
  nightly().forget(night_after(5));
  record_days(2);
  nightly().forget(night_after(5));
  EXPECT_EQ(summary().positions, 2U * 18U * 17U);
}

TEST_F(NightlyTest, KeepsTheLatestSettings) {
  Archive archive(small.city / "archive.sqlite");
  for (int i = 0; i < 40; ++i) archive.add_settings({night_after(i), first_day, {}});
  nightly().forget(night_after(40));
  EXPECT_EQ(archive.settings().size(), 30U);
  EXPECT_EQ(archive.settings().back().learned, night_after(39));
}

TEST_F(NightlyTest, BeginsAtOnceWhenAskedAndWritesWhatCameOfItIntoTheLog) {
  record_days(1);
  Nightly night = nightly([] { return night_after(3); });
  const auto log_text = [&] {
    std::ifstream file(small.folder / "log");
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  std::jthread works([&](std::stop_token stop) { night.run(std::move(stop)); });
  night.begin_soon();
  for (int i = 0; i < 1000 && log_text().empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_THAT(log_text(), HasSubstr("nothing learned: 1 whole days"));
}

}  // namespace
}  // namespace qiv
