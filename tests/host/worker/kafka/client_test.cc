#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/worker/mock_cluster.h"
#include "worker/kafka/error.h"
#include "worker/kafka/group_consumer.h"
#include "worker/kafka/handle.h"
#include "worker/kafka/log_reader.h"
#include "worker/kafka/producer.h"

namespace qiv::kafka {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::MockCluster;

StreamMessage message(const std::string& key, const std::string& value, long long time_s = 1000) {
  return make_message(key, value, from_unix_seconds(time_s));
}

/// What is in a topic, read from its beginning to its end.
std::vector<Received> contents(const Properties& properties, const std::string& topic) {
  LogReader reader(properties, {topic});
  std::vector<Received> all;
  while (!reader.at_end()) {
    if (auto next = reader.poll(milliseconds(100))) all.push_back(std::move(*next));
  }
  return all;
}

std::vector<std::string> values(const std::vector<Received>& all) {
  std::vector<std::string> result;
  for (const Received& one : all) result.push_back(one.message.value.value_or("(none)"));
  return result;
}

TEST(KafkaHandleTest, AnUnknownPropertyIsNamed) {
  try {
    make_client(RD_KAFKA_PRODUCER, {}, {{"bootstrap.server", "x"}}, {});
    FAIL();
  } catch (const Error& error) {
    EXPECT_THAT(error.what(), HasSubstr("property 'bootstrap.server': _INVALID_ARG"));
  }
}

TEST(KafkaHandleTest, AWrongValueIsNamed) {
  EXPECT_THROW(make_client(RD_KAFKA_PRODUCER, {}, {{"security.protocol", "carrier-pigeon"}}, {}),
               Error);
}

TEST(KafkaHandleTest, AKeysPartitionIsThatOfOtherProducers) {
  // As Kafka's own producer in Java places them: toPositive(murmur2(key)) % partitions.
  EXPECT_EQ(partition_for("21", 1000), (-973932308 & 0x7fffffff) % 1000);
  EXPECT_EQ(partition_for("foobar", 1000), (-790332482 & 0x7fffffff) % 1000);
}

TEST(KafkaHandleTest, ABrokerThatDoesNotAnswerIsAnError) {
  const Client client =
      make_client(RD_KAFKA_PRODUCER, {}, {{"bootstrap.servers", "127.0.0.1:1"}}, {});
  try {
    partitions_of(client.get(), "t", milliseconds(300));
    FAIL();
  } catch (const Error& error) {
    EXPECT_THAT(error.what(), HasSubstr("topic t: _TRANSPORT"));
  }
}

TEST(KafkaErrorTest, IsNamed) {
  const Error error("reading", RD_KAFKA_RESP_ERR__TIMED_OUT);
  EXPECT_STREQ(error.what(), "reading: _TIMED_OUT: Local: Timed out");
  EXPECT_FALSE(error.needs_abort());
  EXPECT_NO_THROW(check("reading", RD_KAFKA_RESP_ERR_NO_ERROR));
  EXPECT_THROW(check("reading", RD_KAFKA_RESP_ERR__FAIL), Error);
}

TEST(KafkaProducerTest, WritesKeyValueHeadersAndTime) {
  MockCluster cluster;
  cluster.make_topic("t", 1);
  Producer producer(cluster.properties());
  StreamMessage sent = message("key", "value", 1'759'811'582);
  sent.headers["more"] = "of it";
  producer.send("t", 0, sent);
  StreamMessage gone = sent;
  gone.value.reset();
  producer.send("t", 0, gone);
  producer.flush();
  const auto all = contents(cluster.properties(), "t");
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].message.key, "key");
  EXPECT_EQ(all[0].message.value, "value");
  EXPECT_EQ(all[0].message.headers, sent.headers);
  EXPECT_EQ(all[0].message.time, sent.time);
  EXPECT_EQ(all[0].offset, 0);
  EXPECT_EQ(all[1].offset, 1);
  EXPECT_FALSE(all[1].message.value);
}

TEST(KafkaProducerTest, AGroupHasOnePartition) {
  MockCluster cluster;
  cluster.make_topic("t", 4);
  Producer producer(cluster.properties());
  for (const char* const key : {"g/1", "g/2", "g/3"}) producer.send("t", "g", message(key, key));
  producer.flush();
  const auto all = contents(cluster.properties(), "t");
  EXPECT_THAT(values(all), ElementsAre("g/1", "g/2", "g/3"));
  EXPECT_EQ(all[0].partition, partition_for("g", 4));
}

TEST(KafkaProducerTest, WhatCannotBeWrittenIsNoticed) {
  MockCluster cluster;
  cluster.make_topic("t", 1);
  Properties properties = cluster.properties();
  Producer producer(properties);
  rd_kafka_mock_push_request_errors(cluster.get(), 0, 1,
                                    RD_KAFKA_RESP_ERR_TOPIC_AUTHORIZATION_FAILED);
  producer.send("t", 0, message("k", "v"));
  EXPECT_THROW(producer.flush(std::chrono::seconds(10)), Error);
}

class KafkaGroupTest : public ::testing::Test {
 protected:
  KafkaGroupTest() {
    cluster.make_topic("in", 2);
    cluster.make_topic("out", 1);
    Producer producer(cluster.properties());
    for (int i = 0; i < 10; ++i) producer.send("in", i % 2, message("k", std::to_string(i)));
    producer.flush();
  }

  /// Reads `count` messages as a member of the group, from what it has committed.
  std::vector<Received> read(GroupConsumer& consumer, std::size_t count) {
    std::vector<Received> all;
    for (int patience = 0; all.size() < count && patience < 300; ++patience) {
      if (auto next = consumer.poll(milliseconds(100))) all.push_back(std::move(*next));
    }
    return all;
  }

  GroupConsumer::Callbacks from_committed(std::unique_ptr<GroupConsumer>& consumer) {
    return {[&](const std::vector<std::int32_t>& partitions) {
              std::map<std::int32_t, std::int64_t> starts;
              for (const std::int32_t partition : partitions) assigned.push_back(partition);
              for (const auto& [partition, commit] : consumer->committed(partitions)) {
                starts[partition] = commit.next;
              }
              return starts;
            },
            [&](const std::vector<std::int32_t>& partitions, bool) {
              for (const std::int32_t partition : partitions) revoked.push_back(partition);
            }};
  }

  MockCluster cluster;
  std::vector<std::int32_t> assigned;
  std::vector<std::int32_t> revoked;
};

TEST_F(KafkaGroupTest, ReadsAllPartitionsAndKnowsTheirBounds) {
  std::unique_ptr<GroupConsumer> consumer;
  consumer =
      std::make_unique<GroupConsumer>(cluster.properties(), "g", "in", from_committed(consumer));
  EXPECT_EQ(read(*consumer, 10).size(), 10U);
  EXPECT_THAT(assigned, ::testing::UnorderedElementsAre(0, 1));
  EXPECT_EQ(consumer->bounds(0), (std::pair<std::int64_t, std::int64_t>(0, 5)));
  EXPECT_EQ(consumer->lag(0, 2), 3);
  consumer.reset();
  EXPECT_THAT(revoked, ::testing::UnorderedElementsAre(0, 1));
}

TEST_F(KafkaGroupTest, ATransactionWrites) {
  Producer producer(cluster.properties(), "tx");
  std::unique_ptr<GroupConsumer> consumer;
  consumer =
      std::make_unique<GroupConsumer>(cluster.properties(), "g", "in", from_committed(consumer));
  EXPECT_EQ(read(*consumer, 10).size(), 10U);
  producer.begin();
  producer.send("out", 0, message("k", "made"));
  producer.commit("in", {{0, {3, "12345"}}}, consumer->group_metadata().get());
  EXPECT_THAT(values(contents(cluster.properties(), "out")), ElementsAre("made"));
}

TEST_F(KafkaGroupTest, SeekReadsAgain) {
  std::unique_ptr<GroupConsumer> consumer;
  consumer =
      std::make_unique<GroupConsumer>(cluster.properties(), "g", "in", from_committed(consumer));
  EXPECT_EQ(read(*consumer, 10).size(), 10U);
  consumer->seek({{0, 3}});
  EXPECT_THAT(values(read(*consumer, 2)), ElementsAre("6", "8"));
}

TEST_F(KafkaGroupTest, WhatACallbackThrowsComesOutOfPoll) {
  GroupConsumer consumer(
      cluster.properties(), "g", "in",
      {[](const std::vector<std::int32_t>&) -> std::map<std::int32_t, std::int64_t> {
         throw std::runtime_error("no");
       },
       [](const std::vector<std::int32_t>&, bool) {}});
  EXPECT_THROW(read(consumer, 1), std::runtime_error);
}

}  // namespace
}  // namespace qiv::kafka
