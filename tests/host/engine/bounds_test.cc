#include "engine/bounds.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

Instant second(long long s) {
  return from_unix_seconds(s);
}

Calibration calibration_of(BoundQuantiles quantiles) {
  Calibration calibration;
  for (auto& row : calibration.quantiles) row.fill(quantiles);
  return calibration;
}

TEST(BoundsTest, LieAtTheQuantilesOfTheSpread) {
  const Calibration calibration = calibration_of({30.0, -2.0, -1.0, 0.5, 1.0, 1000});
  const BoundedTime bounded = bound({1000.0, 1600.0}, TripState::under_way, second(0), calibration);
  EXPECT_EQ(bounded.time, second(1000));
  EXPECT_EQ(bounded.lower_90, second(900)) << "sqrt(40^2 + 30^2) = 50";
  EXPECT_EQ(bounded.lower_68, second(950));
  EXPECT_EQ(bounded.upper_68, second(1025));
  EXPECT_EQ(bounded.upper_90, second(1050));
}

TEST(BoundsTest, AreNeverBeforeThePresent) {
  const Calibration calibration = calibration_of({30.0, -2.0, -1.0, 0.5, 1.0, 1000});
  const BoundedTime bounded =
      bound({1000.0, 1600.0}, TripState::under_way, second(980), calibration);
  EXPECT_EQ(bounded.lower_90, second(980));
  EXPECT_EQ(bounded.lower_68, second(980));
  EXPECT_EQ(bound({900.0, 0.0}, TripState::overdue, second(980), calibration).time, second(980));
}

TEST(BoundsTest, DifferByStateAndLead) {
  Calibration calibration = calibration_of({1e-9, -1, -1, 1, 1, 1});
  calibration.quantiles[static_cast<std::size_t>(TripState::waiting)][1].q84 = 3.0;
  const RawTime raw{200.0, 100.0};
  EXPECT_EQ(bound(raw, TripState::under_way, second(0), calibration).upper_68, second(210));
  EXPECT_EQ(bound(raw, TripState::waiting, second(0), calibration).upper_68, second(230));
  EXPECT_EQ(bound(raw, TripState::waiting, second(100), calibration).upper_68, second(210));
}

TEST(BoundsTest, NothingDecreasesAlongATrip) {
  std::vector<StopForecast> stops(3);
  stops[0].arrival = {second(100), second(90), second(130), second(80), second(150)};
  stops[1].arrival = {second(95), second(94), second(96), second(93), second(160)};
  stops[2].arrival = {second(120), second(110), second(125), second(70), second(155)};
  make_monotone(stops);
  for (std::size_t j = 1; j < stops.size(); ++j) {
    EXPECT_LE(stops[j - 1].arrival.time, stops[j].arrival.time);
    EXPECT_LE(stops[j - 1].arrival.lower_68, stops[j].arrival.lower_68);
    EXPECT_LE(stops[j - 1].arrival.upper_68, stops[j].arrival.upper_68);
    EXPECT_LE(stops[j - 1].arrival.lower_90, stops[j].arrival.lower_90);
    EXPECT_LE(stops[j - 1].arrival.upper_90, stops[j].arrival.upper_90);
    EXPECT_GE(stops[j].departure, stops[j].arrival.time);
  }
}

}  // namespace
}  // namespace qiv
