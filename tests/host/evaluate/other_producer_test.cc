#include "evaluate/other_producer.h"

#include <gtest/gtest.h>

#include "host/evaluate/recording.h"

namespace qiv {
namespace {

using testing::arrival_at;
using testing::at;
using testing::entity;
using testing::monday;
using testing::snapshot;

const TripKey out{TripId("out"), monday, Seconds(0)};
const TripKey later{TripId("later"), monday, Seconds(0)};

std::string arrives_at_b(const std::string& time) {
  return "stop_time_update { stop_sequence: 2 " + arrival_at(time) + " }";
}

TEST(OtherProducerTest, PredictsWhatWasOnDisplay) {
  const Network network = testing::straight_network();
  const TemporaryFolder folder;
  folder.write("1.pb", snapshot("08:00:00", entity("out", arrives_at_b("08:02:30"))));
  folder.write("2.pb", snapshot("08:01:00", entity("out", arrives_at_b("08:02:50"))));
  OtherProducer producer("present", folder.path());
  EXPECT_EQ(producer.predict(network, out, at("07:59:00")), nullptr);
  ASSERT_NE(producer.predict(network, out, at("08:00:30")), nullptr);
  EXPECT_EQ(producer.predict(network, out, at("08:00:30"))->at(1), at("08:02:30"));
  EXPECT_EQ(producer.predict(network, later, at("08:00:30")), nullptr);
  EXPECT_EQ(producer.predict(network, out, at("08:01:00"))->at(1), at("08:02:50"));
  EXPECT_FALSE(producer.predict(network, out, at("08:01:00"))->at(0));
  EXPECT_EQ(producer.predict(network, out, at("08:06:01")), nullptr) << "older than five minutes";
}

TEST(OtherProducerTest, TellsWhatItRead) {
  const Network network = testing::straight_network();
  const TemporaryFolder folder;
  folder.write("1.pb", snapshot("08:00:00", entity("out", arrives_at_b("08:02:30")) +
                                                entity("out", arrives_at_b("09:00:00")) +
                                                entity("unheard-of", "")));
  folder.write("2.pb", snapshot("09:00:00", ""));
  OtherProducer producer("present", folder.path());
  EXPECT_EQ(producer.predict(network, out, at("08:00:00"))->at(1), at("08:02:30"));
  const RecordedSource source = producer.source();
  EXPECT_EQ(source.recording, folder.path().string());
  EXPECT_EQ(source.snapshots, 2U);
  EXPECT_EQ(source.snapshots_shown, 1U);
  EXPECT_EQ(source.updates, 1U);
  EXPECT_EQ(source.not_used.count("second update for a trip"), 1U);
  EXPECT_EQ(source.not_used.count("trip is not in the timetable"), 1U);
}

}  // namespace
}  // namespace qiv
