#include "serve/live_overlay.h"

#include <gtest/gtest.h>

#include "host/serve/agency/agency_test_reports.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;

class LiveOverlayTest : public ::testing::Test {
 protected:
  Snapshot snapshot(const std::string& time) const {
    Snapshot made;
    made.now = at(time);
    made.network = network;
    return made;
  }

  std::shared_ptr<const Network> network = std::make_shared<Network>(testing::straight_network());
  LiveOverlay overlay;
  int asked = 0;
  const LiveScores::DelayOf delay_of = [this](const TripKey&) {
    ++asked;
    return std::optional<double>();
  };
};

TEST_F(LiveOverlayTest, WhatTheAgencySaysIsInTheNextSnapshot) {
  Snapshot before = snapshot("08:00:00");
  overlay.apply(before, delay_of);
  EXPECT_EQ(before.changes, nullptr);
  EXPECT_TRUE(before.trips.empty());
  overlay.tell(
      testing::report_of({testing::update_of("out", TripStatus::canceled)}, at("07:59:00")));
  Snapshot after = snapshot("08:00:01");
  overlay.apply(after, delay_of);
  ASSERT_EQ(after.trips.size(), 1U);
  EXPECT_EQ(after.trips[0].state, TripState::canceled);
  ASSERT_NE(after.changes, nullptr);
  EXPECT_EQ(after.changes->trips.size(), 1U);
}

TEST_F(LiveOverlayTest, TheDisplayIsSampledAndScored) {
  TripForecast forecast;
  forecast.trip = {TripId("out"), testing::monday, Seconds(0)};
  forecast.confidence = 1.0;
  forecast.stops = std::vector<StopForecast>(5);
  for (const char* const time : {"08:00:00", "08:00:10", "08:00:30"}) {
    Snapshot shown = snapshot(time);
    shown.trips = {forecast};
    overlay.apply(shown, delay_of);
    EXPECT_EQ(shown.scores.size(), 3U);
  }
  EXPECT_EQ(asked, 2) << "once every half minute";
  for (int i = 0; i <= 16; ++i) {
    VehiclePosition position = fix("v", "out", "08:00:00", 250.0 * i);
    position.time = position.received = at("08:00:00") + Seconds(30 * i);
    overlay.take(position, *network);
  }
  EXPECT_EQ(overlay.scores().scores().back().arrivals, 0U);
  overlay.finish(*network);
  EXPECT_EQ(overlay.scores().scores().back().arrivals, 4U);
}

}  // namespace
}  // namespace qiv
