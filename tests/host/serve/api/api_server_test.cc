#include "serve/api/api_server.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "gtfs-realtime.pb.h"
#include "host/serve/api/api_fixture.h"

namespace qiv {
namespace {

using testing::RawConnection;
using testing::sample_snapshot;

using ApiServerTest = testing::ApiTest;

Snapshot snapshot_of(std::uint64_t serial) {
  Snapshot snapshot = sample_snapshot();
  snapshot.serial = serial;
  snapshot.now += Seconds(serial);
  snapshot.vehicles[0].last_report += Seconds(serial);
  snapshot.trips[1].made += Seconds(serial);
  return snapshot;
}

TEST_F(ApiServerTest, IsNotReadyBeforeTheFirstSnapshot) {
  _server = std::make_unique<ApiServer>(sample_options());
  EXPECT_EQ(error("/readyz"), "503 not_ready");
  EXPECT_EQ(error("/api/v1/status"), "503 not_ready");
  EXPECT_EQ(error("/metrics"), "503 not_ready");
  EXPECT_EQ(get("/healthz").status, 200);
  EXPECT_EQ(get("/").status, 200);
}

TEST_F(ApiServerTest, WithoutAnAnswerThereIsNoWhy) {
  ApiOptions options = sample_options();
  options.why = nullptr;
  start(std::move(options));
  EXPECT_EQ(error("/api/v1/why/out@20250303"), "404 not_found");
}

TEST_F(ApiServerTest, ASnapshotReplacesTheOneBefore) {
  start();
  const auto before = get("/api/v1/trips/out@20250303");
  show(snapshot_of(2));
  const auto after = get("/api/v1/trips/out@20250303");
  EXPECT_NE(before.headers.at("etag"), after.headers.at("etag"));
  EXPECT_EQ(nlohmann::json::parse(after.body)["now"], unix_seconds(sample_snapshot().now) + 2);
}

TEST_F(ApiServerTest, EveryReaderSeesWholeSnapshotsInOrder) {
  start();
  std::atomic<bool> done{false};
  std::atomic<int> faults{0};
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&, port = _server->port()] {
      RawConnection connection(port);
      std::uint64_t last = 0;
      while (!done) {
        connection.send("GET /gtfs-rt/trip-updates HTTP/1.1\r\nHost: x\r\n\r\n");
        transit_realtime::FeedMessage message;
        const bool whole = message.ParseFromString(connection.read_response().body);
        if (!whole || message.entity_size() != 2 || message.header().timestamp() < last) ++faults;
        last = message.header().timestamp();
        connection.send(
            "GET /api/v1/vehicles HTTP/1.1\r\nHost: x\r\nAccept-Encoding: gzip\r\n\r\n");
        if (connection.read_response().status != 200) ++faults;
      }
    });
  }
  RawConnection events(_server->port());
  events.send("GET /events?vehicles=all&stop=C HTTP/1.1\r\nHost: x\r\n\r\n");
  for (std::uint64_t serial = 2; serial <= 60; ++serial) show(snapshot_of(serial));
  events.read_response(false);
  std::string told;
  do {
    told = events.read_event();
  } while (!told.empty() && told.find("id: 60\n") == std::string::npos);
  EXPECT_NE(told, "") << "the last one is told, whatever was passed over";
  done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(faults, 0);
}

TEST_F(ApiServerTest, EndsWithReadersThere) {
  start();
  RawConnection events(_server->port());
  events.send("GET /events?vehicles=all HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(events.read_response(false).status, 200);
  EXPECT_NE(events.read_event(), "");
  _server.reset();
  EXPECT_TRUE(events.is_closed());
}

}  // namespace
}  // namespace qiv
