#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

#include "worker/history_book.h"
#include "worker/kafka/group_consumer.h"
#include "worker/kafka/log_reader.h"
#include "worker/kafka/producer.h"
#include "worker/partition_engine.h"
#include "worker/reference_codec.h"
#include "worker/topics.h"

namespace qiv {

/// Makes a network of GTFS bytes (a zip file). Throws `std::runtime_error`.
using MakeNetwork = std::function<std::shared_ptr<const Network>(const std::string& gtfs)>;

struct WorkerOptions {
  kafka::Properties properties;
  Topics topics{"qiv"};
  AgencyId agency;
  std::string group = "qiv-worker";
  std::string transactional_id;  ///< of this worker alone
  /// So much of a partition's positions is replayed before it is taken up.
  Seconds window{6 * 3600};
  /// A transaction ends after this time, or after so many messages.
  std::chrono::milliseconds transaction{200};
  std::size_t most_in_transaction = 5000;
  /// Trips that finished later do not join the histories.
  Instant histories_until = Instant::max();
  TrackOptions track;
  EngineOptions engine;
  MakeNetwork make_network;
  /// Told of what went another way than usual.
  std::function<void(const std::string&)> report = [](const std::string&) {};
};

/// What a worker has done since it began, and how it fares.
struct WorkerCounts {
  std::uint64_t positions = 0;   ///< taken and forecast, not replayed
  std::uint64_t replayed = 0;    ///< messages, when partitions were taken up
  std::uint64_t forecasts = 0;   ///< published
  std::uint64_t trips_left = 0;  ///< told
  std::uint64_t trips_finished = 0;
  std::uint64_t trips_learned = 0;  ///< of any worker, joined the histories
  std::uint64_t set_aside = 0;
  std::uint64_t transactions = 0;
  std::uint64_t aborted = 0;
  std::uint64_t recoveries = 0;  ///< partitions taken up
  double last_recovery_s = 0.0;  ///< from the assignment to the end of the replay
  struct Partition {
    std::int64_t lag = 0;  ///< messages that wait
    Instant now{};         ///< how far time has passed
    std::size_t vehicles = 0;
    bool recovering = false;
  };
  std::map<std::int32_t, Partition> partitions;
  bool ready = false;  ///< timetable, settings and histories are read
};

/// A member of the group that turns positions into forecasts. Each of its partitions has vehicles
/// of its own; consuming, forecasting and producing is one transaction.
class Worker {
 public:
  explicit Worker(WorkerOptions options);
  ~Worker();

  /// Works until it is asked to stop. Throws `kafka::Error` for what cannot be got over; start anew
  /// then.
  void run(std::stop_token stop);

  /// As of half a second ago at most, while it works. May be called by any thread.
  WorkerCounts counts() const;

 private:
  struct Partition {
    std::unique_ptr<PartitionEngine> engine;
    std::int64_t next = 0;          ///< offset of the next message
    std::int64_t publish_from = 0;  ///< messages before it are replayed
    Instant replay_from = Instant::min();
    bool dirty = false;
    std::chrono::steady_clock::time_point assigned;
    bool recovering = false;
  };

  void work();
  bool read_reference(const std::stop_token& stop);
  void follow();
  void take_finished(const kafka::Received& message);
  void use_reference();
  std::map<std::int32_t, std::int64_t> take_up(const std::vector<std::int32_t>& partitions);
  Partition make_partition(std::int32_t partition, const kafka::Commits& commits);
  std::int64_t replay_start(std::int32_t partition, const kafka::Commits& commits,
                            Partition& state);
  void give_up(const std::vector<std::int32_t>& partitions, bool lost);
  void handle(const kafka::Received& message);
  void replay(Partition& state, const kafka::Received& message);
  void note_recovery(Partition& state);
  void handle_in_transaction(Partition& state, const kafka::Received& message);
  void forecast(Partition& state, const StreamMessage& message);
  void publish(const kafka::Received& origin);
  void set_aside(const kafka::Received& message, const std::string& reason);
  void commit();
  void give_transaction_up();
  void take_up_again();
  void tell_counts();

  WorkerOptions _options;
  Reference _reference;
  std::string _used_version;
  std::shared_ptr<const Network> _network;
  LearnedSettings _settings;
  HistoryBook _book;
  std::unique_ptr<kafka::LogReader> _log;
  std::unique_ptr<kafka::Producer> _producer;
  std::unique_ptr<kafka::GroupConsumer> _consumer;
  std::map<std::int32_t, Partition> _partitions;
  /// Given up, as they were at their last commit, until it is known whose they are next.
  std::map<std::int32_t, Partition> _kept;
  std::vector<PartitionOutput> _output;
  bool _reference_changed = false;
  bool _must_take_up_again = false;
  bool _open = false;  ///< a transaction is
  std::size_t _in_transaction = 0;
  std::chrono::steady_clock::time_point _commit_at;
  std::chrono::steady_clock::time_point _tell_at;
  WorkerCounts _counts;
  mutable std::mutex _mutex;
  WorkerCounts _told;
};

}  // namespace qiv
