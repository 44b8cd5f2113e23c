#include "worker/worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>

#include "host/worker/mock_cluster.h"
#include "host/worker/stream_case.h"
#include "worker/reference_codec.h"

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
  explicit WorkerTest(testing::StreamData data = testing::recorded("07:00:00", "09:00:00"))
      : stream(cluster.properties(), "dart", std::move(data)) {
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

class FleetWorkersTest : public WorkerTest, public ::testing::WithParamInterface<int> {
 protected:
  FleetWorkersTest() : WorkerTest(testing::simulated(7)) {}
};

TEST_P(FleetWorkersTest, SayTheSameOfASimulatedFleetAsOneProcessByteForByte) {
  start(GetParam());
  stream.write_positions();
  stream.write_end();
  finish();
  testing::expect_same(stream.said(), stream.plain());
}

INSTANTIATE_TEST_SUITE_P(Number, FleetWorkersTest, ::testing::Values(2));

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
  /// How many of the trips of these hours join the histories.
  const auto joined = [&] {
    const LearnedSettings settings;
    HistoryBook book(*stream.data.network, settings);
    std::size_t count = 0;
    for (const kafka::Received& one : stream.contents(stream.names.finished)) {
      const auto trip = std::get<FinishedTrip>(decode_finished(one.message));
      if (book.take(trip) && trip.finished > stream.until) ++count;
    }
    return count;
  };
  WorkerCounts counts;
  EXPECT_TRUE(testing::eventually([&] {
    counts = workers[0]->worker().counts();
    return counts.positions == stream.written() && counts.trips_learned > 5 &&
           counts.trips_learned == joined();
  }));
  EXPECT_GT(counts.trips_finished, counts.trips_learned) << "some are no trips to learn from";
}

TEST_F(WorkerTest, ATimetableThatCannotBeReadLeavesTheFormerInForce) {
  std::mutex mutex;
  std::string told;
  WorkerOptions options = stream.options("w");
  options.report = [&](const std::string& text) {
    const std::lock_guard lock(mutex);
    told += text + "\n";
  };
  workers.push_back(std::make_unique<WorkerThread>(options));
  stream.write_positions(0.0, 0.5);
  {
    kafka::Producer producer(stream.properties);
    for (const StreamMessage& message : encode_network("no zip file", stream.until)) {
      producer.send(stream.names.reference, 0, message);
    }
    producer.flush();
  }
  EXPECT_TRUE(testing::eventually([&] {
    const std::lock_guard lock(mutex);
    return told.find("what is new in the reference is not used: ") != std::string::npos;
  }));
  EXPECT_EQ(workers[0]->worker().counts().network_version, network_version(stream.data.gtfs));
  stream.write_positions(0.5, 1.0);
  stream.write_end();
  finish();
  testing::expect_same(stream.said(), stream.plain());
}

TEST_F(WorkerTest, WithoutATimetableItWaits) {
  StreamCase other(cluster.properties(), "other", testing::recorded("07:00:00", "07:10:00"));
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
