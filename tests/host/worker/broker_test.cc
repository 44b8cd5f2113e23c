// What only a broker shows: transactions, groups that keep their offsets, and faults. Every message
// counts here: readers must see the forecasts of each accepted report once, in order.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/worker/broker.h"
#include "host/worker/stream_case.h"
#include "worker/kafka/error.h"
#include "worker/kafka/topic_admin.h"

namespace qiv {
namespace {

using std::chrono::milliseconds;
using testing::Broker;
using testing::StreamCase;
using testing::WorkerThread;

/// A worker as a process of its own, which can be killed.
class WorkerProcess {
 public:
  WorkerProcess(const StreamCase& stream, const std::string& name) : _process(fork()) {
    if (_process != 0) return;
    execl(QIV_WORKER_PROCESS, QIV_WORKER_PROCESS, stream.properties.at("bootstrap.servers").c_str(),
          stream.prefix.c_str(), stream.from.c_str(), stream.to.c_str(), name.c_str(), nullptr);
    _exit(127);
  }
  ~WorkerProcess() { kill(); }
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  void kill() {
    if (_process <= 0) return;
    ::kill(_process, SIGKILL);
    waitpid(_process, nullptr, 0);
    _process = -1;
  }

  void pause() const { ::kill(_process, SIGSTOP); }
  void go_on() const { ::kill(_process, SIGCONT); }

 private:
  pid_t _process;
};

class BrokerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (Broker::get() == nullptr) GTEST_SKIP() << Broker::missing();
  }

  /// Makes the topics of a case and writes what comes before the positions.
  void begin(const std::string& from, const std::string& to) {
    static int number = 0;
    stream = std::make_unique<StreamCase>(Broker::get()->properties(),
                                          "case" + std::to_string(++number), from, to);
    std::vector<kafka::TopicPlan> plans;
    for (const auto& [topic, partitions] : stream->topics()) {
      plans.push_back({topic, partitions, {{"retention.ms", "-1"}}});
    }
    kafka::make_topics(stream->properties, plans);
    stream->write_reference();
  }

  void expect_exact() {
    ASSERT_TRUE(stream->wait_until_done());
    testing::expect_same(stream->said(), stream->plain());
  }

  std::unique_ptr<StreamCase> stream;
};

TEST_F(BrokerTest, TopicsAreMadeOnceAndAMissingOneIsNamed) {
  const kafka::Properties properties = Broker::get()->properties();
  const kafka::TopicPlan plan{"once", 3, {{"cleanup.policy", "compact"}}};
  kafka::make_topics(properties, {plan});
  kafka::make_topics(properties, {plan});
  kafka::Producer producer(properties);
  EXPECT_EQ(producer.partitions_of("once"), 3);
  try {
    kafka::partitions_of(producer.client(), "never", milliseconds(500));
    FAIL();
  } catch (const kafka::Error& error) {
    EXPECT_STREQ(error.what(),
                 "topic never: _UNKNOWN_TOPIC: there is no such topic: start the bridge, which "
                 "makes it");
  }
  EXPECT_THROW(kafka::make_topics(properties, {{"bad", 1, {{"cleanup.policy", "burn"}}}}),
               kafka::Error);
}

TEST_F(BrokerTest, ATransactionIsSeenWholeOrNotAtAll) {
  const kafka::Properties properties = Broker::get()->properties();
  kafka::make_topics(properties, {{"in", 1, {{"retention.ms", "-1"}}}, {"out", 1, {}}});
  const auto at = [](int i) { return from_unix_seconds(1'759'811'582 + i); };
  kafka::Producer plain(properties);
  for (int i = 0; i < 5; ++i) plain.send("in", 0, make_message("k", std::to_string(i), at(i)));
  plain.flush();
  kafka::Commits found;
  const auto member = [&] {
    auto consumer = std::make_unique<std::unique_ptr<kafka::GroupConsumer>>();
    kafka::GroupConsumer::Callbacks callbacks{
        [&found, raw = consumer.get()](const std::vector<std::int32_t>& partitions) {
          found = (*raw)->committed(partitions);
          return std::map<std::int32_t, std::int64_t>();
        },
        [](const std::vector<std::int32_t>&, bool) {}};
    *consumer = std::make_unique<kafka::GroupConsumer>(properties, "group", "in", callbacks);
    EXPECT_TRUE(
        testing::eventually([&] { return (*consumer)->poll(milliseconds(100)).has_value(); }));
    return consumer;
  };
  {
    const auto consumer = member();
    EXPECT_TRUE(found.empty());
    kafka::Producer producer(properties, "tx");
    producer.begin();
    producer.send("out", 0, make_message("k", "given up", at(0)));
    producer.flush();
    producer.abort();
    producer.begin();
    producer.send("out", 0, make_message("k", "kept", at(0)));
    producer.commit("in", {{0, {3, "12345"}}}, (*consumer)->group_metadata().get());
  }
  kafka::LogReader reader(properties, {"out"});
  std::vector<std::string> seen;
  while (!reader.at_end()) {
    if (const auto next = reader.poll(milliseconds(100))) seen.push_back(*next->message.value);
  }
  EXPECT_THAT(seen, ::testing::ElementsAre("kept"));
  const auto consumer = member();
  EXPECT_EQ(found[0].next, 3);
  EXPECT_EQ(found[0].note, "12345");
  EXPECT_EQ((*consumer)->offset_at(0, at(2)), 2);
  EXPECT_EQ((*consumer)->offset_at(0, at(5)), std::nullopt);
}

class WorkersOnBrokerTest : public BrokerTest, public ::testing::WithParamInterface<int> {};

TEST_P(WorkersOnBrokerTest, SayTheSameOfADayAsOneProcessByteForByte) {
  begin("03:00:00", "27:00:00");
  std::vector<std::unique_ptr<WorkerThread>> workers;
  for (int i = 0; i < GetParam(); ++i) {
    workers.push_back(std::make_unique<WorkerThread>(stream->options(std::to_string(i))));
  }
  stream->write_positions();
  stream->write_end();
  ASSERT_TRUE(stream->wait_until_done());
  for (const auto& worker : workers) {
    worker->stop();
    EXPECT_EQ(worker->failure(), "");
  }
  expect_exact();
}

INSTANTIATE_TEST_SUITE_P(Number, WorkersOnBrokerTest, ::testing::Values(1, 2, 4));

TEST_F(BrokerTest, AWorkerThatComesInTheMiddleOfTripsGoesOnAsItsPredecessor) {
  begin("07:00:00", "10:00:00");
  {
    WorkerThread first(stream->options("first"));
    stream->write_positions(0.0, 0.5);
    ASSERT_TRUE(stream->wait_until_done());
  }
  WorkerThread second(stream->options("second"));
  stream->write_positions(0.5, 1.0);
  stream->write_end();
  expect_exact();
  second.stop();
  EXPECT_EQ(second.failure(), "");
  EXPECT_GT(second.worker().counts().replayed, 500U);
  EXPECT_EQ(second.worker().counts().recoveries, 4U);
}

TEST_F(BrokerTest, PartitionsChangeHandsInTheMiddleOfTrips) {
  begin("07:00:00", "10:00:00");
  WorkerThread first(stream->options("first"));
  stream->write_positions(0.0, 0.3);
  ASSERT_TRUE(stream->wait_until_done());
  auto second = std::make_unique<WorkerThread>(stream->options("second"));
  EXPECT_TRUE(
      testing::eventually([&] { return second->worker().counts().partitions.size() == 2; }));
  stream->write_positions(0.3, 0.6);
  ASSERT_TRUE(stream->wait_until_done());
  second.reset();
  stream->write_positions(0.6, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_EQ(first.failure(), "");
}

TEST_F(BrokerTest, WorkersThatAreKilledUnderLoadLoseAndDoubleNothing) {
  begin("03:00:00", "27:00:00");
  auto first = std::make_unique<WorkerProcess>(*stream, "a");
  const WorkerProcess second(*stream, "b");
  for (int share = 0; share < 4; ++share) {
    stream->write_positions(0.25 * share, 0.25 * (share + 1));
    if (share == 3) stream->write_end();
    usleep(700'000);
    first->kill();
    first = std::make_unique<WorkerProcess>(*stream, "a");
  }
  expect_exact();
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

TEST_F(BrokerTest, APoisonedMessageBlocksNothing) {
  begin("07:00:00", "08:00:00");
  WorkerThread worker(stream->options("w"));
  stream->write_positions(0.0, 0.5);
  stream->write_poison();
  stream->write_positions(0.5, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_EQ(stream->contents(stream->names.set_aside).size(), 4U);
}

TEST_F(BrokerTest, NewSettingsAreTakenUpInTheMiddleOfTrips) {
  begin("07:00:00", "09:00:00");
  WorkerThread worker(stream->options("w"));
  stream->write_positions(0.0, 0.5);
  ASSERT_TRUE(stream->wait_until_done());
  {
    kafka::Producer producer(stream->properties);
    LearnedSettings settings;
    settings.turnaround = Seconds(1);  // which no vehicle under way depends on
    producer.send(stream->names.reference, 0, encode_settings(settings, stream->until));
    producer.flush();
  }
  EXPECT_TRUE(testing::eventually([&] { return worker.worker().counts().recoveries == 8; }));
  stream->write_positions(0.5, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_EQ(worker.failure(), "");
}

}  // namespace
}  // namespace qiv
