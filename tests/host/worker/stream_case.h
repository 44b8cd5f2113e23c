#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/worker/stream_data.h"
#include "model/settings.h"
#include "worker/kafka/handle.h"
#include "worker/position_writer.h"
#include "worker/worker.h"

namespace qiv::testing {

/// What readers of the forecasts see: for each key, what was said of it in order.
using Said = std::map<std::string, std::vector<std::string>>;

/// Data on their way through a stream, with the trips of the days before as histories that are held
/// still.
class StreamCase {
 public:
  static constexpr int partitions = 4;

  /// `prefix` names its topics.
  StreamCase(kafka::Properties properties, const std::string& prefix, StreamData data);
  StreamCase(const StreamCase&) = delete;
  StreamCase& operator=(const StreamCase&) = delete;

  /// The topics that must be there, with their numbers of partitions.
  std::map<std::string, int> topics() const;

  /// Writes timetable, settings and histories.
  void write_reference();
  /// Writes a share of the positions: those from `begin` to before `end`, each from 0 to 1.
  void write_positions(double begin = 0.0, double end = 1.0);
  /// Writes a message that is no position into every partition.
  void write_poison();
  /// Lets so much time pass that all vehicles fall silent.
  void write_end();

  /// What one process says, without any log between.
  Said plain() const;

  WorkerOptions options(const std::string& worker) const;
  /// The same with short transactions, and with a group that soon notices that a worker is gone.
  WorkerOptions quick_options(const std::string& worker) const;

  /// Waits until the group has committed all positions that are written; false after a minute and a
  /// half.
  bool wait_until_done() const;

  /// Number of positions and watermarks that are written.
  std::uint64_t written() const;

  /// What is in a topic, from its beginning to its end.
  std::vector<kafka::Received> contents(const std::string& topic) const;

  /// What the forecasts' topic says.
  Said said() const;

  kafka::Properties properties;
  std::string prefix;
  Topics names;
  StreamData data;
  LearnedSettings settings;
  Instant until{};  ///< of the histories

 private:
  std::unique_ptr<kafka::Producer> _producer;
  std::unique_ptr<PositionWriter> _writer;
};

/// The options of a worker on the topics of that prefix, whatever the data; and the quick ones.
WorkerOptions stream_options(const kafka::Properties& properties, const std::string& prefix,
                             Instant until, const std::string& worker);
WorkerOptions stream_quick_options(const kafka::Properties& properties, const std::string& prefix,
                                   Instant until, const std::string& worker);

/// A worker in a thread of its own, as long as it lives.
class WorkerThread {
 public:
  explicit WorkerThread(WorkerOptions options);
  ~WorkerThread();

  Worker& worker() { return _worker; }
  /// What ended it; empty while it works and when it was asked to end.
  std::string failure() const { return _failure; }
  void stop();

 private:
  Worker _worker;
  std::string _failure;
  std::jthread _thread;
};

void expect_same(const Said& said, const Said& plain);

/// Waits for a condition, for a minute and a half at most.
bool eventually(const std::function<bool()>& condition);

}  // namespace qiv::testing
