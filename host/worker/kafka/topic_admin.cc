#include "worker/kafka/topic_admin.h"

#include <algorithm>
#include <array>
#include <set>

#include "worker/kafka/error.h"

namespace qiv::kafka {
namespace {

constexpr int patience_ms = 60'000;

std::set<std::string> known_topics(rd_kafka_t* client) {
  const struct rd_kafka_metadata* metadata = nullptr;
  check("list of topics", rd_kafka_metadata(client, 1, nullptr, &metadata, patience_ms));
  std::set<std::string> names;
  for (int i = 0; i < metadata->topic_cnt; ++i) names.insert(metadata->topics[i].topic);
  rd_kafka_metadata_destroy(metadata);
  return names;
}

struct DestroyAdmin {
  void operator()(rd_kafka_NewTopic_t* topic) const { rd_kafka_NewTopic_destroy(topic); }
  void operator()(rd_kafka_queue_t* queue) const { rd_kafka_queue_destroy(queue); }
  void operator()(rd_kafka_event_t* event) const { rd_kafka_event_destroy(event); }
};

std::unique_ptr<rd_kafka_NewTopic_t, DestroyAdmin> wanted(const TopicPlan& plan) {
  std::array<char, 512> reason{};
  std::unique_ptr<rd_kafka_NewTopic_t, DestroyAdmin> topic(
      rd_kafka_NewTopic_new(plan.name.c_str(), plan.partitions, -1, reason.data(), reason.size()));
  if (topic == nullptr) {
    throw Error("topic " + plan.name, RD_KAFKA_RESP_ERR__INVALID_ARG, reason.data());
  }
  for (const auto& [name, value] : plan.config) {
    check("topic " + plan.name,
          rd_kafka_NewTopic_set_config(topic.get(), name.c_str(), value.c_str()));
  }
  return topic;
}

void create(rd_kafka_t* client, const TopicPlan& plan) {
  const auto topic = wanted(plan);
  const std::unique_ptr<rd_kafka_queue_t, DestroyAdmin> queue(rd_kafka_queue_new(client));
  rd_kafka_NewTopic_t* raw = topic.get();
  rd_kafka_CreateTopics(client, &raw, 1, nullptr, queue.get());
  const std::unique_ptr<rd_kafka_event_t, DestroyAdmin> event(
      rd_kafka_queue_poll(queue.get(), patience_ms));
  if (event == nullptr) throw Error("topic " + plan.name, RD_KAFKA_RESP_ERR__TIMED_OUT);
  check("topic " + plan.name, rd_kafka_event_error(event.get()));
  std::size_t count = 0;
  const auto* const results =
      rd_kafka_CreateTopics_result_topics(rd_kafka_event_CreateTopics_result(event.get()), &count);
  for (std::size_t i = 0; i < count; ++i) {
    const rd_kafka_resp_err_t error = rd_kafka_topic_result_error(results[i]);
    if (error == RD_KAFKA_RESP_ERR_TOPIC_ALREADY_EXISTS) continue;
    if (error == RD_KAFKA_RESP_ERR_NO_ERROR) continue;
    const char* const text = rd_kafka_topic_result_error_string(results[i]);
    throw Error("topic " + plan.name, error, text == nullptr ? "" : text);
  }
}

}  // namespace

void make_topics(const Properties& properties, const std::vector<TopicPlan>& plans) {
  const Client client = make_client(RD_KAFKA_PRODUCER, {}, properties, {});
  const std::set<std::string> known = known_topics(client.get());
  for (const TopicPlan& plan : plans) {
    if (!known.contains(plan.name)) create(client.get(), plan);
  }
}

}  // namespace qiv::kafka
