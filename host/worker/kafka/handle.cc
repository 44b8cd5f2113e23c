#include "worker/kafka/handle.h"

#include <algorithm>
#include <array>
#include <thread>

#include "worker/kafka/error.h"

namespace qiv::kafka {
namespace {

void set(rd_kafka_conf_t* conf, const std::string& name, const std::string& value) {
  std::array<char, 512> reason{};
  if (rd_kafka_conf_set(conf, name.c_str(), value.c_str(), reason.data(), reason.size()) !=
      RD_KAFKA_CONF_OK) {
    rd_kafka_conf_destroy(conf);
    throw Error("property '" + name + "'", RD_KAFKA_RESP_ERR__INVALID_ARG, reason.data());
  }
}

void keep_quiet(const rd_kafka_t*, int, const char*, const char*) {}

std::map<std::string, std::string> headers_of(const rd_kafka_message_t& raw) {
  std::map<std::string, std::string> result;
  rd_kafka_headers_t* headers = nullptr;
  if (rd_kafka_message_headers(&raw, &headers) != RD_KAFKA_RESP_ERR_NO_ERROR) return result;
  const char* name = nullptr;
  const void* value = nullptr;
  std::size_t size = 0;
  for (std::size_t i = 0;
       rd_kafka_header_get_all(headers, i, &name, &value, &size) == RD_KAFKA_RESP_ERR_NO_ERROR;
       ++i) {
    if (value != nullptr) result[name] = std::string(static_cast<const char*>(value), size);
  }
  return result;
}

/// Nothing when the topic is not (yet) there.
std::int32_t count_partitions(const struct rd_kafka_metadata& metadata) {
  if (metadata.topic_cnt != 1) return 0;
  const rd_kafka_metadata_topic& topic = metadata.topics[0];
  return topic.err == RD_KAFKA_RESP_ERR_NO_ERROR ? topic.partition_cnt : 0;
}

}  // namespace

Client make_client(rd_kafka_type_t type, const Properties& usual, const Properties& properties,
                   const Properties& needed, const Callbacks& callbacks) {
  rd_kafka_conf_t* const conf = rd_kafka_conf_new();
  Properties all = needed;
  all.insert(properties.begin(), properties.end());
  all.insert(usual.begin(), usual.end());
  for (const auto& [name, value] : all) set(conf, name, value);
  rd_kafka_conf_set_log_cb(conf, keep_quiet);
  rd_kafka_conf_set_opaque(conf, callbacks.opaque);
  if (callbacks.delivered != nullptr) rd_kafka_conf_set_dr_msg_cb(conf, callbacks.delivered);
  if (callbacks.rebalance != nullptr) rd_kafka_conf_set_rebalance_cb(conf, callbacks.rebalance);
  std::array<char, 512> reason{};
  rd_kafka_t* const client = rd_kafka_new(type, conf, reason.data(), reason.size());
  if (client == nullptr) {
    rd_kafka_conf_destroy(conf);
    throw Error("Kafka client", RD_KAFKA_RESP_ERR__INVALID_ARG, reason.data());
  }
  return Client(client);
}

Received received(const rd_kafka_message_t& raw) {
  Received result;
  result.topic = rd_kafka_topic_name(raw.rkt);
  result.partition = raw.partition;
  result.offset = raw.offset;
  if (raw.key != nullptr) result.message.key.assign(static_cast<const char*>(raw.key), raw.key_len);
  if (raw.payload != nullptr) {
    result.message.value.emplace(static_cast<const char*>(raw.payload), raw.len);
  }
  result.message.headers = headers_of(raw);
  rd_kafka_timestamp_type_t type = RD_KAFKA_TIMESTAMP_NOT_AVAILABLE;
  const std::int64_t time_ms = rd_kafka_message_timestamp(&raw, &type);
  if (type != RD_KAFKA_TIMESTAMP_NOT_AVAILABLE && time_ms >= 0) {
    result.message.time = from_unix_seconds(time_ms / 1000);
  }
  return result;
}

std::string place_of(const Received& message) {
  return message.topic + ":" + std::to_string(message.partition) + ":" +
         std::to_string(message.offset);
}

namespace {

/// Where the client looks for brokers.
std::string servers_of(rd_kafka_t* client) {
  std::string servers(1024, '\0');
  std::size_t size = servers.size();
  if (rd_kafka_conf_get(rd_kafka_conf(client), "bootstrap.servers", servers.data(), &size) !=
      RD_KAFKA_CONF_OK) {
    return "the stated address";
  }
  return servers.c_str();
}

}  // namespace

std::int32_t partitions_of(rd_kafka_t* client, const std::string& topic,
                           std::chrono::milliseconds timeout, const std::stop_token& stop) {
  rd_kafka_topic_t* const handle = rd_kafka_topic_new(client, topic.c_str(), nullptr);
  const auto until = std::chrono::steady_clock::now() + timeout;
  std::int32_t count = 0;
  rd_kafka_resp_err_t error = RD_KAFKA_RESP_ERR_NO_ERROR;
  while (count == 0 && std::chrono::steady_clock::now() < until && !stop.stop_requested()) {
    const struct rd_kafka_metadata* metadata = nullptr;
    error = rd_kafka_metadata(client, 0, handle, &metadata,
                              static_cast<int>(std::min<long>(timeout.count(), 1000)));
    if (error == RD_KAFKA_RESP_ERR_NO_ERROR) {
      count = count_partitions(*metadata);
      rd_kafka_metadata_destroy(metadata);
    }
    if (count == 0) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  rd_kafka_topic_destroy(handle);
  if (stop.stop_requested()) {
    throw Error("topic " + topic, RD_KAFKA_RESP_ERR__DESTROY, "asked to stop");
  }
  if (error == RD_KAFKA_RESP_ERR__TRANSPORT || error == RD_KAFKA_RESP_ERR__TIMED_OUT) {
    throw Error("topic " + topic, error,
                "no broker answers at " + servers_of(client) +
                    ": start it, or correct bootstrap.servers in city.toml");
  }
  check("topic " + topic, error);
  if (count == 0) {
    throw Error("topic " + topic, RD_KAFKA_RESP_ERR__UNKNOWN_TOPIC,
                "there is no such topic: start the bridge, which makes it");
  }
  return count;
}

std::int32_t partition_for(std::string_view key, std::int32_t count) {
  return rd_kafka_msg_partitioner_murmur2(nullptr, key.data(), key.size(), count, nullptr, nullptr);
}

}  // namespace qiv::kafka
