#include "worker/forecast_board.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/support/straight_line.h"
#include "worker/partition_engine.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::fix;

class ForecastBoardTest : public ::testing::Test {
 protected:
  static std::vector<Trajectory> nothing(PatternIndex, const Grid&) { return {}; }

  /// What a worker says of a position, with its place in the log.
  std::vector<StreamMessage> say(const VehiclePosition& position) {
    std::vector<PartitionOutput> output;
    engine.take(position, output);
    std::vector<StreamMessage> messages;
    for (const PartitionOutput& one : output) {
      if (const auto* const forecast = std::get_if<VehicleForecast>(&one)) {
        messages.push_back(encode_forecast(*forecast, network));
      } else if (const auto* const left = std::get_if<LeftTrip>(&one)) {
        messages.push_back(encode_left(*left));
      }
      if (!messages.empty())
        messages.back().headers[header::origin] = "0:" + std::to_string(offset);
    }
    ++offset;
    return messages;
  }

  void take(const std::vector<StreamMessage>& messages) {
    for (const StreamMessage& message : messages) EXPECT_FALSE(board.take(message));
  }

  /// "trip vehicle", or "trip" where there is none.
  std::vector<std::string> shown(const std::string& time) {
    std::vector<std::string> texts;
    for (const TripForecast& trip : board.show(at(time), Seconds(1200))) {
      const std::string vehicle = trip.vehicle.text();
      texts.push_back(trip.trip.trip.text() + (vehicle.empty() ? "" : " " + vehicle));
    }
    return texts;
  }

  Network network = testing::straight_network();
  LearnedSettings settings;
  PartitionEngine engine{network, settings, nothing};
  ForecastBoard board{network, settings, nothing};
  int offset = 0;
};

TEST_F(ForecastBoardTest, ShowsTripsUnderWayAndThoseThatNoVehicleHasBegun) {
  EXPECT_THAT(shown("07:50:00"), ElementsAre("out"));
  take(say(fix("v", "out", "08:01:00", 500)));
  EXPECT_THAT(shown("08:02:00"), ElementsAre("later", "out v"));
  EXPECT_EQ(board.newest(), at("08:01:00"));
}

TEST_F(ForecastBoardTest, OfTwoVehiclesOnATripTheFirstLeadsUntilItLeaves) {
  take(say(fix("w", "out", "08:01:00", 500)));
  take(say(fix("v", "out", "08:01:10", 600)));
  EXPECT_THAT(shown("08:02:00"), ElementsAre("later", "out w"));
  EXPECT_EQ(board.vehicles().size(), 2U);
  take({encode_left({{AgencyId(), {TripId("out"), testing::monday, Seconds(0)}, VehicleId("w")},
                     at("08:02:00"),
                     false})});
  EXPECT_THAT(shown("08:02:00"), ElementsAre("later", "out v"));
}

TEST_F(ForecastBoardTest, ATripThatIsFinishedIsGoneAndNotAnnouncedAgain) {
  for (int i = 0; i <= 16; ++i) {
    VehiclePosition position = fix("v", "out", "08:00:00", 250.0 * i);
    position.time = position.received = at("08:00:00") + Seconds(30 * i);
    take(say(position));
  }
  EXPECT_THAT(shown("08:08:30"), ElementsAre("later"));
  EXPECT_TRUE(board.vehicles().empty());
}

TEST_F(ForecastBoardTest, WhatIsRepeatedOrComesLateChangesNothing) {
  const auto first = say(fix("v", "out", "08:01:00", 500));
  const auto second = say(fix("v", "out", "08:02:00", 1000));
  take(first);
  take(second);
  take(first);
  EXPECT_EQ(board.repeated(), first.size());
  EXPECT_EQ(board.taken(), first.size() + second.size());
  EXPECT_EQ(board.vehicles().at(VehicleId("v")).forecast.made, at("08:02:00"));
}

TEST_F(ForecastBoardTest, AVehicleThatIsNotHeardOfForLongIsLeftOut) {
  take(say(fix("v", "out", "08:01:00", 500)));
  EXPECT_THAT(shown("08:21:00"), ElementsAre("later", "out v"));
  EXPECT_THAT(shown("08:21:01"), ElementsAre("later"));
}

TEST_F(ForecastBoardTest, WhatCannotBeReadSaysWhy) {
  const auto unused = board.take(make_message("k", "v", at("08:00:00")));
  ASSERT_TRUE(unused);
  EXPECT_EQ(unused->reason, "the key is no forecast's");
}

TEST_F(ForecastBoardTest, AnnouncedTripsLearnFromFinishedOnes) {
  std::vector<PartitionOutput> output;
  for (int i = 0; i <= 16; ++i) {
    VehiclePosition position = fix("v", "out", "08:00:00", 250.0 * i);
    position.time = position.received = at("08:00:00") + Seconds(30 * i);
    engine.take(position, output);
  }
  const auto basis = [&] { return board.show(at("08:30:00"), Seconds(1200)).front().basis; };
  EXPECT_EQ(basis(), ForecastBasis::timetable);
  board.learn_from(std::get<FinishedTrip>(output.back()));
  EXPECT_EQ(basis(), ForecastBasis::history);
}

}  // namespace
}  // namespace qiv
