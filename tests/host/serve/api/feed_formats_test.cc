#include "serve/api/feed_formats.h"

#include <gmock/gmock.h>

#include "gtfs-realtime.pb.h"
#include "host/serve/api/sample_snapshot.h"

namespace qiv {
namespace {

using testing::outputs_of;
using testing::sample_snapshot;

TEST(FeedFormats, TheTripUpdatesAreThoseOfTheGuard) {
  const OutputsPtr outputs = outputs_of(sample_snapshot());
  EXPECT_EQ(trip_updates_blob(*outputs, FeedFormat::protobuf), outputs->feed().bytes);
  const BlobPtr json = trip_updates_blob(*outputs, FeedFormat::json);
  EXPECT_EQ(json->content_type(), "application/json");
  EXPECT_THAT(json->bytes(), ::testing::HasSubstr(R"("tripId":"out")"));
  EXPECT_EQ(json->modified(), outputs->feed().header_time);
}

TEST(FeedFormats, NoHeaderGoesBack) {
  Snapshot snapshot = sample_snapshot();
  auto shared = std::make_shared<const Snapshot>(snapshot);
  FeedGuard guard;
  guard.next(snapshot);
  snapshot.now -= Seconds(100);
  const Outputs outputs(std::make_shared<const Snapshot>(snapshot),
                        std::make_shared<const NetworkIndex>(snapshot.network, snapshot.now),
                        guard.next(snapshot));
  transit_realtime::FeedMessage message;
  ASSERT_TRUE(
      message.ParseFromString(vehicle_positions_blob(outputs, FeedFormat::protobuf)->bytes()));
  EXPECT_EQ(message.header().timestamp(), static_cast<std::uint64_t>(unix_seconds(shared->now)));
}

}  // namespace
}  // namespace qiv
