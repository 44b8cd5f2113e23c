#include "serve/sources/feed_intake.h"

#include <gmock/gmock.h>

#include "host/feed/realtime_text.h"
#include "host/serve/sources/realtime_message.h"
#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::HasSubstr;
using testing::message_with;

/// A message of `time` with these entities.
std::string message(const char* time, const std::string& entities) {
  return message_of("header { gtfs_realtime_version: \"2.0\" timestamp: " +
                    std::to_string(unix_seconds(at(time))) + " } " + entities);
}

constexpr const char* canceled =
    R"(entity { id: "1" trip_update { trip { trip_id: "out" schedule_relationship: CANCELED } } })";
constexpr const char* strike = R"(entity { id: "strike" alert {
    effect: NO_SERVICE informed_entity { route_id: "r" } } })";

class FeedIntakeTest : public ::testing::Test {
 protected:
  FeedIntake intake(FeedContent content) {
    FeedIntakeOptions options;
    options.name = "feed";
    options.content = content;
    options.hold = Seconds(300);
    return FeedIntake(options, [this](AgencyReport report) { told.push_back(std::move(report)); });
  }
  TakePositions take() {
    return [this](std::vector<VehiclePosition>&& positions) { taken += positions.size(); };
  }

  std::vector<AgencyReport> told;
  std::size_t taken = 0;
};

TEST_F(FeedIntakeTest, HandsOnPositionsAsTheyLook) {
  FeedIntake feed = intake(FeedContent::positions);
  EXPECT_TRUE(feed.take(at("08:00:05"), message_with("v", at("08:00:00")), take()));
  EXPECT_EQ(taken, 1U);
  EXPECT_FALSE(feed.take(at("08:00:06"), "<html>", take()));
  EXPECT_THAT(feed.view(at("08:00:06")).detail, HasSubstr("malformed"));
  EXPECT_TRUE(told.empty());
}

TEST_F(FeedIntakeTest, TellsWhatTripUpdatesSay) {
  FeedIntake feed = intake(FeedContent::trip_updates);
  EXPECT_TRUE(feed.take(at("08:00:05"), message("08:00:00", canceled), take()));
  ASSERT_EQ(told.size(), 1U);
  EXPECT_EQ(told[0].source, "feed");
  EXPECT_EQ(told[0].received, at("08:00:05"));
  EXPECT_EQ(told[0].time(), at("08:00:00"));
  EXPECT_EQ(told[0].hold, Seconds(300));
  ASSERT_EQ(told[0].content->updates.size(), 1U);
  EXPECT_EQ(told[0].content->updates[0].status, TripStatus::canceled);
  const SourceView view = feed.view(at("08:00:06"));
  EXPECT_EQ(view.health, SourceHealth::good);
  EXPECT_EQ(view.statements, 1U);
  EXPECT_EQ(view.positions, 0U);
  EXPECT_EQ(taken, 0U);
}

TEST_F(FeedIntakeTest, TellsThatItIsSaidStill) {
  FeedIntake feed = intake(FeedContent::alerts);
  feed.not_modified(at("07:59:00"));
  EXPECT_TRUE(told.empty()) << "nothing has been said";
  feed.take(at("08:00:05"), message("08:00:00", strike), take());
  feed.take(at("08:00:20"), message("08:00:00", strike), take());
  feed.not_modified(at("08:00:35"));
  ASSERT_EQ(told.size(), 3U);
  EXPECT_EQ(told[1].content, told[0].content);
  EXPECT_EQ(told[2].content, told[0].content);
  EXPECT_EQ(told[2].received, at("08:00:35"));
  EXPECT_EQ(told[2].content->alerts.at(0).id, "strike");
  EXPECT_EQ(feed.view(at("08:00:36")).statements, 1U) << "taken once";
}

TEST_F(FeedIntakeTest, DoesNotBelieveWhatWasOvertakenOrBroken) {
  FeedIntake feed = intake(FeedContent::trip_updates);
  feed.take(at("08:00:05"), message("08:00:00", canceled), take());
  EXPECT_TRUE(feed.take(at("08:00:20"), message("07:59:30", ""), take()));
  EXPECT_FALSE(feed.take(at("08:00:35"), "broken", take()));
  EXPECT_EQ(told.size(), 1U);
  EXPECT_EQ(feed.view(at("08:00:36")).out_of_order, 1U);
  EXPECT_EQ(feed.view(at("08:00:36")).health, SourceHealth::failing);
}

TEST_F(FeedIntakeTest, SaysSoWhenNothingIsSaid) {
  FeedIntake feed = intake(FeedContent::alerts);
  EXPECT_TRUE(feed.take(at("08:00:05"), message("08:00:00", ""), take()));
  ASSERT_EQ(told.size(), 1U) << "what was said before does not hold any more";
  EXPECT_EQ(feed.view(at("08:00:06")).detail, "the last answer said nothing");
}

}  // namespace
}  // namespace qiv
