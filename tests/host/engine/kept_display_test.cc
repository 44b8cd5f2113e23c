#include "engine/kept_display.h"

#include <gmock/gmock.h>

#include <random>
#include <string>

#include "engine/bounds.h"
#include "engine/tracked_engine.h"
#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;

Instant second(long long s) {
  return from_unix_seconds(s);
}

TEST(KeptDisplay, HoldsUntilSomethingChanges) {
  KeptDisplay kept;
  const KeptDisplay::Basis basis{3, second(50), second(90)};
  EXPECT_TRUE(kept.empty());
  EXPECT_FALSE(kept.holds(basis, second(100)));
  kept.keep({}, basis, second(100), {second(120), second(95)});
  EXPECT_TRUE(kept.holds(basis, second(120)));
  EXPECT_FALSE(kept.holds(basis, second(121))) << "time has passed";
  EXPECT_FALSE(kept.holds(basis, second(99))) << "time goes back";
  EXPECT_TRUE(kept.holds({3, second(50), second(95)}, second(110)));
  EXPECT_FALSE(kept.holds({3, second(50), second(96)}, second(110))) << "overdue";
  EXPECT_FALSE(kept.holds({4, second(50), second(90)}, second(110)));
  EXPECT_FALSE(kept.holds({3, second(51), second(90)}, second(110)));
  kept.forget();
  EXPECT_TRUE(kept.empty());
  EXPECT_FALSE(kept.holds(basis, second(110)));
}

TEST(KeptDisplay, IsShownAsMadeNow) {
  KeptDisplay kept;
  TripForecast forecast;
  forecast.vehicle = VehicleId("v");
  kept.keep(forecast, {}, second(100), {second(120), second(95)});
  EXPECT_EQ(kept.kept().vehicle, VehicleId("v"));
  const TripForecast shown = kept.as_of(second(110), second(108));
  EXPECT_EQ(shown.vehicle, VehicleId("v"));
  EXPECT_EQ(shown.made, second(110));
  EXPECT_EQ(shown.position_time, second(108));
}

TEST(KeptDisplay, ABoundHoldsAsLongAsItSays) {
  Calibration calibration;
  for (std::size_t state = 0; state < Calibration::states; ++state) {
    for (std::size_t lead = 0; lead < Calibration::leads; ++lead) {
      calibration.quantiles[state][lead].floor_s = 10.0 + 5.0 * static_cast<double>(lead);
    }
  }
  std::size_t held = 0;
  for (const RawTime raw : {RawTime{4000.4, 900.0}, RawTime{900.0, 0.0}, RawTime{0.0, 100.0}}) {
    for (long long now = 0; now < 4100; ++now) {
      Instant until = Instant::max();
      const BoundedTime bounded = bound(raw, TripState::under_way, second(now), calibration, until);
      ASSERT_GE(until, second(now));
      for (const Instant later : {second(now + 1), until}) {
        if (later > until) continue;
        ASSERT_EQ(bound(raw, TripState::under_way, later, calibration), bounded) << now;
        ++held;
      }
    }
  }
  EXPECT_GT(held, 4000u);
}

std::string text(const TripForecast& shown) {
  std::string text = to_string(shown.trip) + " " + shown.vehicle.text() + " " +
                     to_string(shown.state) + " " + std::to_string(unix_seconds(shown.made)) + " " +
                     std::to_string(unix_seconds(shown.position_time)) + " " +
                     std::to_string(shown.offset_m) + " " + std::to_string(shown.trips) + " " +
                     std::to_string(shown.category) + " " + std::to_string(shown.confidence);
  for (const StopForecast& stop : shown.stops) {
    text += "\n ";
    for (const Instant time :
         {stop.arrival.time, stop.arrival.lower_68, stop.arrival.upper_68, stop.arrival.lower_90,
          stop.arrival.upper_90, stop.departure, stop.library_lower, stop.library_upper}) {
      text += " " + std::to_string(unix_seconds(time));
    }
    text += stop.observed ? " observed " : " " + std::to_string(stop.spread_s);
  }
  return text;
}

/// Vehicles that wait, run at their own pace, stand for a while, say the same twice, and arrive; on
/// both trips of the line, one after the other, the first of them from `first_start` on.
std::vector<VehiclePosition> traffic(unsigned seed, const char* first_start) {
  std::mt19937 random(seed);
  const auto draw = [&](int least, int most) {
    return std::uniform_int_distribution<int>(least, most)(random);
  };
  std::vector<VehiclePosition> positions;
  for (const auto& [trip, start] :
       {std::pair("out", first_start), std::pair("later", "09:06:00")}) {
    double offset_m = 0.0;
    VehiclePosition last = fix("v", trip, start, 0.0);
    for (int s = 0; s < 1500; s += draw(5, 15)) {
      if (draw(0, 3) > 0) {
        offset_m = std::min(4000.0, offset_m + (s < 100 ? 0 : draw(0, 120)));
        last = fix("v", trip, start, offset_m);
        last.time += Seconds(s);
      }
      last.received = at(start) + Seconds(s);
      positions.push_back(last);
    }
  }
  return positions;
}

class KeptDisplayTest : public ::testing::Test {
 protected:
  TrackedEngine engine() const {
    return TrackedEngine(network, settings,
                         [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); });
  }

  /// One vehicle is to run both trips.
  static Timetable timetable() {
    Timetable timetable = testing::straight_timetable();
    for (Trip& trip : timetable.trips) {
      if (trip.id != TripId("loop1")) trip.block = BlockId("b");
    }
    return timetable;
  }

  const Network network = build_network(timetable());
  const LearnedSettings settings;
};

TEST_F(KeptDisplayTest, WhatIsKeptIsWhatWouldBeMade) {
  for (const auto& [seed, start] :
       {std::pair(1U, "07:58:00"), std::pair(2U, "07:58:00"), std::pair(3U, "08:40:00")}) {
    const std::vector<VehiclePosition> positions = traffic(seed, start);
    TrackedEngine watched = engine();
    auto position = positions.begin();
    for (Instant now = at("07:30:00"); now < at("09:40:00"); ++now) {
      for (; position != positions.end() && position->received <= now; ++position) {
        watched.take(*position);
      }
      watched.advance(now);
      const std::vector<TripForecast> shown = watched.engine().forecasts(now);
      if (unix_seconds(now) % 97 != 0) continue;
      TrackedEngine fresh = engine();
      for (auto p = positions.begin(); p != position; ++p) fresh.take(*p);
      fresh.advance(now);
      const std::vector<TripForecast> made = fresh.engine().forecasts(now);
      ASSERT_EQ(shown.size(), made.size()) << format_utc(now);
      for (std::size_t i = 0; i < made.size(); ++i) {
        ASSERT_EQ(text(shown[i]), text(made[i])) << format_utc(now);
      }
    }
  }
}

TEST_F(KeptDisplayTest, ATripWithoutNewsKeepsItsStops) {
  TrackedEngine watched = engine();
  const auto before = watched.engine().forecasts(at("08:15:00"));
  const auto after = watched.engine().forecasts(at("08:15:30"));
  ASSERT_EQ(before.size(), 1u);
  ASSERT_EQ(after.size(), 1u);
  EXPECT_TRUE(after[0].stops.shares_with(before[0].stops));
  EXPECT_EQ(after[0].made, at("08:15:30"));
  EXPECT_EQ(after[0].position_time, at("08:15:30"));
}

}  // namespace
}  // namespace qiv
