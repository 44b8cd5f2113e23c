#include "worker/followed_codec.h"

#include <gtest/gtest.h>

#include <functional>

#include "host/support/straight_line.h"
#include "qiv-stream.pb.h"
#include "worker/partition_engine.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;

class FollowedCodecTest : public ::testing::Test {
 protected:
  /// What a worker says of a vehicle that has come to the middle of the line.
  FollowedCodecTest() {
    PartitionEngine engine(network, settings,
                           [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); });
    std::vector<PartitionOutput> output;
    engine.take(fix("v", "out", "08:00:00", 0), output);
    engine.take(fix("v", "out", "08:01:10", 500), output);
    engine.take(fix("v", "out", "08:02:20", 1000.123), output);
    given = std::get<VehicleForecast>(output.back());
    given.followed->first_earlier = TripKey{TripId("x"), testing::monday, Seconds(3600)};
    given.followed->trips_at_start = 3;
    given.followed->trips_at_last = 4;
  }

  std::optional<FollowedTrip> back(const std::function<void(stream::Followed&)>& change =
                                       [](stream::Followed&) {}) const {
    stream::Followed wire;
    write_followed(*given.followed, given.forecast, wire);
    change(wire);
    return read_followed(wire, given.forecast);
  }

  Network network = testing::straight_network();
  LearnedSettings settings;
  VehicleForecast given;
};

TEST_F(FollowedCodecTest, NothingIsLostThatShowingItAnewNeeds) {
  const auto read = back();
  ASSERT_TRUE(read);
  const FollowedTrip& a = *given.followed;
  EXPECT_EQ(read->choice.basis, a.choice.basis);
  EXPECT_EQ(read->choice.trips, a.choice.trips);
  EXPECT_EQ(read->last_seen, a.last_seen);
  EXPECT_EQ(read->from, a.from);
  EXPECT_EQ(read->trips_at_start, 3U);
  EXPECT_EQ(read->trips_at_last, 4U);
  EXPECT_EQ(read->first_earlier, a.first_earlier);
  ASSERT_EQ(read->progress.size(), 1U);
  EXPECT_EQ(read->progress[0].offset_m, a.progress[0].offset_m);
  EXPECT_EQ(read->progress[0].time, at("08:02:20"));
  ASSERT_TRUE(read->latest);
  EXPECT_EQ(read->latest->first, a.latest->first);
  EXPECT_EQ(read->latest->confidence, a.latest->confidence);
  ASSERT_EQ(read->latest->rows.size(), a.latest->rows.size());
  for (std::size_t i = 0; i < a.latest->rows.size(); ++i) {
    EXPECT_EQ(read->latest->rows[i].time_s, a.latest->rows[i].time_s);
    EXPECT_EQ(read->latest->rows[i].lower_s, a.latest->rows[i].lower_s);
    EXPECT_EQ(read->latest->rows[i].upper_s, a.latest->rows[i].upper_s);
  }
}

TEST_F(FollowedCodecTest, AVehicleThatWaitsHasNoPlaceAndNoAnswer) {
  given.followed->progress.clear();
  given.followed->latest.reset();
  given.followed->first_earlier.reset();
  const auto read = back();
  ASSERT_TRUE(read);
  EXPECT_TRUE(read->progress.empty());
  EXPECT_FALSE(read->latest);
  EXPECT_FALSE(read->first_earlier);
}

TEST_F(FollowedCodecTest, WhatCannotBeShownIsNotRead) {
  EXPECT_FALSE(back([](auto& wire) { wire.clear_progress(); })) << "an answer without places";
  EXPECT_FALSE(back([](auto& wire) { wire.set_progress("?"); }));
  EXPECT_FALSE(back([](auto& wire) { wire.add_row_time(3); }));
  EXPECT_FALSE(back([](auto& wire) { wire.mutable_row_lower()->RemoveLast(); }));
  EXPECT_FALSE(back([](auto& wire) { wire.mutable_row_upper()->RemoveLast(); }));
  EXPECT_FALSE(back([](auto& wire) { wire.set_first_row(1000); }));
  EXPECT_FALSE(back([](auto& wire) { wire.set_row_time(0, 1LL << 40); }));
  EXPECT_FALSE(back([](auto& wire) { wire.set_row_upper(0, -(1LL << 40)); }));
  std::vector<StopForecast> stops(given.forecast.stops.begin(), given.forecast.stops.end());
  stops.back().spread_s = std::numeric_limits<double>::quiet_NaN();
  given.forecast.stops = stops;
  EXPECT_FALSE(back());
}

}  // namespace
}  // namespace qiv
