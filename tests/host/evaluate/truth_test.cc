#include "evaluate/truth.h"

#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;
using testing::monday;
using testing::stated;

const TripKey out{TripId("out"), monday, Seconds(0)};

TEST(TruthTest, InterpolatesBetweenTheReportsAroundAStop) {
  const Network network = testing::straight_network();
  const std::vector<VehiclePosition> reports = {
      fix("v", "out", "08:00:00", 0), fix("v", "out", "08:01:00", 500),
      fix("v", "out", "08:03:00", 1500), fix("v", "out", "08:04:00", 1990),
      fix("v", "out", "08:09:00", 4000)};
  const Truth truth = observe(network, reports);
  const TripTruth& trip = truth.at(out);
  EXPECT_FALSE(trip.arrivals[0]) << "the first stop has no arrival";
  EXPECT_NEAR(static_cast<double>((trip.arrivals[1]->time - at("08:02:00")).count()), 0, 1);
  EXPECT_EQ(trip.arrivals[1]->gap, Seconds(120));
  EXPECT_FALSE(trip.arrivals[1]->stated);
  EXPECT_EQ(trip.arrivals[3]->gap, Seconds(300));
  EXPECT_TRUE(trip.arrivals[4]);
}

TEST(TruthTest, WhatTheFeedStatesWins) {
  const Network network = testing::straight_network();
  const Truth truth = observe(
      network, std::vector{stated("v", "out", "08:00:00", StopStatus::in_transit_to, 2, 0),
                           stated("v", "out", "08:02:10", StopStatus::stopped_at, 2, 1000),
                           stated("v", "out", "08:03:10", StopStatus::stopped_at, 2, 1000),
                           stated("v", "out", "08:05:00", StopStatus::in_transit_to, 4, 2000)});
  const TripTruth& trip = truth.at(out);
  EXPECT_EQ(trip.arrivals[1]->time, at("08:02:10"));
  EXPECT_TRUE(trip.arrivals[1]->stated);
  ASSERT_TRUE(trip.arrivals[2]) << "gone from it by 08:05";
  EXPECT_FALSE(trip.arrivals[2]->stated);
  EXPECT_FALSE(trip.arrivals[3]);
}

TEST(TruthTest, AStatementBeforeTheTripHasBegunIsNoArrival) {
  const Network network = testing::straight_network();
  const Truth truth = observe(
      network, std::vector{stated("v", "out", "07:57:00", StopStatus::stopped_at, 5, 4000),
                           stated("v", "out", "08:00:00", StopStatus::stopped_at, 1, 0),
                           stated("v", "out", "08:02:10", StopStatus::stopped_at, 2, 1000),
                           stated("v", "out", "08:04:00", StopStatus::stopped_at, 3, 2000),
                           stated("v", "out", "08:08:30", StopStatus::stopped_at, 5, 4000)});
  const TripTruth& trip = truth.at(out);
  EXPECT_EQ(trip.arrivals[1]->time, at("08:02:10"));
  ASSERT_TRUE(trip.arrivals[4]);
  EXPECT_EQ(trip.arrivals[4]->time, at("08:08:30"));
}

TEST(TruthTest, AnArrivalInALongGapIsNotKnown) {
  const Network network = testing::straight_network();
  const Truth truth = observe(
      network, std::vector{fix("v", "out", "08:00:00", 200), fix("v", "out", "08:10:00", 1500)});
  EXPECT_FALSE(truth.at(out).arrivals[1]);
}

TEST(TruthTest, OneFixOffTheRoadDoesNotDisturb) {
  const Network network = testing::straight_network();
  const Truth truth = observe(
      network, std::vector{fix("v", "out", "08:00:00", 200), fix("v", "out", "08:00:30", 3600),
                           fix("v", "out", "08:01:00", 600), fix("v", "out", "08:02:00", 1400)});
  ASSERT_TRUE(truth.at(out).arrivals[1]);
  EXPECT_NEAR(static_cast<double>((truth.at(out).arrivals[1]->time - at("08:01:30")).count()), 0,
              2);
}

}  // namespace
}  // namespace qiv
