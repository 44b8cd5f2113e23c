#include "engine/forecast_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "RQLogger.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;

class ForecastLibraryTest : public ::testing::Test {
 protected:
  ForecastLibraryTest() {
    RQLogger::SetLanguage("en");
    RQLogger::SetSink([](const RQLogger::Record&) {});
    pattern.ref = PatternRef("R/0/a-c");
    pattern.shape_version_id = 7;
    pattern.grid.places_m = {0, 100, 102, 200};
    pattern.grid.milestones_m = {0, 100, 102, 200};
    pattern.stop_places_m = {0, 100, 200};
  }
  ~ForecastLibraryTest() override { RQLogger::SetSink(nullptr); }

  /// What `open` says of the pattern as it is.
  std::string refusal(ForecastMode mode = ForecastMode::arrival) const {
    ForecastLibrary library(mode);
    try {
      library.open(pattern);
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
    return "";
  }

  /// What the library answers to a report of the vehicle, from where it may be by 5 m.
  static std::optional<LibraryForecast> report(ForecastLibrary& library, const OpenPattern& opened,
                                               const std::string& key, Category category,
                                               double offset_m, long long time_s) {
    std::optional<LibraryForecast> answer;
    const bool is_answered = library.report(opened, {key, "trip", "bus " + key}, category,
                                            {offset_m, time_s, 5.0}, answer);
    EXPECT_EQ(answer.has_value(), is_answered);
    return answer;
  }

  LibraryPattern pattern;
};

TEST_F(ForecastLibraryTest, ChecksTheBandwidthBeforeTheLibrarySeesIt) {
  for (const double bandwidth :
       {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    pattern.bandwidth = bandwidth;
    EXPECT_THAT(refusal(), HasSubstr("pattern R/0/a-c: the bandwidth must be greater than 0"));
  }
}

TEST_F(ForecastLibraryTest, ChecksTheGridBeforeTheLibrarySeesIt) {
  EXPECT_EQ(refusal(), "");
  pattern.grid.milestones_m = {0, 100, 100, 200};
  EXPECT_THAT(refusal(), HasSubstr("milestones must be finite and increase from 0, but number 2"));
  pattern.grid.milestones_m = {-1, 100, 200};
  EXPECT_THAT(refusal(), HasSubstr("but number 0 is -1"));
  pattern.grid.milestones_m = {0, std::nan(""), 200};
  EXPECT_THAT(refusal(), HasSubstr("but number 1 is nan"));
  pattern.grid.milestones_m = {0};
  EXPECT_THAT(refusal(), HasSubstr("fewer than two milestones"));
}

TEST_F(ForecastLibraryTest, ChecksTheStopsOfItsMode) {
  pattern.grid.places_m = {0, 100, 100, 200};
  EXPECT_THAT(refusal(), HasSubstr("stops must be finite and increase from 0, but number 2"));
  EXPECT_EQ(refusal(ForecastMode::travel), "");
  pattern.stop_places_m = {0, 100, 201};
  EXPECT_THAT(refusal(ForecastMode::travel), HasSubstr("the last stop lies beyond"));
}

TEST_F(ForecastLibraryTest, ATrajectoryThatIsRejectedIsCountedWithItsText) {
  ForecastLibrary library(ForecastMode::arrival);
  const OpenPattern opened = library.open(pattern);
  EXPECT_TRUE(library.add_trajectory(opened, 0, std::vector<int>{0, 10, 12, 20}));
  EXPECT_FALSE(library.add_trajectory(opened, 0, std::vector<int>{0, 10, 9, 20}));
  EXPECT_FALSE(library.add_trajectory(opened, 0, std::vector<int>{0, 10, 8, 20}));
  EXPECT_FALSE(library.add_trajectory(opened, 0, std::vector<int>{0, 10}));
  EXPECT_EQ(library.rejected_trajectories().total(), 3U);
  for (const auto& [text, entry] : library.rejected_trajectories().entries()) {
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(entry.first, "R/0/a-c");
  }
}

TEST_F(ForecastLibraryTest, AReportThatIsRejectedIsCountedWithItsTextAndTheNextIsForecast) {
  ForecastLibrary library(ForecastMode::arrival);
  const OpenPattern opened = library.open(pattern);
  library.add_trajectory(opened, 0, std::vector<int>{0, 10, 12, 20});
  EXPECT_TRUE(report(library, opened, "v", 0, 150, 1015));
  EXPECT_FALSE(report(library, opened, "v", 0, 50, 1020)) << "goes back";
  EXPECT_FALSE(report(library, opened, "v", 0, 60, 1021)) << "goes back";
  EXPECT_FALSE(report(library, opened, "w", 0, 500, 1020)) << "beyond the end";
  EXPECT_EQ(library.rejected_reports().total(), 3U);
  EXPECT_EQ(library.rejected_reports().count("report not used by the library"), 1U);
  ASSERT_EQ(library.rejected_reports().entries().size(), 2U);
  for (const auto& [text, entry] : library.rejected_reports().entries()) {
    EXPECT_EQ(entry.first,
              entry.count == 2 ? "bus v at 50.000000 m, 1020 s" : "bus w at 500.000000 m, 1020 s");
  }
  const auto next = report(library, opened, "v", 0, 180, 1019);
  ASSERT_TRUE(next);
  EXPECT_EQ(next->rows.back().time_s, 1021);
}

TEST_F(ForecastLibraryTest, ACategoryWithoutTripsGivesNoForecast) {
  ForecastLibrary library(ForecastMode::arrival);
  const OpenPattern opened = library.open(pattern);
  EXPECT_FALSE(report(library, opened, "v", 3, 0, 1000));
  EXPECT_TRUE(library.rejected_reports().empty());
}

TEST_F(ForecastLibraryTest, GivesPlacesInArrivalModeAndLegsInTravelMode) {
  for (const ForecastMode mode : {ForecastMode::arrival, ForecastMode::travel}) {
    ForecastLibrary library(mode);
    EXPECT_EQ(library.mode(), mode);
    const OpenPattern opened = library.open(pattern);
    library.add_trajectory(opened, 0, std::vector<int>{0, 10, 15, 30});
    const auto forecast = report(library, opened, "v", 0, 101, 1000);
    ASSERT_TRUE(forecast);
    if (mode == ForecastMode::arrival) {
      ASSERT_EQ(forecast->rows.size(), 4U);
      EXPECT_EQ(forecast->first, 2U);
      EXPECT_EQ(forecast->rows.back().time_s, 1018);
    } else {
      ASSERT_EQ(forecast->rows.size(), 2U);
      EXPECT_EQ(forecast->first, 1U);
      EXPECT_EQ(forecast->rows.back().time_s, 20) << "the whole leg, from arrival to arrival";
    }
  }
}

TEST_F(ForecastLibraryTest, AReleasedVehicleStartsAnew) {
  ForecastLibrary library(ForecastMode::arrival);
  const OpenPattern opened = library.open(pattern);
  library.add_trajectory(opened, 0, std::vector<int>{0, 10, 12, 20});
  ASSERT_TRUE(report(library, opened, "v", 0, 150, 1000));
  library.release({"v", "trip", "bus v"}, 1000);
  const auto anew = report(library, opened, "v", 0, 0, 2000);
  ASSERT_TRUE(anew);
  EXPECT_EQ(anew->rows.back().time_s, 2020);
}

}  // namespace
}  // namespace qiv
