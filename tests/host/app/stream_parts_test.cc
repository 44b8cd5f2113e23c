// Bridge, worker and gateway as they are composed, on the client library's own stand-in for a
// broker.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "app/exit_code.h"
#include "app/stream_bridge.h"
#include "app/stream_gateway.h"
#include "app/stream_histories.h"
#include "app/stream_worker.h"
#include "host/app/small_city.h"
#include "host/worker/mock_cluster.h"
#include "worker/position_writer.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;

const ServiceDate day = *ServiceDate::parse("20250303");

TEST(StreamWorkerTest, MetricsTellLagAndRecovery) {
  WorkerCounts counts;
  counts.positions = 12;
  counts.recoveries = 2;
  counts.last_recovery_s = 1.5;
  counts.ready = true;
  counts.histories = 30;
  counts.network_version = "abc";
  counts.on_former_basis = 2;
  counts.partitions[3] = {7, from_unix_seconds(1000), 4, true};
  const std::string text = worker_metrics_text(counts, from_unix_seconds(1060));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_messages_total 12\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_recoveries_total 2\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_last_recovery_seconds 1.5\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_history_trips 30\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_network{version=\"abc\"} 1\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_partitions_on_former_version 2\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_lag_messages{partition=\"3\"} 7\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_lag_seconds{partition=\"3\"} 60\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_vehicles{partition=\"3\"} 4\n"));
  EXPECT_THAT(text, HasSubstr("\nqiv_worker_recovering{partition=\"3\"} 1\n"));
}

TEST(StreamWorkerTest, AFolderWithoutConfigurationIsNoCity) {
  const samples::TemporaryFolder folder;
  EXPECT_THROW(StreamCity(folder / "none"), CommandError);
}

TEST(StreamBridgeTest, PlansTheTopics) {
  StreamConfig config;
  config.topics = "t";
  config.partitions = 7;
  config.keep_forecasts = Seconds(0);
  const auto plans = topic_plans(config);
  ASSERT_EQ(plans.size(), 5U);
  EXPECT_EQ(plans[0].name, "t.positions");
  EXPECT_EQ(plans[0].partitions, 7);
  EXPECT_EQ(plans[0].config.at("retention.ms"), "86400000");
  EXPECT_EQ(plans[3].name, "t.forecasts");
  EXPECT_EQ(plans[3].config.at("retention.ms"), "-1");
  EXPECT_EQ(plans[3].config.at("min.compaction.lag.ms"), "21600000") << "whole trips are kept";
  EXPECT_EQ(plans[2].name, "t.reference");
  EXPECT_EQ(plans[2].partitions, 1);
  EXPECT_EQ(plans[2].config.at("cleanup.policy"), "compact");
}

/// A small city with a day in its archive, and its stream.
class StreamPartsTest : public ::testing::Test {
 protected:
  StreamPartsTest() : small(), city_folder(small.city) {
    std::ofstream(city_folder / "city.toml", std::ios::app)
        << "[kafka]\ntopics = \"small\"\npartitions = 2\nproperties = { \"bootstrap.servers\" = \""
        << cluster.properties().at("bootstrap.servers") << "\" }\n";
    for (const kafka::TopicPlan& plan : topic_plans(config())) {
      cluster.make_topic(plan.name, plan.partitions);
    }
  }

  StreamConfig config() const { return need_stream_config(city_folder / "city.toml", "small"); }

  testing::MockCluster cluster;
  testing::SmallCity small;
  std::filesystem::path city_folder;
};

TEST_F(StreamPartsTest, TimetableAndSettingsAreWrittenOnce) {
  City city(city_folder);
  kafka::Producer producer(config().properties);
  EXPECT_THAT(write_reference(city, config(), producer, Instant(day.days())),
              ::testing::MatchesRegex("timetable [0-9]+-[0-9]+ and settings"));
  EXPECT_EQ(write_reference(city, config(), producer, Instant(day.days())), "");
}

TEST_F(StreamPartsTest, HistoriesAreTheTripsOfTheRecordedDaysThatTheStreamDoesNotHave) {
  small.record_day(day - std::chrono::days(1), 120);
  small.record_day(day, 130);
  City city(city_folder);
  kafka::Producer producer(config().properties);
  const auto write = [&](ServiceDate last) {
    return write_histories(city, config(), producer, last,
                           Instant(last.days()) + std::chrono::hours(27));
  };
  EXPECT_EQ(write(day - std::chrono::days(1)), 18U);
  EXPECT_EQ(write(day), 18U);
  EXPECT_EQ(write(day), 0U);
}

TEST_F(StreamPartsTest, APositionComesOutAsAForecast) {
  City city(city_folder);
  kafka::Producer producer(config().properties);
  write_reference(city, config(), producer, Instant(day.days()));
  const StreamCity stream(city_folder);
  Worker worker(worker_options(stream, "w"));
  const std::jthread work([&](const std::stop_token& stop) { worker.run(stop); });

  const Instant start = Instant(day.days()) + std::chrono::hours(8);
  auto reports = testing::line_reports("v", "h8", start, 130);
  reports.resize(6);
  PositionWriter writer(producer, stream.topics.positions, AgencyId("small"), Seconds(10));
  for (const VehiclePosition& report : reports) writer.write(report);
  producer.flush();

  StreamGateway gateway(stream, true);
  EXPECT_EQ(gateway.show(start), nullptr);
  std::shared_ptr<Snapshot> snapshot;
  const auto shown = [&]() -> const TripForecast* {
    if (snapshot == nullptr) return nullptr;
    for (const TripForecast& trip : snapshot->trips) {
      if (trip.vehicle == VehicleId("v") && trip.made == reports.back().received) return &trip;
    }
    return nullptr;
  };
  for (int patience = 0; patience < 300 && shown() == nullptr; ++patience) {
    gateway.take(std::chrono::milliseconds(100));
    snapshot = gateway.show(reports.back().received);
  }
  const TripForecast* const trip = shown();
  ASSERT_NE(trip, nullptr);
  EXPECT_EQ(trip->vehicle, VehicleId("v"));
  EXPECT_EQ(trip->state, TripState::under_way);
  EXPECT_TRUE(snapshot->ready);
  const auto next = std::ranges::find(snapshot->trips, TripId("h9"),
                                      [](const TripForecast& f) { return f.trip.trip; });
  ASSERT_NE(next, snapshot->trips.end());
  EXPECT_EQ(next->state, TripState::not_begun);
  ASSERT_EQ(snapshot->vehicles.size(), 1U);
  EXPECT_EQ(snapshot->vehicles[0].status, VehicleStatus::under_way);
  EXPECT_EQ(snapshot->vehicles[0].trip, trip->trip);
  EXPECT_TRUE(snapshot->vehicles[0].lateness);
  EXPECT_EQ(snapshot->sources[0].health, SourceHealth::good);
}

}  // namespace
}  // namespace qiv
