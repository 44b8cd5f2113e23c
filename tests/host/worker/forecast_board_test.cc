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
      } else if (const auto* const state = std::get_if<VehicleState>(&one)) {
        messages.push_back(encode_vehicle(*state));
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

  /// "vehicle status".
  std::vector<std::string> vehicles() const {
    std::vector<std::string> texts;
    for (const VehicleState& state : board.vehicles()) {
      texts.push_back(state.said.vehicle.text() + " " + to_string(state.said.status));
    }
    return texts;
  }

  /// What a board shows of the trip "out".
  static TripForecast forecast(ForecastBoard& of, const std::string& time) {
    for (TripForecast& trip : of.show(at(time), Seconds(1200))) {
      if (trip.trip.trip == TripId("out")) return trip;
    }
    return {};
  }

  /// The same messages as a program writes them that does not know what was added since.
  static std::vector<StreamMessage> as_before(std::vector<StreamMessage> messages,
                                              const Network& of) {
    std::erase_if(messages, is_of_vehicle);
    for (StreamMessage& message : messages) {
      auto decoded = std::get<0>(decode_forecast(message, of));
      auto* const told = std::get_if<VehicleForecast>(&decoded);
      if (told == nullptr) continue;
      told->followed.reset();
      const auto headers = message.headers;
      message = encode_forecast(*told, of);
      message.headers = headers;
    }
    return messages;
  }

  TripKey out() const { return {TripId("out"), testing::monday, Seconds(0)}; }

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
  EXPECT_THAT(vehicles(), ElementsAre("v second vehicle on a trip", "w under way"));
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
  EXPECT_THAT(vehicles(), ElementsAre("v at terminus"));
}

TEST_F(ForecastBoardTest, WhatIsRepeatedOrComesLateChangesNothing) {
  const auto first = say(fix("v", "out", "08:01:00", 500));
  const auto second = say(fix("v", "out", "08:02:00", 1000));
  take(first);
  take(second);
  take(first);
  EXPECT_EQ(board.repeated(), 1U) << "the forecast; nothing newer is said of the vehicle";
  EXPECT_EQ(board.taken(), first.size() + second.size() + 1);
  EXPECT_EQ(board.newest(), at("08:02:00"));
  EXPECT_NEAR(forecast(board, "08:02:00").offset_m, 1000.0, 0.01);
}

TEST_F(ForecastBoardTest, AVehicleThatIsNotHeardOfForLongIsLeftOut) {
  take(say(fix("v", "out", "08:01:00", 500)));
  EXPECT_THAT(shown("08:21:00"), ElementsAre("later", "out v"));
  EXPECT_THAT(shown("08:21:01"), ElementsAre("later"));
}

TEST_F(ForecastBoardTest, AForecastMovesOnWithTheClock) {
  take(say(fix("v", "out", "08:01:00", 500)));
  const Instant expected = forecast(board, "08:01:00").stops[1].arrival.time;
  EXPECT_EQ(expected, at("08:02:00"));
  EXPECT_EQ(forecast(board, "08:05:00").stops[1].arrival.time, at("08:05:00"));
  EXPECT_EQ(forecast(board, "08:05:00").made, at("08:05:00"));
  EXPECT_EQ(forecast(board, "08:05:00").position_time, at("08:01:00"));
}

TEST_F(ForecastBoardTest, AForecastThatDoesNotSayWhatFromIsShownAsItWasMade) {
  take(as_before(say(fix("v", "out", "08:01:00", 500)), network));
  EXPECT_EQ(forecast(board, "08:05:00").stops[1].arrival.time, at("08:02:00"));
  EXPECT_EQ(forecast(board, "08:05:00").made, at("08:01:00"));
  EXPECT_THAT(vehicles(), ElementsAre("v under way"));
  EXPECT_EQ(board.why(out()).reason, "the worker that made the forecast does not say what from");
  take(say(fix("v", "out", "08:02:00", 1000)));
  EXPECT_EQ(forecast(board, "08:05:00").made, at("08:05:00"));
}

TEST_F(ForecastBoardTest, TellsTheEarlierTripsBehindAForecast) {
  std::vector<PartitionOutput> output;
  for (int i = 0; i <= 16; ++i) {
    VehiclePosition position = fix("u", "out", "08:00:00", 250.0 * i);
    position.time = position.received = at("08:00:00") + Seconds(33 * i) - std::chrono::hours(24);
    engine.take(position, output);
  }
  const auto earlier = std::get<FinishedTrip>(output.back());
  const HistorySource history = [&](PatternIndex pattern, const Grid& grid) {
    auto made = make_trajectory(earlier.run, network.pattern(pattern), grid.milestones_m);
    std::get<Trajectory>(made).finished = earlier.finished;
    return std::vector{std::get<Trajectory>(made)};
  };
  engine.learn_from(earlier);
  ForecastBoard with_history(network, settings, history);
  EXPECT_EQ(with_history.why(out()).reason, "no vehicle is under way on this trip");
  for (const auto& message : say(fix("v", "out", "08:00:00", 0))) with_history.take(message);
  EXPECT_EQ(with_history.why(out()).reason, "no vehicle is under way on this trip") << "it waits";
  for (const auto& message : say(fix("v", "out", "08:01:00", 500))) with_history.take(message);
  const auto found = with_history.why(out());
  ASSERT_TRUE(found.explanation) << found.reason;
  ASSERT_EQ(found.explanation->trips.size(), 1U);
  EXPECT_EQ(found.explanation->trips[0].trip, earlier.run.trip);
  EXPECT_EQ(found.explanation->trips[0].weight, 1.0);
  EXPECT_EQ(found.explanation->basis, ForecastBasis::history);
  EXPECT_NEAR(*with_history.delay_s(out()), 0.0, 1.0);
}

TEST_F(ForecastBoardTest, WhatBeganBeforeTheFirstMessageCannotBeExplained) {
  say(fix("v", "out", "08:01:00", 500));
  take(say(fix("v", "out", "08:02:00", 1000)));
  EXPECT_EQ(board.why(out()).reason, "the stream no longer has the beginning of this trip");
  EXPECT_EQ(forecast(board, "08:02:00").stops[2].arrival.time, at("08:04:00"));
  take(say(fix("v", "out", "08:03:00", 1500)));
  EXPECT_EQ(board.why(out()).reason, "the stream no longer has the beginning of this trip");
}

TEST_F(ForecastBoardTest, WhatWasToldIsToldAgainToAnotherBoard) {
  take(say(fix("v", "out", "08:01:00", 500)));
  take(say(fix("v", "out", "08:02:00", 1000)));
  take(say(fix("x", "nowhere", "08:02:00", 1000)));
  ForecastBoard other(network, settings, nothing);
  for (const StreamMessage& message : board.told_again()) EXPECT_FALSE(other.take(message));
  const TripForecast one = forecast(board, "08:03:00");
  const TripForecast two = forecast(other, "08:03:00");
  EXPECT_EQ(one.stops[2], two.stops[2]);
  EXPECT_EQ(one.offset_m, two.offset_m);
  EXPECT_EQ(other.vehicles().size(), 2U);
  EXPECT_TRUE(other.why(out()).explanation);
}

TEST_F(ForecastBoardTest, MessagesOfTwoTripsMayComeInAnyOrder) {
  take(say(fix("v", "out", "08:01:00", 500)));
  const auto next = say(fix("v", "later", "08:02:00", 0));
  ASSERT_EQ(next.size(), 3U);
  EXPECT_TRUE(is_of_vehicle(next[0]));
  ASSERT_FALSE(next[1].value) << "it has left";
  const auto last = say(fix("v", "later", "08:02:30", 0));
  take({next[2]});
  take(last);
  take({next[1]});
  EXPECT_THAT(shown("08:03:00"), ElementsAre("later v"));
}

TEST_F(ForecastBoardTest, ForgetsTheVehiclesThatItIsToldTo) {
  take(say(fix("v", "out", "08:01:00", 500)));
  take(say(fix("x", "nowhere", "08:02:00", 1000)));
  EXPECT_THAT(vehicles(), ElementsAre("v under way", "x unknown trip"));
  board.forget([](const VehicleState&) { return true; });
  EXPECT_THAT(vehicles(), ElementsAre("v under way"));
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
