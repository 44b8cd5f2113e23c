#include "publish/trip_entity.h"

#include <gmock/gmock.h>

#include "host/publish/small_network.h"

namespace qiv {
namespace {

using testing::at;
using testing::forecast_of;
using testing::small_network;
using transit_realtime::FeedEntity;

class TripEntityTest : public ::testing::Test {
 protected:
  /// Until when the entity stays; `entity` is what was written.
  std::optional<Instant> write(Instant time, const TripUpdateOptions& options = {}) {
    Rejections withheld;
    entity.Clear();
    return write_entity(*published_trip(forecast, network, withheld), network, time, options,
                        entity);
  }

  const Network network = small_network();
  TripForecast forecast =
      forecast_of(network, "T1", "08:05:00", {"07:58:00", "08:03:00"}, {"08:15:00", "08:26:00"});
  FeedEntity entity;
};

TEST_F(TripEntityTest, StaysUntilTheTimeOfAStopThatWasPassedEarly) {
  EXPECT_EQ(write(at("08:05:00")), at("08:06:00")) << "the departure from the market";
  EXPECT_EQ(entity.trip_update().stop_time_update_size(), 3);
  EXPECT_EQ(write(at("08:06:01")), Instant::max());
  EXPECT_EQ(entity.trip_update().stop_time_update_size(), 2);
}

TEST_F(TripEntityTest, StaysUntilAStopComesWithinTheHorizon) {
  const TripUpdateOptions options{Seconds(15 * 60)};
  EXPECT_EQ(write(at("08:07:00"), options), at("08:10:59")) << "a second before 08:26 - 15 min";
  FeedEntity before = entity;
  write(at("08:10:59"), options);
  before.mutable_trip_update()->set_timestamp(entity.trip_update().timestamp());
  EXPECT_EQ(entity.SerializeAsString(), before.SerializeAsString());
  write(at("08:11:00"), options);
  EXPECT_NE(entity.SerializeAsString(), before.SerializeAsString());
}

TEST_F(TripEntityTest, ThereMayBeNothingToSay) {
  EXPECT_EQ(write(at("08:07:00"), {Seconds(60)}), std::nullopt);
}

TEST_F(TripEntityTest, WithoutNewsItSaysTheSame) {
  write(at("08:05:00"));
  const std::string before = entity.SerializeAsString();
  const std::vector<StopNews> news = news_of(forecast.stops);
  StopForecast& next = forecast.stops.edit()[2];
  next.arrival.lower_90 -= Seconds(60);
  next.spread_s += 1.0;
  EXPECT_EQ(news_of(forecast.stops), news);
  write(at("08:05:00"));
  EXPECT_EQ(entity.SerializeAsString(), before);
  next.arrival.upper_68 += Seconds(2);
  EXPECT_NE(news_of(forecast.stops), news);
  write(at("08:05:00"));
  EXPECT_NE(entity.SerializeAsString(), before);
}

TEST_F(TripEntityTest, TheTimestampIsNeverLaterThanTheMessage) {
  const auto unix_s = [](Instant time) { return static_cast<std::uint64_t>(unix_seconds(time)); };
  EXPECT_EQ(entity_timestamp(forecast, at("08:05:00")), unix_s(forecast.position_time));
  EXPECT_EQ(entity_timestamp(forecast, at("08:00:00")), unix_s(at("08:00:00")));
  forecast.position_time = Instant();
  EXPECT_EQ(entity_timestamp(forecast, at("08:10:00")), unix_s(forecast.made));
}

}  // namespace
}  // namespace qiv
