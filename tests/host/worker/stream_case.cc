#include "host/worker/stream_case.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "engine/engine.h"
#include "feed/file_bundle.h"
#include "feed/gtfs.h"
#include "feed/position_source.h"
#include "network/build_network.h"
#include "track/tracker.h"

namespace qiv::testing {
namespace {

const std::string folder = std::string(QIV_DATA_DIR) + "/dart-2025";
const AgencyId agency("dart");
const ServiceDate day = *ServiceDate::parse("20251007");
constexpr Seconds mark_interval{60};

std::vector<VehiclePosition> read_day(const std::string& date) {
  std::vector<VehiclePosition> all;
  read_positions(folder + "/positions-" + date + ".csv.gz",
                 [&](const std::vector<VehiclePosition>& batch) {
                   all.insert(all.end(), batch.begin(), batch.end());
                 });
  return all;
}

std::shared_ptr<const Network> make_network(const std::string& gtfs) {
  return std::make_shared<const Network>(
      build_network(read_gtfs(FileBundle::open_zip(gtfs, "timetable")).timetable));
}

std::string gtfs_bytes() {
  return *FileBundle::open(folder).read("gtfs.zip");
}

std::string said_of(const StreamMessage& message) {
  if (message.value) return *message.value;
  return "left at " + format_utc(message.time) + " " + header_of(message, header::kind);
}

}  // namespace

StreamCase::StreamCase(kafka::Properties given, const std::string& topics, const std::string& begin,
                       const std::string& end)
    : properties(std::move(given)),
      prefix(topics),
      from(begin),
      to(end),
      names(topics),
      network(make_network(gtfs_bytes())) {
  positions = read_day("20251007");
  const Instant first = network->clock().at(day, *parse_time_of_day(from));
  const Instant last = network->clock().at(day, *parse_time_of_day(to));
  std::erase_if(positions, [&](const VehiclePosition& position) {
    return position.received < first || position.received >= last;
  });
  read_histories();
  until = positions.front().received - Seconds(1);
}

void StreamCase::read_histories() {
  for (const char* const date : {"20251001", "20251002", "20251006"}) {
    Tracker tracker(*network);
    std::vector<TrackEvent> events;
    for (const VehiclePosition& position : read_day(date)) {
      tracker.advance(position.received, events);
      tracker.update(position, events);
    }
    for (TrackEvent& event : events) {
      auto* const ended = std::get_if<TripEnded>(&event);
      if (ended == nullptr || ended->run.progress.empty()) continue;
      histories.push_back({agency, std::move(ended->run), ended->received});
    }
  }
}

std::map<std::string, int> StreamCase::topics() const {
  return {{names.positions, partitions},
          {names.finished, 2},
          {names.reference, 1},
          {names.forecasts, 3},
          {names.set_aside, 1}};
}

void StreamCase::write_reference() {
  kafka::Producer producer(properties);
  for (const StreamMessage& message : encode_network(gtfs_bytes(), until, 20'000)) {
    producer.send(names.reference, 0, message);
  }
  producer.send(names.reference, 0, encode_settings(_settings, until));
  for (const FinishedTrip& trip : histories) {
    producer.send(names.finished, finished_group(key_of(trip)), encode_finished(trip));
  }
  producer.flush();
}

void StreamCase::write_positions(double begin, double end) {
  if (_producer == nullptr) {
    _producer = std::make_unique<kafka::Producer>(properties);
    _writer = std::make_unique<PositionWriter>(*_producer, names.positions, agency, mark_interval);
  }
  const auto at = [&](double share) {
    return static_cast<std::size_t>(share * static_cast<double>(positions.size()));
  };
  for (std::size_t i = at(begin); i < at(end); ++i) _writer->write(positions[i]);
  _producer->flush();
}

void StreamCase::write_poison() {
  for (std::int32_t partition = 0; partition < partitions; ++partition) {
    _producer->send(names.positions, partition,
                    make_message("poison", "\xff\xff\xff", positions.front().received));
  }
  _producer->flush();
}

void StreamCase::write_end() {
  _writer->pass(positions.back().received + std::chrono::hours(3));
  _producer->flush();
}

Said StreamCase::plain() const {
  Engine engine(*network, _settings, [&] {
    auto book = std::make_shared<HistoryBook>();
    for (const FinishedTrip& trip : histories) book->take(trip);
    return HistorySource(
        [book, source = book->source(*network)](PatternIndex pattern, const Grid& grid) {
          return source(pattern, grid);
        });
  }());
  Tracker tracker(*network);
  std::vector<TrackEvent> events;
  Said said;
  std::map<VehicleId, Instant> assigned;
  const auto say = [&](const VehicleId& vehicle, Instant now) {
    auto forecast = engine.shard(engine.shard_of(vehicle)).forecast(vehicle, now);
    if (!forecast) return;
    const StreamMessage message =
        encode_forecast({agency, *forecast, assigned[vehicle], false}, *network);
    said[message.key].push_back(said_of(message));
  };
  const auto handle = [&](const VehiclePosition* position) {
    bool told = false;
    const bool any = !events.empty();
    for (const TrackEvent& event : events) {
      engine.apply(event);
      if (const auto* const began = std::get_if<TripAssigned>(&event)) {
        assigned[began->vehicle] = began->received;
      } else if (const auto* const progress = std::get_if<Progress>(&event)) {
        say(progress->vehicle, progress->received);
        told = true;
      } else if (const auto* const ended = std::get_if<TripEnded>(&event)) {
        const StreamMessage message = encode_left({{agency, ended->run.trip, ended->run.vehicle},
                                                   ended->received,
                                                   ended->reason == TripEnded::Reason::finished});
        said[message.key].push_back(said_of(message));
      }
    }
    events.clear();
    if (position != nullptr && any && !told) say(position->vehicle, position->received);
  };
  for (const VehiclePosition& position : positions) {
    tracker.advance(position.received, events);
    handle(nullptr);
    tracker.update(position, events);
    handle(&position);
  }
  tracker.advance(positions.back().received + std::chrono::hours(3), events);
  handle(nullptr);
  return said;
}

WorkerOptions StreamCase::options(const std::string& worker) const {
  WorkerOptions options;
  options.properties = properties;
  options.topics = names;
  options.agency = agency;
  options.group = names.positions + ".group";
  options.transactional_id = names.positions + "." + worker;
  options.window = std::chrono::hours(24);
  options.histories_until = until;
  options.make_network = make_network;
  return options;
}

WorkerOptions StreamCase::quick_options(const std::string& worker) const {
  WorkerOptions quick = options(worker);
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
