#include "serve/live_scores.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/serve/agency/agency_test_reports.h"
#include "host/serve/line_service.h"

namespace qiv {
namespace {

using testing::at;
using testing::key_of;
using testing::run_over_line;

class LiveScoresTest : public ::testing::Test {
 protected:
  /// A display that says `arrival` for the last stop of trip "out".
  TripForecast display(Instant arrival, Seconds half_width) const {
    TripForecast forecast;
    forecast.trip = key_of("out");
    forecast.confidence = 1.0;
    for (std::uint32_t i = 0; i < 5; ++i) {
      StopForecast stop;
      stop.stop = i;
      stop.observed = i < 4;
      stop.arrival = {arrival, arrival - half_width, arrival + half_width, arrival - 2 * half_width,
                      arrival + 2 * half_width};
      forecast.stops.edit().push_back(stop);
    }
    return forecast;
  }

  static std::optional<double> no_delay(const TripKey&) { return std::nullopt; }

  Network network = testing::straight_network();
  LiveScores scores;
};

TEST_F(LiveScoresTest, ATripCountsOnceItIsOver) {
  const auto positions = run_over_line("v", "out", at("08:00:00"));
  for (const VehiclePosition& position : positions) scores.take(position, network);
  const Seconds patience = LiveScoreOptions().patience;
  scores.sample(at("08:07:00"), {display(at("08:08:00"), Seconds(5))}, no_delay, network);
  EXPECT_EQ(scores.scores().back().arrivals, 0U);
  scores.sample(positions.back().received + patience + Seconds(1), {}, no_delay, network);
  const LiveScore all = scores.scores().back();
  EXPECT_EQ(all.arrivals, 4U);
  EXPECT_EQ(all.buckets[0].n, 1U);
}

TEST_F(LiveScoresTest, MeasuresErrorAndCoverage) {
  for (const VehiclePosition& p : run_over_line("v", "out", at("08:00:00"))) {
    scores.take(p, network);
  }
  // The vehicle is at the last stop's zone a little before 08:08:00.
  scores.sample(at("08:06:30"), {display(at("08:07:00"), Seconds(90))}, no_delay, network);
  scores.sample(at("08:07:00"), {display(at("08:07:00"), Seconds(10))}, no_delay, network);
  scores.finish(network);
  const LiveScoreBucket bucket = scores.scores().back().buckets.front();
  ASSERT_EQ(bucket.n, 2U);
  EXPECT_NEAR(bucket.mae_s, 53.0, 2.0);
  EXPECT_DOUBLE_EQ(bucket.bias_s, bucket.mae_s);
  EXPECT_DOUBLE_EQ(bucket.coverage_68, 0.5);
  EXPECT_DOUBLE_EQ(bucket.coverage_90, 0.5);
  EXPECT_NEAR(bucket.timetable_mae_s, 7.0, 2.0);
}

TEST_F(LiveScoresTest, WhatWasNotShownCountsWithTheTimetablesError) {
  for (const VehiclePosition& p : run_over_line("v", "out", at("08:00:00"), 150)) {
    scores.take(p, network);
  }
  scores.sample(at("08:05:00"), {}, no_delay, network);
  scores.finish(network);
  for (const LiveScoreBucket& bucket : scores.scores().back().buckets) {
    EXPECT_DOUBLE_EQ(bucket.mae_s, bucket.timetable_mae_s);
  }
  EXPECT_EQ(scores.scores().back().buckets[0].n, 1U);
}

TEST_F(LiveScoresTest, SamplesEveryHalfMinute) {
  EXPECT_TRUE(scores.is_due(at("08:00:00")));
  scores.sample(at("08:00:00"), {}, no_delay, network);
  EXPECT_FALSE(scores.is_due(at("08:00:29")));
  EXPECT_TRUE(scores.is_due(at("08:00:30")));
}

TEST_F(LiveScoresTest, TheLastHourForgetsWhatIsOlder) {
  for (const VehiclePosition& p : run_over_line("v", "out", at("08:00:00"))) {
    scores.take(p, network);
  }
  scores.sample(at("08:05:00"), {}, no_delay, network);
  scores.sample(at("08:40:00"), {}, no_delay, network);
  ASSERT_EQ(scores.scores()[0].arrivals, 4U);
  scores.sample(at("09:41:00"), {}, no_delay, network);
  EXPECT_EQ(scores.scores()[0].arrivals, 0U);
  EXPECT_EQ(scores.scores()[1].arrivals, 4U);
}

TEST_F(LiveScoresTest, OfALargeFleetAFixedPartIsScored) {
  LiveScoreOptions options;
  options.most_trips = 1;
  LiveScores few(options);
  std::vector<TripForecast> shown(1000, display(at("08:08:00"), Seconds(5)));
  few.sample(at("07:59:00"), shown, no_delay, network);
  for (const VehiclePosition& p : run_over_line("v", "loop1", at("10:00:00"))) {
    few.take(p, network);
  }
  few.finish(network);
  EXPECT_EQ(few.scores().back().arrivals, 0U);
}

/// An update that predicts the arrival at the last stop of "out".
TripUpdate last_arrival(const char* time) {
  TripUpdate update = testing::update_of("out");
  PredictedCall call;
  call.stop_sequence = 5;
  call.arrival.time = at(time);
  update.calls.push_back(call);
  return update;
}

TEST_F(LiveScoresTest, ScoresTheAgencyOnTheSameEvents) {
  for (const VehiclePosition& p : run_over_line("v", "out", at("08:00:00"))) {
    scores.take(p, network);
  }
  scores.take(testing::report_of(std::vector{last_arrival("08:10:00")}, at("08:06:10")), network);
  scores.sample(at("08:06:30"), {display(at("08:07:00"), Seconds(90))}, no_delay, network);
  scores.finish(network);
  const LiveScore all = scores.scores().back();
  const LiveScoreBucket& bucket = all.buckets.front();
  ASSERT_EQ(bucket.n, 1U);
  ASSERT_TRUE(bucket.agency);
  EXPECT_EQ(bucket.agency->own_n, 1U);
  // The vehicle comes a little before 08:08:00: the agency was too late by as much as we too early.
  EXPECT_NEAR(bucket.agency->mae_s, 127.0, 2.0);
  EXPECT_DOUBLE_EQ(bucket.agency->bias_s, -bucket.agency->mae_s);
  EXPECT_DOUBLE_EQ(bucket.agency->own_mae_s, bucket.agency->mae_s);
  EXPECT_DOUBLE_EQ(bucket.agency->forecast_mae_s, bucket.mae_s);
  EXPECT_EQ(all.agency_eta_score, 0.0);
  EXPECT_FALSE(all.buckets[1].agency) << "no event";
}

TEST_F(LiveScoresTest, TheTimetableStandsInForWhatTheAgencyDoesNotPredict) {
  for (const VehiclePosition& p : run_over_line("v", "out", at("08:00:00"), 150)) {
    scores.take(p, network);
  }
  scores.take(testing::report_of(std::vector{last_arrival("08:10:00")}, at("08:00:00")), network);
  scores.sample(at("08:05:01"), {}, no_delay, network);
  scores.finish(network);
  const LiveScoreBucket& bucket = scores.scores().back().buckets.front();
  ASSERT_TRUE(bucket.agency);
  EXPECT_EQ(bucket.agency->own_n, 0U) << "older than five minutes";
  EXPECT_DOUBLE_EQ(bucket.agency->mae_s, bucket.timetable_mae_s);
}

TEST_F(LiveScoresTest, WithoutAnAgencyThereIsNoScoreOfIt) {
  for (const VehiclePosition& p : run_over_line("v", "out", at("08:00:00"))) {
    scores.take(p, network);
  }
  scores.take(testing::report_of(std::vector<ServiceAlert>(), at("08:00:00")), network);
  scores.sample(at("08:05:00"), {}, no_delay, network);
  scores.finish(network);
  EXPECT_FALSE(scores.scores().back().buckets.front().agency);
  EXPECT_FALSE(scores.scores().back().agency_eta_score);
}

}  // namespace
}  // namespace qiv
