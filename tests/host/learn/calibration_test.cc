#include "learn/calibration.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

DisplayedError error_of(double error_s, double spread_s = 0.0,
                        TripState state = TripState::under_way) {
  return {state, Seconds(60), error_s, spread_s};
}

Calibration calibrate(const DisplayedErrors& day) {
  return qiv::calibrate(std::vector{day});
}

TEST(CalibrationTest, FindsTheQuantilesOfTheErrors) {
  DisplayedErrors errors;
  for (int error_s = -500; error_s <= 1500; ++error_s) errors.add(error_of(error_s));
  const BoundQuantiles q = calibrate(errors).at(TripState::under_way, Seconds(60));
  EXPECT_NEAR(q.q05 * q.floor_s, -400.0, 1.0);
  EXPECT_NEAR(q.q16 * q.floor_s, -180.0, 1.0);
  EXPECT_NEAR(q.q84 * q.floor_s, 1180.0, 1.0);
  EXPECT_NEAR(q.q95 * q.floor_s, 1400.0, 1.0);
  EXPECT_EQ(q.samples, 2001U);
}

TEST(CalibrationTest, UsesTheSpreadWhereItTellsTheErrors) {
  DisplayedErrors telling;
  DisplayedErrors silent;
  for (int i = 0; i < 4000; ++i) {
    const double spread_s = i % 2 == 0 ? 30.0 : 600.0;
    const double unit = static_cast<double>(i % 199) / 99.0 - 1.0;
    telling.add(error_of(unit * spread_s, spread_s));
    silent.add(error_of(unit * 100.0, spread_s));
  }
  EXPECT_LE(calibrate(telling).at(TripState::under_way, Seconds(60)).floor_s, 60.0);
  EXPECT_GE(calibrate(silent).at(TripState::under_way, Seconds(60)).floor_s, 3000.0);
}

TEST(CalibrationTest, AThinCellTakesWhatAllStatesHave) {
  DisplayedErrors errors;
  for (int error_s = -500; error_s <= 500; ++error_s) errors.add(error_of(error_s));
  errors.add(error_of(9000.0, 0.0, TripState::waiting));
  const Calibration calibration = calibrate(errors);
  EXPECT_EQ(calibration.at(TripState::waiting, Seconds(60)).samples, 1002U);
  EXPECT_EQ(calibration.at(TripState::under_way, Seconds(600)).samples, 1002U) << "from below";
}

TEST(CalibrationTest, EveryErrorCountsAlikeWhateverItsDay) {
  DisplayedErrors busy;
  DisplayedErrors quiet;
  for (int i = 0; i < 200'000; ++i) busy.add(error_of(100.0 + i % 7));
  for (int i = 0; i < 6'000; ++i) quiet.add(error_of(900.0));
  ASSERT_LT(busy.cell(2, 0).samples.size(), 10'000U);
  const BoundQuantiles q =
      qiv::calibrate(std::vector{busy, quiet}).at(TripState::under_way, Seconds(60));
  EXPECT_EQ(q.samples, 206'000U);
  EXPECT_LT(q.q95 * q.floor_s, 110.0) << "the quiet day is 3 % of the errors";
}

TEST(DisplayedErrorsTest, ComeBackFromBytes) {
  DisplayedErrors errors;
  for (int i = 0; i < 20'000; ++i) errors.add(error_of(i / 3.0, i % 100));
  errors.add(error_of(-5.0, 1.0, TripState::not_begun));
  const std::string bytes = errors.to_bytes();
  const auto back = DisplayedErrors::from_bytes(bytes);
  ASSERT_TRUE(back);
  EXPECT_EQ(back->to_bytes(), bytes);
  EXPECT_EQ(back->cell(2, 0).count, 20'000U);
  EXPECT_FALSE(DisplayedErrors::from_bytes(bytes.substr(1)));
  EXPECT_FALSE(DisplayedErrors::from_bytes(bytes + "x"));
  EXPECT_FALSE(DisplayedErrors::from_bytes(""));
}

}  // namespace
}  // namespace qiv
