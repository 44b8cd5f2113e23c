// What only a broker shows: transactions, groups that keep their offsets, and what changes while
// workers are at work. Every message counts here: readers must see the forecasts of each accepted
// report once, in order.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "feed/file_bundle.h"
#include "host/worker/broker_case.h"
#include "simulate/gtfs_files.h"
#include "worker/kafka/error.h"
#include "worker/kafka/topic_admin.h"
#include "worker/reference_codec.h"

namespace qiv {
namespace {

using std::chrono::milliseconds;
using testing::Broker;
using testing::BrokerTest;
using testing::WorkerThread;

/// A trip that is forecast five minutes before and after a moment.
TripOfVehicle under_way_at(const testing::StreamCase& stream, Instant moment) {
  constexpr Seconds margin{300};
  for (const auto& [key, span] : testing::spans_of(stream)) {
    const auto trip = parse_forecast_key(key);
    if (trip && span.first < moment - margin && span.second > moment + margin) return *trip;
  }
  throw std::runtime_error("no trip is under way");
}

/// A timetable of the same trips but one; with a file more it is another version.
std::string timetable_without(const std::string& gtfs, const TripId& gone) {
  const FileBundle zip = FileBundle::open_zip(gtfs, "timetable");
  std::map<std::string, std::string> files;
  for (const std::string& name : zip.entries()) {
    std::istringstream lines(*zip.read(name));
    std::string& kept = files[name];
    for (std::string line; std::getline(lines, line);) {
      const bool names_it = ("," + line + ",").find("," + gone.text() + ",") != std::string::npos;
      if (names_it && (name == "trips.txt" || name == "stop_times.txt")) continue;
      kept += line + "\n";
    }
  }
  return zip_of(files);
}

TEST_F(BrokerTest, TopicsAreMadeOnceAndAMissingOneIsNamed) {
  const kafka::Properties properties = Broker::get()->properties();
  const kafka::TopicPlan plan{"once", 3, {{"cleanup.policy", "compact"}}};
  kafka::make_topics(properties, {plan});
  kafka::make_topics(properties, {plan});
  kafka::Producer producer(properties);
  EXPECT_EQ(producer.partitions_of("once"), 3);
  try {
    kafka::partitions_of(producer.client(), "never", milliseconds(500));
    FAIL();
  } catch (const kafka::Error& error) {
    EXPECT_STREQ(error.what(),
                 "topic never: _UNKNOWN_TOPIC: there is no such topic: start the bridge, which "
                 "makes it");
  }
  EXPECT_THROW(kafka::make_topics(properties, {{"bad", 1, {{"cleanup.policy", "burn"}}}}),
               kafka::Error);
}

TEST_F(BrokerTest, ATransactionIsSeenWholeOrNotAtAll) {
  const kafka::Properties properties = Broker::get()->properties();
  kafka::make_topics(properties, {{"in", 1, {{"retention.ms", "-1"}}}, {"out", 1, {}}});
  const auto at = [](int i) { return from_unix_seconds(1'759'811'582 + i); };
  kafka::Producer plain(properties);
  for (int i = 0; i < 5; ++i) plain.send("in", 0, make_message("k", std::to_string(i), at(i)));
  plain.flush();
  kafka::Commits found;
  const auto member = [&] {
    auto consumer = std::make_unique<std::unique_ptr<kafka::GroupConsumer>>();
    kafka::GroupConsumer::Callbacks callbacks{
        [&found, raw = consumer.get()](const std::vector<std::int32_t>& partitions) {
          found = (*raw)->committed(partitions);
          return std::map<std::int32_t, std::int64_t>();
        },
        [](const std::vector<std::int32_t>&, bool) {}};
    *consumer = std::make_unique<kafka::GroupConsumer>(properties, "group", "in", callbacks);
    EXPECT_TRUE(
        testing::eventually([&] { return (*consumer)->poll(milliseconds(100)).has_value(); }));
    return consumer;
  };
  {
    const auto consumer = member();
    EXPECT_TRUE(found.empty());
    kafka::Producer producer(properties, "tx");
    producer.begin();
    producer.send("out", 0, make_message("k", "given up", at(0)));
    producer.flush();
    producer.abort();
    producer.begin();
    producer.send("out", 0, make_message("k", "kept", at(0)));
    producer.commit("in", {{0, {3, "12345"}}}, (*consumer)->group_metadata().get());
  }
  kafka::LogReader reader(properties, {"out"});
  std::vector<std::string> seen;
  while (!reader.at_end()) {
    if (const auto next = reader.poll(milliseconds(100))) seen.push_back(*next->message.value);
  }
  EXPECT_THAT(seen, ::testing::ElementsAre("kept"));
  const auto consumer = member();
  EXPECT_EQ(found[0].next, 3);
  EXPECT_EQ(found[0].note, "12345");
  EXPECT_EQ((*consumer)->offset_at(0, at(2)), 2);
  EXPECT_EQ((*consumer)->offset_at(0, at(5)), std::nullopt);
}

class WorkersOnBrokerTest : public BrokerTest, public ::testing::WithParamInterface<int> {};

TEST_P(WorkersOnBrokerTest, SayTheSameOfADayAsOneProcessByteForByte) {
  begin("03:00:00", "27:00:00");
  std::vector<std::unique_ptr<WorkerThread>> workers;
  for (int i = 0; i < GetParam(); ++i) {
    workers.push_back(std::make_unique<WorkerThread>(stream->options(std::to_string(i))));
  }
  stream->write_positions();
  stream->write_end();
  ASSERT_TRUE(stream->wait_until_done());
  for (const auto& worker : workers) {
    worker->stop();
    EXPECT_EQ(worker->failure(), "");
  }
  expect_exact();
}

TEST_P(WorkersOnBrokerTest, SayTheSameOfASimulatedFleetAsOneProcessByteForByte) {
  begin(testing::simulated(5));
  std::vector<std::unique_ptr<WorkerThread>> workers;
  for (int i = 0; i < GetParam(); ++i) {
    workers.push_back(std::make_unique<WorkerThread>(stream->options(std::to_string(i))));
  }
  stream->write_positions();
  stream->write_end();
  expect_exact();
}

INSTANTIATE_TEST_SUITE_P(Number, WorkersOnBrokerTest, ::testing::Values(1, 2, 4));

TEST_F(BrokerTest, AWorkerThatComesInTheMiddleOfTripsGoesOnAsItsPredecessor) {
  begin("07:00:00", "10:00:00");
  {
    WorkerThread first(stream->options("first"));
    stream->write_positions(0.0, 0.5);
    ASSERT_TRUE(stream->wait_until_done());
  }
  WorkerThread second(stream->options("second"));
  stream->write_positions(0.5, 1.0);
  stream->write_end();
  expect_exact();
  second.stop();
  EXPECT_EQ(second.failure(), "");
  EXPECT_GT(second.worker().counts().replayed, 500U);
  EXPECT_EQ(second.worker().counts().recoveries, 4U);
}

TEST_F(BrokerTest, PartitionsChangeHandsInTheMiddleOfTrips) {
  begin("07:00:00", "10:00:00");
  WorkerThread first(stream->options("first"));
  stream->write_positions(0.0, 0.3);
  ASSERT_TRUE(stream->wait_until_done());
  auto second = std::make_unique<WorkerThread>(stream->options("second"));
  EXPECT_TRUE(
      testing::eventually([&] { return second->worker().counts().partitions.size() == 2; }));
  stream->write_positions(0.3, 0.6);
  ASSERT_TRUE(stream->wait_until_done());
  second.reset();
  stream->write_positions(0.6, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_EQ(first.failure(), "");
}

TEST_F(BrokerTest, APoisonedMessageBlocksNothing) {
  begin("07:00:00", "08:00:00");
  WorkerThread worker(stream->options("w"));
  stream->write_positions(0.0, 0.5);
  stream->write_poison();
  stream->write_positions(0.5, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_EQ(stream->contents(stream->names.set_aside).size(), 4U);
}

/// Settings of one version and then of another, then another timetable, while positions flow and
/// two workers are at work; and one worker after the other is replaced.
TEST_F(BrokerTest, ARollingUpgradeLosesNothingAndDoublesNothing) {
  begin("07:00:00", "10:00:00");
  const testing::Said plain = stream->plain();
  const auto moment = stream->data.positions[stream->data.positions.size() * 6 / 10].received;
  const TripOfVehicle gone = under_way_at(*stream, moment);
  auto first = std::make_unique<WorkerThread>(stream->options("first"));
  auto second = std::make_unique<WorkerThread>(stream->options("second"));
  kafka::Producer producer(stream->properties);
  const auto new_settings = [&](int turnaround_s) {
    LearnedSettings settings;
    settings.turnaround = Seconds(turnaround_s);  // which no vehicle under way depends on
    producer.send(stream->names.reference, 0, encode_settings(settings, stream->until));
    producer.flush();
  };
  stream->write_positions(0.0, 0.2);
  new_settings(1);
  stream->write_positions(0.2, 0.3);
  first = std::make_unique<WorkerThread>(stream->options("first of the next version"));
  stream->write_positions(0.3, 0.4);
  second = std::make_unique<WorkerThread>(stream->options("second of the next version"));
  new_settings(2);
  stream->write_positions(0.4, 0.6);
  ASSERT_TRUE(stream->wait_until_done());
  // A partition that is on its way from one to the other has no trips to be left.
  const auto are_shared = [&] {
    const std::size_t of_first = first->worker().counts().partitions.size();
    const std::size_t of_second = second->worker().counts().partitions.size();
    return of_first > 0 && of_second > 0 && of_first + of_second == testing::StreamCase::partitions;
  };
  ASSERT_TRUE(testing::eventually(are_shared));
  const std::string gtfs = timetable_without(stream->data.gtfs, gone.trip.trip);
  for (const StreamMessage& message : encode_network(gtfs, stream->until, 20'000)) {
    producer.send(stream->names.reference, 0, message);
  }
  producer.flush();
  const auto uses_it = [&](WorkerThread& worker) {
    const WorkerCounts counts = worker.worker().counts();
    return counts.network_version == network_version(gtfs) && counts.on_former_basis == 0;
  };
  ASSERT_TRUE(testing::eventually([&] { return uses_it(*first) && uses_it(*second); }));
  stream->write_positions(0.6, 1.0);
  stream->write_end();
  ASSERT_TRUE(stream->wait_until_done());
  EXPECT_EQ(first->failure() + second->failure(), "");
  testing::Said said = stream->said();
  const std::vector<std::string> of_gone = said.at(forecast_key(gone));
  EXPECT_LT(of_gone.size(), plain.at(forecast_key(gone)).size());
  EXPECT_THAT(of_gone.back(), ::testing::HasSubstr("left at"));
  // Nothing else is different, but for what the histories have of the trip that is gone.
  const Network& network = *stream->data.network;
  const auto pattern = network.find_trip(gone.trip.trip)->pattern;
  testing::Said rest = plain;
  const auto may_differ = [&](const auto& entry) {
    const auto trip = parse_forecast_key(entry.first);
    if (!trip) return entry.first == position_key(gone.agency, gone.vehicle);
    return trip->vehicle == gone.vehicle || network.find_trip(trip->trip.trip)->pattern == pattern;
  };
  std::erase_if(said, may_differ);
  std::erase_if(rest, may_differ);
  testing::expect_same(said, rest);
}

TEST_F(BrokerTest, NewSettingsAreTakenUpInTheMiddleOfTrips) {
  begin("07:00:00", "09:00:00");
  WorkerThread worker(stream->options("w"));
  stream->write_positions(0.0, 0.5);
  ASSERT_TRUE(stream->wait_until_done());
  {
    kafka::Producer producer(stream->properties);
    LearnedSettings settings;
    settings.turnaround = Seconds(1);  // which no vehicle under way depends on
    producer.send(stream->names.reference, 0, encode_settings(settings, stream->until));
    producer.flush();
  }
  EXPECT_TRUE(testing::eventually([&] { return worker.worker().counts().recoveries == 8; }));
  stream->write_positions(0.5, 1.0);
  stream->write_end();
  expect_exact();
  EXPECT_EQ(worker.failure(), "");
}

}  // namespace
}  // namespace qiv
