#include "worker/position_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/support/straight_line.h"
#include "host/worker/mock_cluster.h"
#include "worker/kafka/log_reader.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::fix;

class PositionWriterTest : public ::testing::Test {
 protected:
  PositionWriterTest() { cluster.make_topic("p", 2); }

  /// What is in a partition: "v at 08:00:05" or "08:00:10".
  std::vector<std::string> contents(std::int32_t partition) {
    producer.flush();
    std::vector<std::string> texts;
    kafka::LogReader reader(cluster.properties(), {"p"});
    while (!reader.at_end()) {
      const auto next = reader.poll(std::chrono::milliseconds(100));
      if (!next || next->partition != partition) continue;
      const auto decoded = decode_position(next->message);
      const auto& what = std::get<0>(decoded);
      const auto time = [](Instant when) { return format_utc(when).substr(11, 8); };
      if (const auto* const mark = std::get_if<Watermark>(&what)) {
        texts.push_back(time(mark->now));
      } else {
        const auto& position = std::get<VehiclePosition>(what);
        texts.push_back(position.vehicle.text() + " at " + time(position.received));
      }
    }
    return texts;
  }

  testing::MockCluster cluster;
  kafka::Producer producer{cluster.properties()};
  PositionWriter writer{producer, "p", AgencyId("a"), Seconds(10)};
  std::int32_t own = kafka::partition_for("a/v", 2);
};

TEST_F(PositionWriterTest, TimeIsToldToEveryPartitionBeforeWhatComesAfterIt) {
  writer.write(fix("v", "out", "08:00:05", 0));
  writer.write(fix("v", "out", "08:00:09", 0));
  writer.write(fix("v", "out", "08:00:31", 0));
  writer.pass(at("08:00:39"));
  writer.pass(at("08:00:40"));
  EXPECT_THAT(contents(own), ElementsAre("08:00:00", "v at 08:00:05", "v at 08:00:09", "08:00:30",
                                         "v at 08:00:31", "08:00:40"));
  EXPECT_THAT(contents(1 - own), ElementsAre("08:00:00", "08:00:30", "08:00:40"));
  EXPECT_EQ(writer.positions(), 3U);
  EXPECT_EQ(writer.watermarks(), 6U);
}

TEST_F(PositionWriterTest, TimeNeverGoesBack) {
  writer.write(fix("v", "out", "08:00:25", 0));
  writer.write(fix("v", "out", "08:00:12", 0));
  writer.pass(at("07:00:00"));
  EXPECT_THAT(contents(own), ElementsAre("08:00:20", "v at 08:00:25", "v at 08:00:25"));
}

}  // namespace
}  // namespace qiv
