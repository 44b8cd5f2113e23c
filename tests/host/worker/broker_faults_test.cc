// Workers, brokers and clocks that fail. After each fault the readers of the forecasts must have
// seen those of each accepted report once, in order.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <future>
#include <random>
#include <thread>

#include "host/worker/broker_case.h"

namespace qiv {
namespace {

using std::chrono::milliseconds;
using testing::Broker;
using testing::BrokerTest;
using testing::WorkerProcess;
using testing::WorkerThread;

/// Each kill hits one of two workers, at an instant of its own while positions flow.
class KillsTest : public BrokerTest, public ::testing::WithParamInterface<unsigned> {};

TEST_P(KillsTest, WorkersThatAreKilledAtRandomUnderLoadLoseAndDoubleNothing) {
  begin(GetParam() == 1 ? testing::recorded("03:00:00", "27:00:00") : testing::simulated(3));
  std::mt19937 random(GetParam());
  std::array<std::unique_ptr<WorkerProcess>, 2> workers;
  const auto start = [&](std::size_t which) {
    workers[which] = std::make_unique<WorkerProcess>(*stream, std::to_string(which));
  };
  start(0);
  start(1);
  constexpr int kills = 6;
  constexpr int slices = 40;
  for (int slice = 0, killed = 0; slice < slices; ++slice) {
    stream->write_positions(1.0 * slice / slices, 1.0 * (slice + 1) / slices);
    std::this_thread::sleep_for(milliseconds(random() % 300));
    const int left = slices - slice;
    if (static_cast<int>(random() % static_cast<unsigned>(left)) >= kills - killed) continue;
    const std::size_t which = random() % workers.size();
    workers[which]->kill();
    start(which);
    ++killed;
  }
  stream->write_end();
  expect_exact();
}

INSTANTIATE_TEST_SUITE_P(Seed, KillsTest, ::testing::Values(1U, 2U));

/// The only node, with the coordinators of the group and of the transactions, is away for a minute,
/// where sessions and transactions last 12 s. Positions are handed over meanwhile.
class AMinuteAwayTest : public BrokerTest {
 protected:
  void SetUp() override {
    BrokerTest::SetUp();
    if (IsSkipped()) return;
    if (std::getenv("QIV_BROKER_NODES") != nullptr) GTEST_SKIP() << "only of a single node";
    begin("07:00:00", "10:00:00");
    for (const char* const name : {"first", "second"}) {
      workers.push_back(
          std::make_unique<WorkerProcess>(*stream, name, WorkerProcess::Timeouts::usual));
    }
    stream->write_positions(0.0, 0.3);
    ASSERT_TRUE(stream->wait_until_done());
    stream->write_positions(0.3, 0.5);
  }

  /// What is written while the node is away waits in the client.
  void spend_a_minute() {
    _written = std::async(std::launch::async, [this] { stream->write_positions(0.5, 0.8); });
    std::this_thread::sleep_for(std::chrono::minutes(1));
  }

  void expect_nothing_lost() {
    _written.get();
    stream->write_positions(0.8, 1.0);
    stream->write_end();
    expect_exact();
    for (const auto& worker : workers) EXPECT_TRUE(worker->is_alive());
  }

  std::vector<std::unique_ptr<WorkerProcess>> workers;

 private:
  std::future<void> _written;
};

TEST_F(AMinuteAwayTest, ANodeThatStandsStillLosesAndDoublesNothing) {
  Broker::get()->pause();
  spend_a_minute();
  Broker::get()->go_on();
  expect_nothing_lost();
}

TEST_F(AMinuteAwayTest, ANodeThatIsKilledAndComesBackLosesAndDoublesNothing) {
  ASSERT_EQ(Broker::get()->run("kill 1"), 0);
  spend_a_minute();
  ASSERT_EQ(Broker::get()->run("start"), 0);
  expect_nothing_lost();
}

TEST_F(BrokerTest, ANodeOfThreeThatIsKilledLosesAndDoublesNothing) {
  const Broker three(3);
  begin(three, testing::recorded("07:00:00", "10:00:00"));
  WorkerThread worker(stream->options("w"));
  stream->write_positions(0.0, 0.4);
  ASSERT_EQ(three.run("kill 2"), 0);
  stream->write_positions(0.4, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_EQ(worker.failure(), "");
}

/// Half of the vehicles come from a bridge whose clock is ahead, until it is set right. A
/// partition's time is then ahead as well; no worker looks at a clock.
TEST_F(BrokerTest, ClocksThatAreApartDelayNothingAndAreForgotten) {
  begin("07:00:00", "11:00:00");
  const testing::StreamData& data = stream->data;
  constexpr Seconds ahead{90};
  const Instant right = data.positions.front().received + std::chrono::hours(1);
  WorkerThread worker(stream->options("w"));
  {
    kafka::Producer producer(stream->properties);
    PositionWriter one(producer, stream->names.positions, testing::stream_agency, Seconds(60));
    PositionWriter other(producer, stream->names.positions, testing::stream_agency, Seconds(60));
    for (VehiclePosition position : data.positions) {
      const bool is_ahead = std::hash<VehicleId>()(position.vehicle) % 2 == 0;
      if (is_ahead && position.received < right) position.received += ahead;
      (is_ahead ? other : one).write(position);
    }
    one.pass(data.positions.back().received + std::chrono::hours(3));
    producer.flush();
  }
  ASSERT_TRUE(stream->wait_until_done());
  EXPECT_EQ(worker.failure(), "");
  // Of the trips that began after the clocks were together again nothing is different.
  const testing::Said plain = stream->plain();
  const auto spans = testing::spans_of(*stream);
  testing::Said later;
  for (const auto& [key, texts] : plain) {
    if (spans.at(key).first > right + ahead) later[key] = texts;
  }
  testing::Said said = stream->said();
  EXPECT_EQ(said.size(), plain.size());
  std::erase_if(said, [&](const auto& entry) { return !later.contains(entry.first); });
  testing::expect_same(said, later);
}

TEST_F(BrokerTest, ABrokerThatIsRestartedLosesAndDoublesNothing) {
  begin("07:00:00", "10:00:00");
  WorkerThread worker(stream->options("w"));
  stream->write_positions(0.0, 0.4);
  Broker::get()->restart();
  stream->write_positions(0.4, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_EQ(worker.failure(), "");
}

TEST_F(BrokerTest, AWorkerThatStandsStillForTooLongIsReplacedAndSaysNothingTwice) {
  begin("07:00:00", "10:00:00");
  const WorkerProcess slow(*stream, "slow");
  stream->write_positions(0.0, 0.3);
  ASSERT_TRUE(stream->wait_until_done());
  stream->write_positions(0.3, 0.5);
  slow.pause();
  WorkerThread quick(stream->quick_options("quick"));
  stream->write_positions(0.5, 0.8);
  ASSERT_TRUE(stream->wait_until_done());
  slow.go_on();
  stream->write_positions(0.8, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_EQ(quick.failure(), "");
}

}  // namespace
}  // namespace qiv
