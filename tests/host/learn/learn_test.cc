#include "learn/learn.h"

#include <gtest/gtest.h>

#include "host/support/straight_line.h"
#include "learn/calibration.h"

namespace qiv {
namespace {

using testing::monday;

TEST(CalibratorTest, FindsTheQuantilesOfTheErrors) {
  Calibrator calibrator;
  for (int error_s = -500; error_s <= 1500; ++error_s) {
    calibrator.add({TripState::under_way, Seconds(60), static_cast<double>(error_s), 0.0});
  }
  const BoundQuantiles q = calibrator.calibration().at(TripState::under_way, Seconds(60));
  EXPECT_NEAR(q.q05 * q.floor_s, -400.0, 1.0);
  EXPECT_NEAR(q.q16 * q.floor_s, -180.0, 1.0);
  EXPECT_NEAR(q.q84 * q.floor_s, 1180.0, 1.0);
  EXPECT_NEAR(q.q95 * q.floor_s, 1400.0, 1.0);
  EXPECT_EQ(q.samples, 2001U);
}

TEST(CalibratorTest, UsesTheSpreadWhereItTellsTheErrors) {
  Calibrator telling;
  Calibrator silent;
  for (int i = 0; i < 4000; ++i) {
    const double spread_s = i % 2 == 0 ? 30.0 : 600.0;
    const double unit = static_cast<double>(i % 199) / 99.0 - 1.0;
    telling.add({TripState::under_way, Seconds(60), unit * spread_s, spread_s});
    silent.add({TripState::under_way, Seconds(60), unit * 100.0, spread_s});
  }
  EXPECT_LE(telling.calibration().at(TripState::under_way, Seconds(60)).floor_s, 60.0);
  EXPECT_GE(silent.calibration().at(TripState::under_way, Seconds(60)).floor_s, 3000.0);
}

TEST(CalibratorTest, AThinCellTakesWhatAllStatesHave) {
  Calibrator calibrator;
  for (int error_s = -500; error_s <= 500; ++error_s) {
    calibrator.add({TripState::under_way, Seconds(60), static_cast<double>(error_s), 0.0});
  }
  calibrator.add({TripState::waiting, Seconds(60), 9000.0, 0.0});
  const Calibration calibration = calibrator.calibration();
  EXPECT_EQ(calibration.at(TripState::waiting, Seconds(60)).samples, 1002U);
  EXPECT_EQ(calibration.at(TripState::under_way, Seconds(600)).samples, 1002U) << "from below";
}

/// Ten days on which trip "out" is slow and "later" is fast: categories by departure must win.
class CrossValidationTest : public ::testing::Test {
 protected:
  void add_run(const char* trip, ServiceDate day, int hour, int leg_s) {
    TripRun run;
    run.vehicle = VehicleId("v");
    run.trip = {TripId(trip), day, Seconds(0)};
    const PatternIndex pattern = network.find_trip(run.trip.trip)->pattern;
    run.pattern = network.pattern(pattern).ref;
    const Instant start = Instant(day.days()) + std::chrono::hours(hour);
    for (int i = 0; i <= 16; ++i) {
      Progress progress;
      progress.vehicle = run.vehicle;
      progress.trip = run.trip;
      progress.pattern = pattern;
      progress.offset_m = i * network.pattern(pattern).length_m() / 16.0;
      progress.time = progress.received = start + Seconds(i * leg_s / 4);
      run.progress.push_back(progress);
    }
    runs.add(run);
  }

  Network network = testing::straight_network();
  RecordedRuns runs{network};
};

TEST_F(CrossValidationTest, FindsThatTheTimeOfDayMatters) {
  for (int i = 0; i < 16; ++i) {
    const ServiceDate day = monday + std::chrono::days(i);
    add_run("out", day, 8, 300 + i % 3);
    add_run("later", day, 9, 100 + i % 2);
  }
  CrossValidationOptions options;
  options.least_predictions = 50;
  const CrossValidationResult result =
      cross_validate(network, runs, monday + std::chrono::days(15), options);
  const PatternRef& ref = network.pattern(network.find_trip(TripId("out"))->pattern).ref;
  EXPECT_GE(result.patterns.at(ref).category_depth, 1);
  options.threads = 1;
  const CrossValidationResult again =
      cross_validate(network, runs, monday + std::chrono::days(15), options);
  EXPECT_EQ(again.patterns.at(ref).bandwidth, result.patterns.at(ref).bandwidth);
  EXPECT_EQ(again.patterns.at(ref).category_depth, result.patterns.at(ref).category_depth);
}

TEST_F(CrossValidationTest, HistoriesEndBeforeTheDay) {
  add_run("out", monday, 8, 300);
  add_run("out", monday + std::chrono::days(1), 8, 310);
  const PatternIndex pattern = network.find_trip(TripId("out"))->pattern;
  const Grid grid = make_grid(network.pattern(pattern), 250.0);
  EXPECT_EQ(runs.before(monday, pattern, grid).size(), 0U);
  EXPECT_EQ(runs.before(monday + std::chrono::days(1), pattern, grid).size(), 1U);
  EXPECT_EQ(runs.before(monday + std::chrono::days(2), pattern, grid).size(), 2U);
}

}  // namespace
}  // namespace qiv
