#pragma once

#include <librdkafka/rdkafka.h>
#include <librdkafka/rdkafka_mock.h>

#include <string>

#include "worker/kafka/handle.h"

namespace qiv::testing {

/// The client library's own stand-in for a broker, on loopback. Knows groups; shows what a
/// transaction writes at once, and takes nothing back.
class MockCluster {
 public:
  explicit MockCluster(int brokers = 1)
      : _client(kafka::make_client(RD_KAFKA_PRODUCER, {}, {}, {})),
        _cluster(rd_kafka_mock_cluster_new(_client.get(), brokers)) {}
  ~MockCluster() { rd_kafka_mock_cluster_destroy(_cluster); }
  MockCluster(const MockCluster&) = delete;
  MockCluster& operator=(const MockCluster&) = delete;

  kafka::Properties properties() const {
    return {{"bootstrap.servers", rd_kafka_mock_cluster_bootstraps(_cluster)}};
  }

  void make_topic(const std::string& name, int partitions) {
    rd_kafka_mock_topic_create(_cluster, name.c_str(), partitions, 1);
  }

  rd_kafka_mock_cluster_t* get() { return _cluster; }

 private:
  kafka::Client _client;
  rd_kafka_mock_cluster_t* _cluster;
};

}  // namespace qiv::testing
