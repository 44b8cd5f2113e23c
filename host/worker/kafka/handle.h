#pragma once

#include <librdkafka/rdkafka.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "worker/stream_message.h"

namespace qiv::kafka {

/// Properties of the client, as its documentation names them: "bootstrap.servers",
/// "security.protocol", "sasl.username", ...
using Properties = std::map<std::string, std::string>;

struct Destroy {
  void operator()(rd_kafka_t* client) const { rd_kafka_destroy(client); }
  void operator()(rd_kafka_topic_partition_list_t* list) const {
    rd_kafka_topic_partition_list_destroy(list);
  }
  void operator()(rd_kafka_message_t* message) const { rd_kafka_message_destroy(message); }
  void operator()(rd_kafka_consumer_group_metadata_t* group) const {
    rd_kafka_consumer_group_metadata_destroy(group);
  }
};
using Client = std::unique_ptr<rd_kafka_t, Destroy>;
using PartitionList = std::unique_ptr<rd_kafka_topic_partition_list_t, Destroy>;
using RawMessage = std::unique_ptr<rd_kafka_message_t, Destroy>;
using GroupMetadata = std::unique_ptr<rd_kafka_consumer_group_metadata_t, Destroy>;

/// Callbacks and the pointer that they get.
struct Callbacks {
  void (*delivered)(rd_kafka_t*, const rd_kafka_message_t*, void*) = nullptr;
  void (*rebalance)(rd_kafka_t*, rd_kafka_resp_err_t, rd_kafka_topic_partition_list_t*,
                    void*) = nullptr;
  void* opaque = nullptr;
};

/// Makes a client. `needed` overrides `properties`, and these override `usual`. The client's own
/// log lines are kept from the standard error stream. Throws `Error` that names a property that is
/// not known or has a wrong value.
Client make_client(rd_kafka_type_t type, const Properties& usual, const Properties& properties,
                   const Properties& needed, const Callbacks& callbacks = {});

/// A message with its place.
struct Received {
  std::string topic;
  std::int32_t partition = 0;
  std::int64_t offset = 0;
  StreamMessage message;
};

/// "topic:partition:offset".
std::string place_of(const Received& message);

/// The message as this system sees it. Precondition: it is no error.
Received received(const rd_kafka_message_t& raw);

/// The number of partitions of a topic. Throws `Error`, with the remedy, when there is no such
/// topic or no broker answers in time, and when it is asked to stop before.
std::int32_t partitions_of(rd_kafka_t* client, const std::string& topic,
                           std::chrono::milliseconds timeout = std::chrono::seconds(30),
                           const std::stop_token& stop = {});

/// The partition of a key among `count`, as Kafka's own producers choose it.
std::int32_t partition_for(std::string_view key, std::int32_t count);

}  // namespace qiv::kafka
