#include "worker/basis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/support/straight_line.h"
#include "host/worker/mock_cluster.h"
#include "worker/kafka/producer.h"

namespace qiv {
namespace {

using testing::at;
using testing::MockCluster;

class BasisTest : public ::testing::Test {
 protected:
  BasisTest() { cluster.make_topic("finished", 2); }

  FinishedTrip trip(const std::string& vehicle) const {
    const auto schedule = network->schedule({TripId("out"), testing::monday, Seconds(0)});
    FinishedTrip finished{AgencyId("a"), {}, at("08:08:00")};
    finished.run = {
        VehicleId(vehicle), schedule->key, network->pattern(schedule->pattern()).ref, {}};
    for (int i = 0; i <= 16; ++i) {
      Progress progress;
      progress.time = progress.received = at("08:00:00") + Seconds(30 * i);
      progress.offset_m = 250.0 * i;
      finished.run.progress.push_back(progress);
    }
    return finished;
  }

  void write(const StreamMessage& message) {
    kafka::Producer producer(cluster.properties());
    producer.send("finished", message.key, message);
    producer.flush();
  }

  MockCluster cluster;
  std::shared_ptr<const Network> network =
      std::make_shared<const Network>(testing::straight_network());
};

TEST_F(BasisTest, ReadsTheHistoriesToTheirEndAndFollowsThem) {
  write(encode_finished(trip("v")));
  Basis basis(cluster.properties(), "finished", network, {});
  std::vector<std::string> joined;
  const auto follow = [&] {
    basis.follow(std::chrono::milliseconds(50), [&](const FinishedTrip& finished) {
      joined.push_back(finished.run.vehicle.text());
    });
  };
  while (!basis.at_end()) follow();
  EXPECT_THAT(joined, ::testing::ElementsAre("v"));
  write(encode_finished(trip("v")));
  write(encode_finished(trip("w")));
  while (joined.size() < 2) follow();
  EXPECT_THAT(joined, ::testing::ElementsAre("v", "w"));
  EXPECT_EQ(basis.book().trips(), 2U);
  EXPECT_TRUE(basis.take_complaints().empty());
}

TEST_F(BasisTest, SaysWhatItCannotUse) {
  write(make_message("no key", "no value", at("08:00:00")));
  Basis basis(cluster.properties(), "finished", network, {});
  while (!basis.at_end()) basis.follow(std::chrono::milliseconds(50));
  EXPECT_THAT(basis.take_complaints(), ::testing::ElementsAre(::testing::MatchesRegex(
                                           "finished:[01]:0: the key is no finished trip's")));
  EXPECT_TRUE(basis.take_complaints().empty());
}

}  // namespace
}  // namespace qiv
