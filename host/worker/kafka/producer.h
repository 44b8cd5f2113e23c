#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "worker/kafka/handle.h"

namespace qiv::kafka {

/// The next offset of a partition, and a text beside it.
struct Commit {
  std::int64_t next = 0;
  std::string note;
};
using Commits = std::map<std::int32_t, Commit>;

/// Writes to topics, each message once. One thread.
class Producer {
 public:
  /// Messages count as written when all replicas in step have them.
  explicit Producer(const Properties& properties);
  /// Writes in transactions under this name. A later producer of the same name shuts this one out.
  Producer(const Properties& properties, const std::string& transactional_id);
  ~Producer();
  Producer(const Producer&) = delete;
  Producer& operator=(const Producer&) = delete;

  /// Hands a message over; waits while too many are on their way. Throws `Error`, which
  /// `needs_abort` where an earlier message of the transaction could not be written.
  void send(const std::string& topic, std::int32_t partition, const StreamMessage& message);
  /// To the partition of `group`, which is the key or a part of it.
  void send(const std::string& topic, const std::string& group, const StreamMessage& message);

  /// The same number as long as the producer lives.
  std::int32_t partitions_of(const std::string& topic);

  /// Waits until everything is written. Throws `Error` when anything could not be.
  void flush(std::chrono::milliseconds timeout = std::chrono::minutes(2));

  void begin();
  /// Ends the transaction; `commits` of the group become valid with it. Throws `Error`: nothing of
  /// it is valid then, and where it `needs_abort`, `abort` makes the producer ready for the next.
  void commit(const std::string& topic, const Commits& commits,
              const rd_kafka_consumer_group_metadata_t* group);
  void abort();

  rd_kafka_t* client() { return _client.get(); }

 private:
  static void delivered(rd_kafka_t* client, const rd_kafka_message_t* message, void* opaque);

  Client _client;
  std::map<std::string, std::int32_t> _partitions;
  rd_kafka_resp_err_t _failure = RD_KAFKA_RESP_ERR_NO_ERROR;
};

}  // namespace qiv::kafka
