#include "serve/sources/polled_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/serve/sources/realtime_message.h"
#include "host/serve/sources/scripted_server.h"
#include "host/serve/sources/source_run.h"
#include "serve/sources/pause.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::HasSubstr;
using testing::message_with;
using testing::ScriptedServer;
using testing::SourceRun;
using namespace std::chrono_literals;

constexpr const char* siri =
    "<Siri xmlns='http://www.siri.org.uk/siri'><ServiceDelivery>"
    "<ResponseTimestamp>2025-03-03T08:00:00Z</ResponseTimestamp><VehicleMonitoringDelivery>"
    "<VehicleActivity><RecordedAtTime>2025-03-03T07:59:50Z</RecordedAtTime>"
    "<MonitoredVehicleJourney><VehicleRef>A_7</VehicleRef><VehicleLocation>"
    "<Longitude>0.001</Longitude><Latitude>0.0</Latitude></VehicleLocation>"
    "</MonitoredVehicleJourney></VehicleActivity></VehicleMonitoringDelivery>"
    "</ServiceDelivery></Siri>";

PolledSourceOptions options_for(const ScriptedServer& server) {
  PolledSourceOptions options;
  options.name = "positions";
  options.request.url = server.url();
  options.request.timeout = 2s;
  options.interval = 5ms;
  options.longest_wait = 20ms;
  return options;
}

Instant now() {
  return at("08:00:05");
}

TEST(PolledSourceTest, HandsOverEachNewAnswerOnce) {
  std::atomic<int> asked = 0;
  ScriptedServer server([&](const std::string&, const auto& send) {
    const int n = asked++;
    const Instant header = at("08:00:00") + Seconds(n / 3);
    send(ScriptedServer::answer(message_with("v", header)));
  });
  PolledSource source(options_for(server), now);
  {
    const SourceRun run(source);
    ASSERT_TRUE(run.has(3));
    EXPECT_EQ(run.taken()[0].vehicle, VehicleId("v"));
    EXPECT_EQ(run.taken()[0].received, now());
    EXPECT_EQ(run.taken()[1].time - run.taken()[0].time, Seconds(1));
  }
  const SourceView view = source.view(now());
  EXPECT_EQ(view.health, SourceHealth::good);
  EXPECT_GE(view.duplicates, 4U);
  EXPECT_EQ(view.failures, 0U);
}

TEST(PolledSourceTest, AsksForChangesOnly) {
  ScriptedServer server([&](const std::string& request, const auto& send) {
    if (request.find("If-None-Match: \"one\"") != std::string::npos) {
      send("HTTP/1.1 304 Not Modified\r\nConnection: close\r\n\r\n");
    } else {
      send(ScriptedServer::answer(message_with("v", at("08:00:00")), "ETag: \"one\"\r\n"));
    }
  });
  PolledSource source(options_for(server), now);
  const SourceRun run(source);
  EXPECT_TRUE(SourceRun::until([&] { return source.view(now()).not_modified >= 2; }));
  EXPECT_EQ(run.taken().size(), 1U);
}

TEST(PolledSourceTest, ReadsSiri) {
  ScriptedServer server(
      [&](const std::string&, const auto& send) { send(ScriptedServer::answer(siri)); });
  PolledSourceOptions options = options_for(server);
  options.format = PositionFormat::siri_vm;
  options.strip_prefixes = {"A_"};
  PolledSource source(options, now);
  const SourceRun run(source);
  ASSERT_TRUE(run.has(1));
  EXPECT_EQ(run.taken()[0].vehicle, VehicleId("7"));
  EXPECT_THAT(source.view(now()).kind, HasSubstr("SIRI-VM from http://127.0.0.1"));
}

/// Whatever goes wrong, the next good answer is taken.
class PolledSourceFault : public ::testing::TestWithParam<std::string> {};

TEST_P(PolledSourceFault, IsShownAndSurvived) {
  std::atomic<bool> faulty = true;
  ScriptedServer server([&](const std::string&, const auto& send) {
    send(faulty ? GetParam() : ScriptedServer::answer(message_with("v", at("08:00:00"))));
  });
  PolledSourceOptions options = options_for(server);
  options.request.most_bytes = 100'000;
  PolledSource source(options, now);
  const SourceRun run(source);
  ASSERT_TRUE(SourceRun::until([&] { return source.view(now()).failures >= 2; }));
  EXPECT_EQ(source.view(now()).health, SourceHealth::failing);
  EXPECT_NE(source.view(now()).detail, "");
  EXPECT_TRUE(run.taken().empty());
  faulty = false;
  EXPECT_TRUE(run.has(1));
  EXPECT_EQ(source.view(now()).health, SourceHealth::good);
}

INSTANTIATE_TEST_SUITE_P(
    All, PolledSourceFault,
    ::testing::Values("", ScriptedServer::answer("down", "", "500 Internal Server Error"),
                      ScriptedServer::answer(message_with("v", at("08:00:00")).substr(0, 20)),
                      ScriptedServer::answer("<html>wrong content</html>"),
                      ScriptedServer::answer(""), ScriptedServer::answer(std::string(200'000, 'x')),
                      "HTTP/1.1 200 OK\r\nContent-Length: 999\r\n\r\ntruncated"));

TEST(BackOffTest, WaitsTwiceAsLongAfterEachFailureUpToALimit) {
  BackOff back_off(100ms, 1000ms, 7);
  for (const auto expected : {100ms, 200ms, 400ms, 800ms, 1000ms, 1000ms}) {
    const auto wait = back_off.failed();
    EXPECT_GE(wait, expected * 8 / 10);
    EXPECT_LE(wait, expected * 12 / 10);
  }
  back_off.succeeded();
  EXPECT_LE(back_off.failed(), 120ms);
}

TEST(PolledSourceTest, TellsWhatTheAgencySaysAndThatItStillDoes) {
  transit_realtime::FeedMessage message;
  ASSERT_TRUE(message.ParseFromString(message_with("v", at("08:00:00"))));
  message.mutable_entity(0)->clear_vehicle();
  message.mutable_entity(0)->mutable_trip_update()->mutable_trip()->set_trip_id("out");
  const std::string body = message.SerializeAsString();
  ScriptedServer server([&](const std::string& request, const auto& send) {
    if (request.find("If-None-Match: \"one\"") != std::string::npos) {
      send("HTTP/1.1 304 Not Modified\r\nConnection: close\r\n\r\n");
    } else {
      send(ScriptedServer::answer(body, "ETag: \"one\"\r\n"));
    }
  });
  PolledSourceOptions options = options_for(server);
  options.content = FeedContent::trip_updates;
  std::mutex mutex;
  std::vector<AgencyReport> told;
  PolledSource source(options, now, [&](AgencyReport report) {
    const std::lock_guard lock(mutex);
    told.push_back(std::move(report));
  });
  const SourceRun run(source);
  EXPECT_TRUE(SourceRun::until([&] {
    const std::lock_guard lock(mutex);
    return told.size() >= 3;
  }));
  EXPECT_THAT(source.view(now()).kind, HasSubstr("trip updates by GTFS-realtime from http://"));
  const std::lock_guard lock(mutex);
  EXPECT_EQ(told[0].content->updates.at(0).trip, TripId("out"));
  EXPECT_EQ(told[2].content, told[0].content);
}

}  // namespace
}  // namespace qiv
