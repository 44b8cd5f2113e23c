#include "worker/kafka/group_consumer.h"

#include <algorithm>
#include <string_view>
#include <thread>
#include <utility>

#include "worker/kafka/error.h"

namespace qiv::kafka {
namespace {

constexpr int patience_ms = 60'000;
constexpr std::chrono::milliseconds pause{100};

/// Not "cooperative-sticky": with it the client before its version 2.3 can end the process when a
/// member leaves before its first assignment.
const Properties usual = {{"partition.assignment.strategy", "roundrobin"},
                          {"session.timeout.ms", "12000"},
                          {"fetch.wait.max.ms", "50"},
                          {"auto.offset.reset", "earliest"}};

const Properties needed = {{"enable.auto.commit", "false"},
                           {"enable.auto.offset.store", "false"},
                           {"isolation.level", "read_committed"}};

Properties with_group(const std::string& group) {
  Properties all = needed;
  all["group.id"] = group;
  return all;
}

PartitionList make_list(const std::string& topic, const std::vector<std::int32_t>& partitions) {
  PartitionList list(rd_kafka_topic_partition_list_new(static_cast<int>(partitions.size())));
  for (const std::int32_t partition : partitions) {
    rd_kafka_topic_partition_list_add(list.get(), topic.c_str(), partition);
  }
  return list;
}

std::vector<std::int32_t> numbers_of(const rd_kafka_topic_partition_list_t& list) {
  std::vector<std::int32_t> numbers;
  for (int i = 0; i < list.cnt; ++i) numbers.push_back(list.elems[i].partition);
  return numbers;
}

/// What passes by itself when a broker comes back or another one takes its place.
bool passes(rd_kafka_resp_err_t error) {
  switch (error) {
    case RD_KAFKA_RESP_ERR__TRANSPORT:
    case RD_KAFKA_RESP_ERR__TIMED_OUT:
    case RD_KAFKA_RESP_ERR__WAIT_COORD:
    case RD_KAFKA_RESP_ERR_REQUEST_TIMED_OUT:
    case RD_KAFKA_RESP_ERR_LEADER_NOT_AVAILABLE:
    case RD_KAFKA_RESP_ERR_NOT_LEADER_FOR_PARTITION:
    case RD_KAFKA_RESP_ERR_COORDINATOR_LOAD_IN_PROGRESS:
    case RD_KAFKA_RESP_ERR_COORDINATOR_NOT_AVAILABLE:
    case RD_KAFKA_RESP_ERR_NOT_COORDINATOR:
      return true;
    default:
      return false;
  }
}

/// Asks the brokers until there is an answer, or an error lasts.
template <class Ask>
void insist(const std::string& tried, const Ask& ask) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(patience_ms);
  rd_kafka_resp_err_t error = ask();
  while (passes(error) && std::chrono::steady_clock::now() < until) {
    std::this_thread::sleep_for(pause);
    error = ask();
  }
  check(tried, error);
}

/// What went wrong with a list's entries, or with any of them.
rd_kafka_resp_err_t error_of(rd_kafka_resp_err_t error, const PartitionList& list) {
  for (int i = 0; i < list->cnt && error == RD_KAFKA_RESP_ERR_NO_ERROR; ++i) {
    error = list->elems[i].err;
  }
  return error;
}

bool is_cooperative(rd_kafka_t* client) {
  const char* const protocol = rd_kafka_rebalance_protocol(client);
  return protocol != nullptr && std::string_view(protocol) == "COOPERATIVE";
}

}  // namespace

GroupConsumer::GroupConsumer(const Properties& properties, const std::string& group,
                             std::string topic, Callbacks callbacks)
    : _topic(std::move(topic)),
      _callbacks(std::move(callbacks)),
      _client(make_client(RD_KAFKA_CONSUMER, usual, properties, with_group(group),
                          {nullptr, rebalance, this})) {
  rd_kafka_poll_set_consumer(_client.get());
  const PartitionList topics = make_list(_topic, {RD_KAFKA_PARTITION_UA});
  check("topic " + _topic, rd_kafka_subscribe(_client.get(), topics.get()));
}

GroupConsumer::~GroupConsumer() {
  _closing = true;
  rd_kafka_consumer_close(_client.get());
}

void GroupConsumer::rebalance(rd_kafka_t* client, rd_kafka_resp_err_t what,
                              rd_kafka_topic_partition_list_t* partitions, void* opaque) {
  auto& self = *static_cast<GroupConsumer*>(opaque);
  try {
    if (what == RD_KAFKA_RESP_ERR__ASSIGN_PARTITIONS && !self._closing) {
      self.assign(partitions);
      return;
    }
    self.revoke(partitions);
  } catch (...) {
    self._thrown = std::current_exception();
    rd_kafka_assign(client, nullptr);
  }
}

void GroupConsumer::assign(rd_kafka_topic_partition_list_t* partitions) {
  const auto offsets = _callbacks.on_assigned(numbers_of(*partitions));
  for (int i = 0; i < partitions->cnt; ++i) {
    rd_kafka_topic_partition_t& entry = partitions->elems[i];
    const auto offset = offsets.find(entry.partition);
    entry.offset = offset == offsets.end() ? RD_KAFKA_OFFSET_BEGINNING : offset->second;
  }
  if (is_cooperative(_client.get())) {
    check("assignment", rd_kafka_incremental_assign(_client.get(), partitions));
  } else {
    check("assignment", rd_kafka_assign(_client.get(), partitions));
  }
}

void GroupConsumer::revoke(rd_kafka_topic_partition_list_t* partitions) {
  const bool lost = rd_kafka_assignment_lost(_client.get()) != 0;
  _callbacks.on_revoked(numbers_of(*partitions), lost);
  if (is_cooperative(_client.get())) {
    check("assignment", rd_kafka_incremental_unassign(_client.get(), partitions));
  } else {
    check("assignment", rd_kafka_assign(_client.get(), nullptr));
  }
}

std::optional<Received> GroupConsumer::poll(std::chrono::milliseconds timeout) {
  const RawMessage raw(rd_kafka_consumer_poll(_client.get(), static_cast<int>(timeout.count())));
  if (_thrown) std::rethrow_exception(std::exchange(_thrown, nullptr));
  if (raw == nullptr) return std::nullopt;
  if (raw->err == RD_KAFKA_RESP_ERR_NO_ERROR) return received(*raw);
  std::string reason;
  reason.resize(512);
  if (rd_kafka_fatal_error(_client.get(), reason.data(), reason.size()) !=
      RD_KAFKA_RESP_ERR_NO_ERROR) {
    throw Error("reading " + _topic, raw->err, reason.c_str());
  }
  return std::nullopt;
}

Commits GroupConsumer::committed(const std::vector<std::int32_t>& partitions) {
  const PartitionList list = make_list(_topic, partitions);
  insist("offsets of the group", [&] {
    return error_of(rd_kafka_committed(_client.get(), list.get(), patience_ms), list);
  });
  Commits commits;
  for (int i = 0; i < list->cnt; ++i) {
    const rd_kafka_topic_partition_t& entry = list->elems[i];
    if (entry.offset < 0) continue;
    std::string note;
    if (entry.metadata != nullptr) {
      note.assign(static_cast<const char*>(entry.metadata), entry.metadata_size);
    }
    commits[entry.partition] = {entry.offset, note};
  }
  return commits;
}

std::optional<std::int64_t> GroupConsumer::offset_at(std::int32_t partition, Instant time) {
  const PartitionList list = make_list(_topic, {partition});
  rd_kafka_topic_partition_t& entry = list->elems[0];
  insist("offset of a time", [&] {
    entry.offset = unix_seconds(time) * 1000;
    return error_of(rd_kafka_offsets_for_times(_client.get(), list.get(), patience_ms), list);
  });
  return entry.offset < 0 ? std::nullopt : std::optional(entry.offset);
}

std::pair<std::int64_t, std::int64_t> GroupConsumer::bounds(std::int32_t partition) {
  std::pair<std::int64_t, std::int64_t> bounds;
  insist("offsets of " + _topic, [&] {
    return rd_kafka_query_watermark_offsets(_client.get(), _topic.c_str(), partition, &bounds.first,
                                            &bounds.second, patience_ms);
  });
  return bounds;
}

std::int64_t GroupConsumer::lag(std::int32_t partition, std::int64_t next) const {
  std::int64_t first = 0;
  std::int64_t end = 0;
  if (rd_kafka_get_watermark_offsets(_client.get(), _topic.c_str(), partition, &first, &end) !=
      RD_KAFKA_RESP_ERR_NO_ERROR) {
    return 0;
  }
  return std::max<std::int64_t>(end - next, 0);
}

void GroupConsumer::seek(const std::map<std::int32_t, std::int64_t>& offsets) {
  const PartitionList list = make_list(_topic, {});
  for (const auto& [partition, offset] : offsets) {
    rd_kafka_topic_partition_list_add(list.get(), _topic.c_str(), partition)->offset = offset;
  }
  check("seek", rd_kafka_seek_partitions(_client.get(), list.get(), patience_ms));
  check("seek", error_of(RD_KAFKA_RESP_ERR_NO_ERROR, list));
}

GroupMetadata GroupConsumer::group_metadata() const {
  return GroupMetadata(rd_kafka_consumer_group_metadata(_client.get()));
}

}  // namespace qiv::kafka
