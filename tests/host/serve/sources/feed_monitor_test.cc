#include "serve/sources/feed_monitor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;
using ::testing::HasSubstr;

FeedSummary batch_of(const std::string& header, const std::string& vehicle_time) {
  PositionBatch batch;
  batch.time = at(header);
  batch.positions = {fix("v", "out", vehicle_time, 0)};
  batch.read = 1;
  return summary_of(batch);
}

class FeedMonitorTest : public ::testing::Test {
 protected:
  SourceHealth health(const std::string& now) const { return monitor.view(at(now)).health; }

  FeedMonitor monitor{{"positions", "test", Seconds(120), Seconds(300)}};
};

TEST_F(FeedMonitorTest, StartsAndBecomesGood) {
  EXPECT_EQ(health("08:00:00"), SourceHealth::starting);
  EXPECT_TRUE(monitor.accepts(at("08:00:00"), batch_of("07:59:58", "07:59:40")));
  const SourceView view = monitor.view(at("08:00:10"));
  EXPECT_EQ(view.health, SourceHealth::good);
  EXPECT_EQ(view.detail, "");
  EXPECT_EQ(view.header_time, at("07:59:58"));
  EXPECT_EQ(view.newest_entity_time, at("07:59:40"));
  EXPECT_EQ(view.last_success, at("08:00:00"));
  EXPECT_EQ(view.positions, 1U);
}

TEST_F(FeedMonitorTest, TellsApartWhatIsStale) {
  monitor.accepts(at("08:00:00"), batch_of("08:00:00", "08:00:00"));
  EXPECT_EQ(health("08:02:00"), SourceHealth::good);
  EXPECT_THAT(monitor.view(at("08:02:01")).detail, HasSubstr("the last answer is 121 s old"));
  monitor.not_modified(at("08:02:01"));
  EXPECT_THAT(monitor.view(at("08:02:01")).detail, HasSubstr("the feed's header is 121 s old"));
  monitor.accepts(at("08:03:00"), batch_of("08:03:00", "08:00:00"));
  EXPECT_THAT(monitor.view(at("08:03:00")).detail, HasSubstr("the newest vehicle is 180 s old"));
  EXPECT_EQ(health("08:03:00"), SourceHealth::stale);
}

TEST_F(FeedMonitorTest, SaysWhyItFails) {
  monitor.failed(at("08:00:00"), "HTTP status 500");
  const SourceView view = monitor.view(at("08:00:00"));
  EXPECT_EQ(view.health, SourceHealth::failing);
  EXPECT_EQ(view.detail, "HTTP status 500");
  EXPECT_EQ(view.failures, 1U);
  monitor.accepts(at("08:00:15"), batch_of("08:00:15", "08:00:10"));
  EXPECT_EQ(health("08:00:15"), SourceHealth::good);
}

TEST_F(FeedMonitorTest, CountsTheSameContentAsADuplicate) {
  EXPECT_FALSE(monitor.is_repeated(at("08:00:00"), "one"));
  monitor.accepts(at("08:00:00"), batch_of("08:00:00", "08:00:00"));
  EXPECT_TRUE(monitor.is_repeated(at("08:00:15"), "one"));
  EXPECT_FALSE(monitor.is_repeated(at("08:00:30"), "two"));
  EXPECT_EQ(monitor.view(at("08:00:30")).duplicates, 1U);
  EXPECT_EQ(monitor.view(at("08:00:30")).fetches, 2U);
}

TEST_F(FeedMonitorTest, RefusesWhatWasOvertakenButBelievesAClockThatIsSetBack) {
  EXPECT_TRUE(monitor.accepts(at("08:00:00"), batch_of("08:00:00", "08:00:00")));
  EXPECT_FALSE(monitor.accepts(at("08:00:15"), batch_of("07:59:30", "07:59:30")));
  EXPECT_EQ(monitor.view(at("08:00:15")).out_of_order, 1U);
  EXPECT_EQ(monitor.view(at("08:00:15")).time_jumps, 0U);
  EXPECT_TRUE(monitor.accepts(at("08:00:30"), batch_of("07:00:30", "07:00:30")));
  EXPECT_EQ(monitor.view(at("08:00:30")).time_jumps, 1U);
  EXPECT_TRUE(monitor.accepts(at("08:00:45"), batch_of("08:00:45", "08:00:45")));
  EXPECT_EQ(monitor.view(at("08:00:45")).time_jumps, 2U);
}

TEST_F(FeedMonitorTest, NoticesWhatIsEmptyOrMalformed) {
  FeedSummary empty;
  empty.time = at("08:00:00");
  EXPECT_TRUE(monitor.accepts(at("08:00:00"), empty));
  EXPECT_EQ(monitor.view(at("08:00:00")).empty, 1U);
  EXPECT_THAT(monitor.view(at("08:00:00")).detail, HasSubstr("no vehicle"));
  FeedSummary broken;
  broken.rejections.add("message cannot be decoded", [] { return std::string("feed"); });
  EXPECT_FALSE(monitor.accepts(at("08:00:15"), broken));
  EXPECT_EQ(health("08:00:15"), SourceHealth::failing);
  EXPECT_THAT(monitor.view(at("08:00:15")).detail,
              HasSubstr("malformed: message cannot be decoded"));
  EXPECT_EQ(monitor.view(at("08:00:15")).rejections.total(), 1U);
}

}  // namespace
}  // namespace qiv
