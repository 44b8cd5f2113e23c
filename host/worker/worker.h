#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

#include "worker/basis.h"
#include "worker/kafka/error.h"
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
  /// A partition is built anew so often, so that its histories do not grow for ever.
  std::chrono::seconds renew = std::chrono::hours(24);
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
  std::uint64_t trips_learned = 0;  ///< of any worker, joined the histories while it worked
  std::size_t histories = 0;        ///< trips that are held
  std::string network_version;      ///< of the timetable in force
  std::size_t on_former_basis = 0;  ///< partitions that wait for what is in force
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
    std::shared_ptr<Basis> basis;
    std::unique_ptr<PartitionEngine> engine;
    std::int64_t next = 0;          ///< offset of the next message
    std::int64_t publish_from = 0;  ///< messages before it are replayed
    Instant replay_from = Instant::min();
    bool dirty = false;
    std::chrono::steady_clock::time_point assigned;
    bool recovering = false;
    /// The trips of its vehicles as the partition was before it was built anew.
    std::map<VehicleId, TripKey> before;
  };

  void open_producer();
  void work();
  bool wait_for_basis(const std::stop_token& stop);
  void follow();
  void follow_reference();
  void follow_finished(const std::shared_ptr<Basis>& basis);
  void prepare_basis();
  void use_basis();
  void renew_one();
  std::map<std::int32_t, std::int64_t> take_up(const std::vector<std::int32_t>& partitions);
  Partition make_partition(std::int32_t partition, const kafka::Commits& commits);
  std::int64_t replay_start(std::int32_t partition, const kafka::Commits& commits,
                            Partition& state);
  void give_up(const std::vector<std::int32_t>& partitions, bool lost);
  void handle(const kafka::Received& message);
  void replay(Partition& state, const kafka::Received& message);
  void note_recovery(Partition& state);
  void handle_in_transaction(Partition& state, const kafka::Received& message);
  void leave_what_is_gone(Partition& state, const kafka::Received& message);
  void forecast(Partition& state, const StreamMessage& message);
  void publish(const kafka::Received& origin, const Network& network);
  void count(const PartitionOutput& output);
  void set_aside(const kafka::Received& message, const std::string& reason);
  void commit();
  void get_over(const kafka::Error& error);
  bool has_outlived_transaction() const;
  void give_transaction_up();
  void take_up_again();
  void tell_counts();

  WorkerOptions _options;
  Reference _reference;
  std::unique_ptr<kafka::LogReader> _log;  ///< of the reference
  std::shared_ptr<Basis> _basis;           ///< in force
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
  std::stop_source _ends;
  std::future<std::shared_ptr<Basis>> _coming;  ///< is being read
};

}  // namespace qiv
