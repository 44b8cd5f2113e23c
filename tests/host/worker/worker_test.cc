#include "worker/worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "host/worker/mock_cluster.h"
#include "host/worker/stream_case.h"

namespace qiv {
namespace {

using testing::MockCluster;
using testing::StreamCase;
using testing::WorkerThread;

/// Two hours of the recorded city on the client library's own stand-in for a broker, which keeps no
/// offsets with transactions: what a worker does when partitions change hands is for the tests on a
/// broker.
class WorkerTest : public ::testing::Test {
 protected:
  WorkerTest() : stream(cluster.properties(), "dart", "07:00:00", "09:00:00") {
    for (const auto& [topic, partitions] : stream.topics()) cluster.make_topic(topic, partitions);
    stream.write_reference();
  }

  /// Starts workers and waits until each has its partitions.
  void start(int count) {
    for (int i = 0; i < count; ++i) {
      workers.push_back(std::make_unique<WorkerThread>(stream.options(std::to_string(i))));
    }
    ASSERT_TRUE(testing::eventually([&] {
      return std::ranges::all_of(workers, [&](const auto& worker) {
        return worker->worker().counts().partitions.size() ==
               static_cast<std::size_t>(StreamCase::partitions / count);
      });
    }));
  }

  /// Waits until so many messages are handled, and ends the workers.
  void finish(std::uint64_t more = 0) {
    EXPECT_TRUE(testing::eventually([&] {
      std::uint64_t handled = 0;
      for (const auto& worker : workers) handled += worker->worker().counts().positions;
      return handled == stream.written() + more;
    }));
    for (const auto& worker : workers) {
      worker->stop();
      EXPECT_EQ(worker->failure(), "");
    }
  }

  MockCluster cluster;
  StreamCase stream;
  std::vector<std::unique_ptr<WorkerThread>> workers;
};

class WorkersTest : public WorkerTest, public ::testing::WithParamInterface<int> {};

TEST_P(WorkersTest, SayTheSameAsOneProcessByteForByte) {
  start(GetParam());
  stream.write_positions();
  stream.write_end();
  finish();
  testing::expect_same(stream.said(), stream.plain());
}

INSTANTIATE_TEST_SUITE_P(Number, WorkersTest, ::testing::Values(1, 2, 4));

TEST_F(WorkerTest, APoisonedMessageIsSetAsideWithItsReasonAndBlocksNothing) {
  start(1);
  stream.write_positions(0.0, 0.5);
  stream.write_poison();
  stream.write_positions(0.5, 1.0);
  stream.write_end();
  finish(4);
  EXPECT_EQ(workers[0]->worker().counts().set_aside, 4U);
  testing::expect_same(stream.said(), stream.plain());
  const auto kept = stream.contents(stream.names.set_aside);
  ASSERT_EQ(kept.size(), 4U);
  EXPECT_EQ(kept[0].message.key, "poison");
  EXPECT_EQ(kept[0].message.value, "\xff\xff\xff");
  EXPECT_EQ(header_of(kept[0].message, header::reason), "the bytes are no VehiclePosition");
  EXPECT_THAT(header_of(kept[0].message, header::place),
              ::testing::MatchesRegex("dart.positions:[0-3]:[0-9]+"));
}

TEST_F(WorkerTest, HistoriesGrowByTheTripsOfAllWorkers) {
  WorkerOptions options = stream.options("w");
  options.histories_until = Instant::max();
  workers.push_back(std::make_unique<WorkerThread>(options));
  stream.write_positions();
  stream.write_end();
  WorkerCounts counts;
  EXPECT_TRUE(testing::eventually([&] {
    counts = workers[0]->worker().counts();
    return counts.positions == stream.written() &&
           counts.trips_learned == stream.histories.size() + counts.trips_finished;
  }));
  EXPECT_GT(counts.trips_finished, 20U);
}

TEST_F(WorkerTest, WithoutATimetableItWaits) {
  StreamCase other(cluster.properties(), "other", "07:00:00", "07:10:00");
  for (const auto& [topic, partitions] : other.topics()) cluster.make_topic(topic, partitions);
  WorkerThread worker(other.options("w"));
  other.write_positions();
  other.write_end();
  EXPECT_FALSE(worker.worker().counts().ready);
  other.write_reference();
  EXPECT_TRUE(
      testing::eventually([&] { return worker.worker().counts().positions == other.written(); }));
  EXPECT_TRUE(worker.worker().counts().ready);
}

}  // namespace
}  // namespace qiv
