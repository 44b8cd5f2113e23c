#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>

#include "engine/tracked_engine.h"
#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;

/// Everything that an engine tells, as text.
class Transcript {
 public:
  void add(const TrackEvent& event) { _text << event.index() << ' ' << vehicle_of(event) << '\n'; }
  void add(const TripForecast& shown) {
    _text << to_string(shown.trip) << ' ' << shown.vehicle << ' ' << to_string(shown.state) << ' '
          << shown.category << ' ' << shown.trips;
    for (const StopForecast& stop : shown.stops) {
      _text << ' ' << unix_seconds(stop.arrival.time) << ' ' << unix_seconds(stop.arrival.lower_90)
            << ' ' << std::hexfloat << stop.spread_s;
    }
    _text << '\n';
  }
  void add(const TripRun& run, Instant now) {
    _text << "finished " << to_string(run.trip) << ' ' << run.vehicle << ' ' << unix_seconds(now)
          << '\n';
  }
  void add(const Tracker::VehicleReport& said) {
    _text << said.vehicle << ' ' << to_string(said.status) << ' ' << unix_seconds(said.since)
          << '\n';
  }
  void add(const Rejections& rejections) {
    for (const auto& [reason, entry] : rejections.entries()) {
      _text << reason << ' ' << entry.count << '\n';
    }
  }
  std::string text() const { return _text.str(); }

 private:
  std::ostringstream _text;
};

/// Many vehicles on the two trips of the straight line: some fall silent, some leave the path, some
/// turn back, and all of them report together.
std::vector<VehiclePosition> crowd(unsigned seed) {
  std::mt19937 random(seed);
  const auto draw = [&](int least, int most) {
    return std::uniform_int_distribution<int>(least, most)(random);
  };
  constexpr int vehicles = 70;
  std::vector<double> offset_m(vehicles, 0.0);
  std::vector<int> silent_until(vehicles, 0);
  std::vector<VehiclePosition> positions;
  for (int second = 0; second < 4800; second += 20) {
    for (int v = 0; v < vehicles; ++v) {
      const auto i = static_cast<std::size_t>(v);
      if (second < silent_until[i] || second < 10 * v) continue;
      if (draw(0, 250) == 0) silent_until[i] = second + draw(600, 2400);
      offset_m[i] = std::max(0.0, offset_m[i] + draw(-30, 350));
      const bool again = offset_m[i] > 4200.0;
      VehiclePosition position = fix(("v" + std::to_string(v)).c_str(),
                                     second > 2400 ? "later" : "out", "08:00:00", offset_m[i]);
      if (again) offset_m[i] = 0.0;
      if (draw(0, 40) == 0) position.place->lat_deg += 0.02;
      position.time = position.received = at("08:00:00") + Seconds(second);
      positions.push_back(position);
    }
  }
  return positions;
}

std::string run(std::size_t shards, const std::vector<VehiclePosition>& positions) {
  const Network network = testing::straight_network();
  const LearnedSettings settings;
  EngineOptions options;
  options.shards = shards;
  Transcript transcript;
  TrackedEngine tracked(
      network, settings, [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); }, {},
      options);
  tracked.observe({[&](const TrackEvent& event) { transcript.add(event); },
                   [&](const Progress&, const TripForecast& shown) { transcript.add(shown); },
                   [&](const TripRun& trip, Instant now) { transcript.add(trip, now); }});
  for_each_second(positions, [&](std::span<const VehiclePosition> together) {
    tracked.take(together);
    const Instant now = together.front().received;
    if (unix_seconds(now) % 300 != 0) return;
    for (const TripForecast& shown : tracked.engine().forecasts(now)) transcript.add(shown);
    for (const Tracker::VehicleReport& said : tracked.vehicles()) transcript.add(said);
  });
  tracked.finish(positions.back().received);
  transcript.add(tracked.rejections());
  return transcript.text();
}

TEST(ShardsTest, NothingDependsOnTheirNumber) {
  for (const unsigned seed : {1U, 2U}) {
    const std::vector<VehiclePosition> positions = crowd(seed);
    const std::string one = run(1, positions);
    EXPECT_GT(one.size(), 500'000U);
    EXPECT_NE(one.find("finished"), std::string::npos);
    for (const std::size_t shards : {2U, 3U, 5U}) {
      const std::string other = run(shards, positions);
      const auto differ = std::mismatch(one.begin(), one.end(), other.begin(), other.end());
      const auto place = static_cast<std::size_t>(differ.first - one.begin());
      EXPECT_TRUE(other == one) << shards << " shards, seed " << seed << ", from here on:\n"
                                << one.substr(place > 200 ? place - 200 : 0, 400) << "\nagainst\n"
                                << other.substr(place > 200 ? place - 200 : 0, 400);
    }
  }
}

}  // namespace
}  // namespace qiv
