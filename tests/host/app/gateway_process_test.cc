// `qiv gateway` as a process of its own, with a worker of its own, on the client library's own
// stand-in for a broker.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <thread>

#include "app/stream_bridge.h"
#include "app/stream_worker.h"
#include "host/app/program.h"
#include "host/app/small_city.h"
#include "host/worker/mock_cluster.h"
#include "serve/http/server.h"
#include "serve/sources/http_fetch.h"
#include "worker/position_writer.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::Program;

const ServiceDate day = *ServiceDate::parse("20250303");

class GatewayProcessTest : public ::testing::Test {
 protected:
  void configure(const std::string& text) const {
    std::ofstream(folder / "city.toml") << "name = \"small\"\n" << text;
  }

  void use(const std::string& servers) const {
    configure("[kafka]\ntopics = \"small\"\nproperties = { \"bootstrap.servers\" = \"" + servers +
              "\" }\n");
  }

  std::vector<std::string> arguments(const std::string& port = "0") const {
    return {"gateway", folder.path().string(), "--port", port, "--recorded"};
  }

  void expect_usage_error(const std::string& text) const {
    Program gateway(arguments());
    EXPECT_EQ(gateway.wait(), 2);
    EXPECT_THAT(gateway.errors(), HasSubstr(text));
  }

  const samples::TemporaryFolder folder;
};

TEST_F(GatewayProcessTest, TellsItsOptions) {
  Program gateway({"gateway", "--help"});
  EXPECT_THAT(gateway.wait_for("--recorded"), HasSubstr("newest forecast"));
  EXPECT_EQ(gateway.wait(), 0);
}

TEST_F(GatewayProcessTest, EndsWithTheRemedyWhereTheConfigurationIsWrong) {
  expect_usage_error("city.toml: there is no such file");
  configure("");
  expect_usage_error("[kafka]");
  configure("[kafka]\nproperties = { \"bootstrap.servers\" = \"b:9092\" }\n[serve]\nport = 0.5\n");
  expect_usage_error("'port'");
}

TEST_F(GatewayProcessTest, APropertyThatTheClientDoesNotKnowIsNamed) {
  configure("[kafka]\nproperties = { \"bootstrap.servers\" = \"b:9092\", \"no.such\" = \"1\" }\n");
  Program gateway(arguments());
  EXPECT_EQ(gateway.wait(), 1);
  EXPECT_THAT(gateway.errors(), HasSubstr("no.such"));
}

TEST_F(GatewayProcessTest, APortThatIsTakenIsNamed) {
  use("127.0.0.1:1");
  ServerOptions options;
  options.port = 0;
  HttpServer other(options, Router());
  Program gateway(arguments(std::to_string(other.port())));
  EXPECT_EQ(gateway.wait(), 1);
  EXPECT_THAT(gateway.errors(), HasSubstr(std::to_string(other.port())));
  other.stop();
}

TEST_F(GatewayProcessTest, WithoutABrokerItSaysWhereItLooksAndIsNotReady) {
  use("127.0.0.1:1");
  Program gateway(arguments());
  FetchRequest ready;
  ready.url = gateway.wait_for_url() + "/readyz";
  for (int i = 0; i < 600 && gateway.errors().empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_THAT(gateway.errors(), HasSubstr("127.0.0.1:1"));
  EXPECT_EQ(fetch(ready).status, 503);
  EXPECT_EQ(gateway.end(SIGTERM), 0);
}

TEST_F(GatewayProcessTest, EndsCleanlyWhileItWaitsForABroker) {
  use("127.0.0.1:1");
  Program gateway(arguments());
  EXPECT_NE(gateway.wait_for_url(), "");
  EXPECT_EQ(gateway.end(SIGTERM), 0);
}

/// A city, the stream's topics, and one vehicle on its way.
class GatewayOnAStreamTest : public ::testing::Test {
 protected:
  GatewayOnAStreamTest() {
    std::ofstream(small.city / "city.toml", std::ios::app)
        << "[kafka]\ntopics = \"small\"\npartitions = 2\nproperties = { \"bootstrap.servers\" = \""
        << cluster.properties().at("bootstrap.servers") << "\" }\n";
    for (const kafka::TopicPlan& plan : topic_plans(config())) {
      cluster.make_topic(plan.name, plan.partitions);
    }
    City city(small.city);
    kafka::Producer producer(config().properties);
    write_reference(city, config(), producer, Instant(day.days()));
    PositionWriter writer(producer, "small.positions", AgencyId("small"), Seconds(10));
    auto reports =
        testing::line_reports("v", "h8", Instant(day.days()) + std::chrono::hours(8), 130);
    for (std::size_t i = 0; i < 6; ++i) writer.write(reports[i]);
    producer.flush();
  }

  StreamConfig config() const { return need_stream_config(small.city / "city.toml", "small"); }

  /// The answer to a path once it holds `text`; the last one if it never does.
  static std::string ask(const std::string& url, const std::string& path, const std::string& text) {
    FetchRequest request;
    request.url = url + path;
    std::string body;
    for (int i = 0; i < 600; ++i) {
      body = fetch(request).body;
      if (body.find(text) != std::string::npos) return body;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return body;
  }

  testing::MockCluster cluster;
  testing::SmallCity small;
};

TEST_F(GatewayOnAStreamTest, AnswersReadersAndEndsCleanly) {
  Program worker({"worker", small.city.string(), "--name", "one"});
  Program gateway({"gateway", small.city.string(), "--port", "0", "--recorded"});
  const std::string url = gateway.wait_for_url();
  ASSERT_NE(url, "") << gateway.errors();
  EXPECT_EQ(ask(url, "/readyz", "ok"), "ok\n");
  EXPECT_THAT(ask(url, "/api/v1/trips?state=under_way", "\"v\""), HasSubstr("\"v\""));
  EXPECT_THAT(ask(url, "/gtfs-rt/trip-updates?format=json", "\"v\""), HasSubstr("\"h8\""));
  EXPECT_THAT(ask(url, "/api/v1/why/h8@20250303", "timetable"), HasSubstr("\"reason\":null"));
  EXPECT_THAT(ask(url, "/api/v1/why/h9@20250303", "no vehicle"),
              HasSubstr("no vehicle is under way on this trip"));
  EXPECT_THAT(ask(url, "/api/v1/sources", "Kafka"), HasSubstr("\"forecasts\""));
  EXPECT_EQ(gateway.end(SIGTERM), 0);
  EXPECT_EQ(gateway.errors(), "");
  EXPECT_EQ(worker.end(SIGTERM), 0);
}

}  // namespace
}  // namespace qiv
