#include "worker/kafka/log_reader.h"

#include "worker/kafka/error.h"

namespace qiv::kafka {
namespace {

constexpr std::int64_t few_thousand = 5000;

const Properties usual = {{"fetch.wait.max.ms", "50"}};

const Properties needed = {{"group.id", "qiv-reader"},
                           {"enable.auto.commit", "false"},
                           {"enable.auto.offset.store", "false"},
                           {"enable.partition.eof", "true"},
                           {"auto.offset.reset", "earliest"},
                           {"isolation.level", "read_committed"}};

}  // namespace

LogReader::LogReader(const Properties& properties, const std::vector<std::string>& topics,
                     const std::vector<std::string>& recent, const std::stop_token& stop)
    : _client(make_client(RD_KAFKA_CONSUMER, usual, properties, needed)) {
  rd_kafka_poll_set_consumer(_client.get());
  const PartitionList list(rd_kafka_topic_partition_list_new(1));
  add(_client.get(), topics, RD_KAFKA_OFFSET_BEGINNING, stop, list.get());
  add(_client.get(), recent, RD_KAFKA_OFFSET_TAIL(few_thousand), stop, list.get());
  for (int i = 0; i < list->cnt; ++i) {
    _ended[{list->elems[i].topic, list->elems[i].partition}] = false;
  }
  _behind = _ended.size();
  check("assignment", rd_kafka_assign(_client.get(), list.get()));
}

/// Adds all partitions of topics to a list, each to be read from `offset` on.
void LogReader::add(rd_kafka_t* client, const std::vector<std::string>& topics, std::int64_t offset,
                    const std::stop_token& stop, rd_kafka_topic_partition_list_t* list) {
  for (const std::string& topic : topics) {
    const std::int32_t count = partitions_of(client, topic, std::chrono::seconds(30), stop);
    for (std::int32_t partition = 0; partition < count; ++partition) {
      rd_kafka_topic_partition_list_add(list, topic.c_str(), partition)->offset = offset;
    }
  }
}

std::optional<Received> LogReader::poll(std::chrono::milliseconds timeout) {
  const RawMessage raw(rd_kafka_consumer_poll(_client.get(), static_cast<int>(timeout.count())));
  if (raw == nullptr) return std::nullopt;
  if (raw->err == RD_KAFKA_RESP_ERR_NO_ERROR) return received(*raw);
  if (raw->err == RD_KAFKA_RESP_ERR__PARTITION_EOF) {
    bool& ended = _ended[{rd_kafka_topic_name(raw->rkt), raw->partition}];
    if (!ended) --_behind;
    ended = true;
    return std::nullopt;
  }
  std::string reason;
  reason.resize(512);
  if (rd_kafka_fatal_error(_client.get(), reason.data(), reason.size()) !=
      RD_KAFKA_RESP_ERR_NO_ERROR) {
    throw Error("reading", raw->err, reason.c_str());
  }
  return std::nullopt;
}

}  // namespace qiv::kafka
