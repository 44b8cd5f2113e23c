#include "worker/kafka/producer.h"

#include "worker/kafka/error.h"

// The client's macros check their arguments with an extension of the compiler's.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wgnu-statement-expression"
#endif

namespace qiv::kafka {
namespace {

constexpr int patience_ms = 60'000;

const Properties usual = {{"linger.ms", "20"}, {"compression.type", "lz4"}};

rd_kafka_headers_t* make_headers(const StreamMessage& message) {
  rd_kafka_headers_t* const headers = rd_kafka_headers_new(message.headers.size());
  for (const auto& [name, value] : message.headers) {
    rd_kafka_header_add(headers, name.c_str(), static_cast<ssize_t>(name.size()), value.data(),
                        static_cast<ssize_t>(value.size()));
  }
  return headers;
}

/// Makes a call until it succeeds or fails for good; takes errors over.
template <class Call>
void retried(const std::string& tried, const Call& call) {
  constexpr int most_attempts = 5;
  for (int attempt = 1;; ++attempt) {
    rd_kafka_error_t* const error = call();
    if (error == nullptr) return;
    if (attempt == most_attempts || rd_kafka_error_is_retriable(error) == 0) check(tried, error);
    rd_kafka_error_destroy(error);
  }
}

}  // namespace

Producer::Producer(const Properties& properties)
    : _client(make_client(RD_KAFKA_PRODUCER, usual, properties, {{"enable.idempotence", "true"}},
                          {delivered, nullptr, this})) {}

Producer::Producer(const Properties& properties, const std::string& transactional_id)
    : _client(make_client(RD_KAFKA_PRODUCER, usual, properties,
                          {{"enable.idempotence", "true"}, {"transactional.id", transactional_id}},
                          {delivered, nullptr, this})) {
  retried("transactions", [&] { return rd_kafka_init_transactions(client(), patience_ms); });
}

Producer::~Producer() = default;

void Producer::delivered(rd_kafka_t*, const rd_kafka_message_t* message, void* opaque) {
  if (message->err == RD_KAFKA_RESP_ERR_NO_ERROR) return;
  static_cast<Producer*>(opaque)->_failure = message->err;
}

std::int32_t Producer::partitions_of(const std::string& topic) {
  const auto known = _partitions.find(topic);
  if (known != _partitions.end()) return known->second;
  return _partitions[topic] = kafka::partitions_of(client(), topic);
}

void Producer::send(const std::string& topic, const std::string& group,
                    const StreamMessage& message) {
  send(topic, partition_for(group, partitions_of(topic)), message);
}

void Producer::send(const std::string& topic, std::int32_t partition,
                    const StreamMessage& message) {
  rd_kafka_headers_t* const headers = make_headers(message);
  void* const value = message.value ? const_cast<char*>(message.value->data()) : nullptr;
  const std::size_t size = message.value ? message.value->size() : 0;
  while (true) {
    const rd_kafka_resp_err_t error = rd_kafka_producev(
        client(), RD_KAFKA_V_TOPIC(topic.c_str()), RD_KAFKA_V_PARTITION(partition),
        RD_KAFKA_V_MSGFLAGS(RD_KAFKA_MSG_F_COPY), RD_KAFKA_V_VALUE(value, size),
        RD_KAFKA_V_KEY(message.key.data(), message.key.size()),
        RD_KAFKA_V_TIMESTAMP(unix_seconds(message.time) * 1000), RD_KAFKA_V_HEADERS(headers),
        RD_KAFKA_V_END);
    if (error == RD_KAFKA_RESP_ERR_NO_ERROR) break;
    if (error != RD_KAFKA_RESP_ERR__QUEUE_FULL) {
      rd_kafka_headers_destroy(headers);
      const bool transaction_failed = error == RD_KAFKA_RESP_ERR__STATE;
      throw Error("message for " + topic, error, "", transaction_failed);
    }
    rd_kafka_poll(client(), 100);
  }
  rd_kafka_poll(client(), 0);
}

void Producer::flush(std::chrono::milliseconds timeout) {
  check("waiting for the broker", rd_kafka_flush(client(), static_cast<int>(timeout.count())));
  const rd_kafka_resp_err_t failure = std::exchange(_failure, RD_KAFKA_RESP_ERR_NO_ERROR);
  check("message that was sent", failure);
}

void Producer::begin() {
  check("begin of a transaction", rd_kafka_begin_transaction(client()));
}

void Producer::commit(const std::string& topic, const Commits& commits,
                      const rd_kafka_consumer_group_metadata_t* group) {
  const PartitionList list(rd_kafka_topic_partition_list_new(static_cast<int>(commits.size())));
  for (const auto& [partition, commit] : commits) {
    rd_kafka_topic_partition_t* const entry =
        rd_kafka_topic_partition_list_add(list.get(), topic.c_str(), partition);
    entry->offset = commit.next;
    entry->metadata_size = commit.note.size();
    entry->metadata = rd_kafka_mem_malloc(client(), commit.note.size());
    commit.note.copy(static_cast<char*>(entry->metadata), commit.note.size());
  }
  retried("offsets of a transaction", [&] {
    return rd_kafka_send_offsets_to_transaction(client(), list.get(), group, patience_ms);
  });
  retried("end of a transaction",
          [&] { return rd_kafka_commit_transaction(client(), patience_ms); });
  _failure = RD_KAFKA_RESP_ERR_NO_ERROR;
}

void Producer::abort() {
  retried("abort of a transaction",
          [&] { return rd_kafka_abort_transaction(client(), patience_ms); });
  _failure = RD_KAFKA_RESP_ERR_NO_ERROR;
}

}  // namespace qiv::kafka
