#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "host/worker/broker.h"
#include "host/worker/stream_case.h"

namespace qiv::testing {

/// A worker as a process of its own, which can be killed.
class WorkerProcess {
 public:
  /// How soon the group and the brokers notice that it is gone.
  enum class Timeouts { quick, usual };

  WorkerProcess(const StreamCase& stream, const std::string& name,
                Timeouts timeouts = Timeouts::quick);
  ~WorkerProcess() { kill(); }
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  void kill();
  bool is_alive() const;
  void pause() const;
  void go_on() const;

 private:
  pid_t _process;
};

/// When each key is spoken of for the first time and the last, by the plain process.
std::map<std::string, std::pair<Instant, Instant>> spans_of(const StreamCase& stream);

/// A case on a broker; skipped where there can be none.
class BrokerTest : public ::testing::Test {
 protected:
  void SetUp() override;

  /// Makes the topics of a case and writes what comes before the positions: of a stretch of the
  /// recorded day, or of other data; on the one broker of this program, or on another.
  void begin(const std::string& from, const std::string& to) { begin(recorded(from, to)); }
  void begin(StreamData data) { begin(*Broker::get(), std::move(data)); }
  void begin(const Broker& broker, StreamData data);

  /// All that readers have seen in the end is what one process says.
  void expect_exact() const;

  std::unique_ptr<StreamCase> stream;
};

}  // namespace qiv::testing
