#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "worker/kafka/handle.h"

namespace qiv::kafka {

/// Reads all partitions of topics, without a group, and follows them. One thread.
class LogReader {
 public:
  /// Reads `topics` from their beginning, and `recent` from their last few thousand messages on.
  /// Throws `Error` when a topic is not there, and when it is asked to stop before that is known.
  LogReader(const Properties& properties, const std::vector<std::string>& topics,
            const std::vector<std::string>& recent = {}, const std::stop_token& stop = {});

  /// The next message; nothing when none comes in time. Throws `Error` for what the client cannot
  /// get over.
  std::optional<Received> poll(std::chrono::milliseconds timeout);

  /// Whether every partition has been read to where it ended when that was looked at last.
  bool at_end() const { return _behind == 0; }

 private:
  static void add(rd_kafka_t* client, const std::vector<std::string>& topics, std::int64_t offset,
                  const std::stop_token& stop, rd_kafka_topic_partition_list_t* list);

  Client _client;
  std::map<std::pair<std::string, std::int32_t>, bool> _ended;
  std::size_t _behind = 0;
};

}  // namespace qiv::kafka
