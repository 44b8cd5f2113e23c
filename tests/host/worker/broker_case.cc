#include "host/worker/broker_case.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/worker/plain_process.h"
#include "worker/kafka/topic_admin.h"

namespace qiv::testing {

WorkerProcess::WorkerProcess(const StreamCase& stream, const std::string& name, Timeouts timeouts)
    : _process(fork()) {
  if (_process != 0) return;
  execl(QIV_WORKER_PROCESS, QIV_WORKER_PROCESS, stream.properties.at("bootstrap.servers").c_str(),
        stream.prefix.c_str(), std::to_string(unix_seconds(stream.until)).c_str(), name.c_str(),
        timeouts == Timeouts::quick ? "quick" : "usual", nullptr);
  _exit(127);
}

void WorkerProcess::kill() {
  if (_process <= 0) return;
  ::kill(_process, SIGKILL);
  waitpid(_process, nullptr, 0);
  _process = -1;
}

bool WorkerProcess::is_alive() const {
  return waitpid(_process, nullptr, WNOHANG) == 0;
}

void WorkerProcess::pause() const {
  ::kill(_process, SIGSTOP);
}

void WorkerProcess::go_on() const {
  ::kill(_process, SIGCONT);
}

std::map<std::string, std::pair<Instant, Instant>> spans_of(const StreamCase& stream) {
  std::map<std::string, std::pair<Instant, Instant>> spans;
  for (const StreamMessage& message : plain_process(stream.data, stream.settings)) {
    const auto [entry, added] = spans.try_emplace(message.key, message.time, message.time);
    entry->second.second = message.time;
  }
  return spans;
}

void BrokerTest::SetUp() {
  if (Broker::get() != nullptr) return;
  if (Broker::is_unavailable()) GTEST_SKIP() << Broker::missing();
  FAIL() << Broker::missing();
}

void BrokerTest::begin(const Broker& broker, StreamData data) {
  static int number = 0;
  stream = std::make_unique<StreamCase>(broker.properties(), "case" + std::to_string(++number),
                                        std::move(data));
  std::vector<kafka::TopicPlan> plans;
  for (const auto& [topic, partitions] : stream->topics()) {
    plans.push_back({topic, partitions, {{"retention.ms", "-1"}}});
  }
  kafka::make_topics(stream->properties, plans);
  stream->write_reference();
}

void BrokerTest::expect_exact() const {
  ASSERT_TRUE(stream->wait_until_done());
  expect_same(stream->said(), stream->plain());
}

}  // namespace qiv::testing
