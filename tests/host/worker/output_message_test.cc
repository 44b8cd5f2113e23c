#include "worker/output_message.h"

#include <gtest/gtest.h>

#include <set>

#include "host/support/straight_line.h"
#include "worker/stream_key.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;

/// A vehicle that runs the whole line: all kinds of output.
TEST(OutputMessageTest, EachOutputIsWrittenAsThatOfItsAgency) {
  const Network network = testing::straight_network();
  const LearnedSettings settings;
  PartitionEngine engine(network, settings,
                         [](PatternIndex, const Grid&) { return std::vector<Trajectory>(); });
  std::vector<PartitionOutput> output;
  engine.take(fix("v", "out", "08:00:00", 0), output);
  engine.take(fix("v", "out", "08:02:00", 1000), output);
  engine.advance(at("12:00:00"), output);
  std::set<std::size_t> kinds;
  for (PartitionOutput& one : output) {
    kinds.insert(one.index());
    const OutputMessage encoded = encode_output(one, AgencyId("agency"), network);
    const std::string& key = encoded.message.key;
    EXPECT_TRUE(key.starts_with("agency/"));
    EXPECT_TRUE(key.starts_with(encoded.group));
    EXPECT_EQ(encoded.is_finished_trip, parse_finished_key(key).has_value());
    EXPECT_EQ(encoded.is_finished_trip, std::holds_alternative<FinishedTrip>(one));
    EXPECT_EQ(encoded.message.value.has_value(), !std::holds_alternative<LeftTrip>(one));
  }
  EXPECT_EQ(kinds.size(), std::variant_size_v<PartitionOutput>);
}

}  // namespace
}  // namespace qiv
