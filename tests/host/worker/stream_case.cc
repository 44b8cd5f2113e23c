#include "host/worker/stream_case.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "host/worker/plain_process.h"

namespace qiv::testing {
namespace {

constexpr Seconds mark_interval{60};

std::string said_of(const StreamMessage& message) {
  if (message.value) return *message.value;
  return "left at " + format_utc(message.time) + " " + header_of(message, header::kind);
}

}  // namespace

StreamCase::StreamCase(kafka::Properties given, const std::string& topics, StreamData stream_data)
    : properties(std::move(given)),
      prefix(topics),
      names(topics),
      data(std::move(stream_data)),
      until(data.positions.front().received - Seconds(1)) {}

std::map<std::string, int> StreamCase::topics() const {
  return {{names.positions, partitions},
          {names.finished, 2},
          {names.reference, 1},
          {names.forecasts, 6},
          {names.set_aside, 1}};
}

void StreamCase::write_reference() {
  kafka::Producer producer(properties);
  for (const StreamMessage& message : encode_network(data.gtfs, until, 20'000)) {
    producer.send(names.reference, 0, message);
  }
  producer.send(names.reference, 0, encode_settings(settings, until));
  for (const FinishedTrip& trip : data.histories) {
    producer.send(names.finished, finished_group(key_of(trip)), encode_finished(trip));
  }
  producer.flush();
}

void StreamCase::write_positions(double begin, double end) {
  if (_producer == nullptr) {
    _producer = std::make_unique<kafka::Producer>(properties);
    _writer =
        std::make_unique<PositionWriter>(*_producer, names.positions, stream_agency, mark_interval);
  }
  const auto at = [&](double share) {
    return static_cast<std::size_t>(share * static_cast<double>(data.positions.size()));
  };
  for (std::size_t i = at(begin); i < at(end); ++i) _writer->write(data.positions[i]);
  _producer->flush();
}

void StreamCase::write_poison() {
  for (std::int32_t partition = 0; partition < partitions; ++partition) {
    _producer->send(names.positions, partition,
                    make_message("poison", "\xff\xff\xff", data.positions.front().received));
  }
  _producer->flush();
}

void StreamCase::write_end() {
  _writer->pass(data.positions.back().received + std::chrono::hours(3));
  _producer->flush();
}

Said StreamCase::plain() const {
  Said said;
  for (const StreamMessage& message : plain_process(data, settings)) {
    said[message.key].push_back(said_of(message));
  }
  return said;
}

WorkerOptions StreamCase::options(const std::string& worker) const {
  return stream_options(properties, prefix, until, worker);
}

WorkerOptions StreamCase::quick_options(const std::string& worker) const {
  return stream_quick_options(properties, prefix, until, worker);
}

WorkerOptions stream_options(const kafka::Properties& properties, const std::string& prefix,
                             Instant until, const std::string& worker) {
  WorkerOptions options;
  options.properties = properties;
  options.topics = Topics(prefix);
  options.agency = stream_agency;
  options.group = options.topics.positions + ".group";
  options.transactional_id = options.topics.positions + "." + worker;
  options.window = std::chrono::hours(24);
  options.histories_until = until;
  options.make_network = network_of;
  return options;
}

WorkerOptions stream_quick_options(const kafka::Properties& properties, const std::string& prefix,
                                   Instant until, const std::string& worker) {
  WorkerOptions quick = stream_options(properties, prefix, until, worker);
  quick.properties["session.timeout.ms"] = "6000";
  quick.properties["transaction.timeout.ms"] = "5000";
  quick.transaction = std::chrono::milliseconds(30);
  quick.most_in_transaction = 50;
  return quick;
}

bool StreamCase::wait_until_done() const {
  const kafka::Client client =
      kafka::make_client(RD_KAFKA_CONSUMER, {}, properties, {{"group.id", options("").group}});
  return eventually([&] {
    for (std::int32_t partition = 0; partition < partitions; ++partition) {
      std::int64_t first = 0;
      std::int64_t end = 0;
      rd_kafka_query_watermark_offsets(client.get(), names.positions.c_str(), partition, &first,
                                       &end, 5000);
      const kafka::PartitionList list(rd_kafka_topic_partition_list_new(1));
      rd_kafka_topic_partition_list_add(list.get(), names.positions.c_str(), partition);
      rd_kafka_committed(client.get(), list.get(), 5000);
      if (list->elems[0].offset != end) return false;
    }
    return true;
  });
}

std::uint64_t StreamCase::written() const {
  return _writer->positions() + _writer->watermarks();
}

std::vector<kafka::Received> StreamCase::contents(const std::string& topic) const {
  kafka::LogReader reader(properties, {topic});
  std::vector<kafka::Received> all;
  while (!reader.at_end()) {
    if (auto next = reader.poll(std::chrono::milliseconds(100))) all.push_back(std::move(*next));
  }
  return all;
}

Said StreamCase::said() const {
  Said said;
  for (const kafka::Received& one : contents(names.forecasts)) {
    said[one.message.key].push_back(said_of(one.message));
  }
  return said;
}

void expect_same(const Said& said, const Said& plain) {
  EXPECT_GT(plain.size(), 10U);
  EXPECT_EQ(said.size(), plain.size());
  for (const auto& [key, texts] : plain) {
    const auto found = said.find(key);
    ASSERT_NE(found, said.end()) << key;
    EXPECT_EQ(found->second.size(), texts.size()) << key;
    EXPECT_TRUE(found->second == texts) << key;
  }
}

bool eventually(const std::function<bool()>& condition) {
  for (int patience = 0; patience < 900; ++patience) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return false;
}

WorkerThread::WorkerThread(WorkerOptions options)
    : _worker(std::move(options)), _thread([this](const std::stop_token& asked) {
        try {
          _worker.run(asked);
        } catch (const std::exception& error) {
          _failure = error.what();
        }
      }) {}

WorkerThread::~WorkerThread() {
  stop();
}

void WorkerThread::stop() {
  _thread.request_stop();
  if (_thread.joinable()) _thread.join();
}

}  // namespace qiv::testing
