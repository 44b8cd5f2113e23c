#include "worker/stream_key.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qiv {
namespace {

using ::testing::ElementsAre;
using ::testing::Optional;

const TripOfVehicle trip{AgencyId("a/b"),
                         {TripId("t%1"), *ServiceDate::parse("20250303"), Seconds(3600)},
                         VehicleId("v")};

TEST(StreamKeyTest, PartsMayHoldAnything) {
  EXPECT_EQ(join_key({"a/b", "", "50%"}), "a%2Fb//50%25");
  EXPECT_THAT(split_key("a%2Fb//50%25"), Optional(ElementsAre("a/b", "", "50%")));
}

TEST(StreamKeyTest, OneTextHasOneKey) {
  for (const char* const key : {"a%", "a%2", "a%41", "%2f"}) EXPECT_FALSE(split_key(key)) << key;
}

TEST(StreamKeyTest, AForecastsGroupIsItsTrip) {
  EXPECT_EQ(forecast_key(trip), "a%2Fb/t%251/20250303/3600/v");
  EXPECT_EQ(forecast_group(trip), "a%2Fb/t%251/20250303/3600");
  EXPECT_EQ(parse_forecast_key(forecast_key(trip)), trip);
}

TEST(StreamKeyTest, AFinishedTripsGroupIsItsPattern) {
  const FinishedKey key{trip, PatternRef("r/0/A-B/12"), from_unix_seconds(1'741'000'000)};
  EXPECT_EQ(finished_key(key), "a%2Fb/r%2F0%2FA-B%2F12/t%251/20250303/3600/v/1741000000");
  EXPECT_EQ(finished_group(key), "a%2Fb/r%2F0%2FA-B%2F12");
  EXPECT_EQ(parse_finished_key(finished_key(key)), key);
}

TEST(StreamKeyTest, OtherTextsAreNoKeys) {
  for (const char* const key :
       {"", "a/t/20250303/0", "a/t/20250303/0/", "a/t/20251303/0/v", "a/t/19000101/0/v",
        "a/t/20250303/x/v", "a/t/20250303/-1/v", "a/t/20250303/0/v/w"}) {
    EXPECT_FALSE(parse_forecast_key(key)) << key;
  }
  for (const char* const key : {"a//t/20250303/0/v/1", "a/p/t/20250303/0/v", "a/p/t/20250303/0/v/x",
                                "a/p/t/20250303/0/v/-1", "a/p/t/20250303/0//1"}) {
    EXPECT_FALSE(parse_finished_key(key)) << key;
  }
}

TEST(StreamKeyTest, APositionsKeyIsAgencyAndVehicle) {
  EXPECT_EQ(position_key(AgencyId("a"), VehicleId("7/3")), "a/7%2F3");
}

}  // namespace
}  // namespace qiv
