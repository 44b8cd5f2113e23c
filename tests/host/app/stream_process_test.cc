// `qiv bridge` and `qiv worker` as processes of their own, on the client library's own stand-in for
// a broker.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <thread>

#include "app/stream_bridge.h"
#include "host/app/program.h"
#include "host/app/small_city.h"
#include "host/worker/mock_cluster.h"
#include "serve/sources/http_fetch.h"

namespace qiv {
namespace {

using ::testing::HasSubstr;
using testing::Program;

class StreamProgramsTest : public ::testing::Test {
 protected:
  void configure(const std::string& text) const {
    std::ofstream(small.city / "city.toml") << "name = \"small\"\n" << text;
  }

  void use(const std::string& servers, const std::string& more = "") const {
    configure(
        "[kafka]\ntopics = \"small\"\npartitions = 2\nproperties = { \"bootstrap.servers\" = \"" +
        servers + "\" }\n" + more);
  }

  testing::SmallCity small;
};

class StreamProcessTest : public StreamProgramsTest,
                          public ::testing::WithParamInterface<std::string> {
 protected:
  void expect_usage_error(const std::string& text) const {
    Program program({GetParam(), small.city.string()});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_THAT(program.errors(), HasSubstr(text));
  }
};

TEST_P(StreamProcessTest, TellsItsOptions) {
  Program program({GetParam(), "--help"});
  EXPECT_THAT(program.wait_for("CITY"), HasSubstr(GetParam()));
  EXPECT_EQ(program.wait(), 0);
}

TEST_P(StreamProcessTest, EndsWithTheRemedyWhereTheConfigurationIsWrong) {
  configure("");
  expect_usage_error("[kafka]");
  configure("[kafka]\nproperties = { \"bootstrap.servers\" = \"b:9092\" }\npartitions = 0\n");
  expect_usage_error("'partitions'");
  configure("[kafka]\nproperties = \"b:9092\"\n");
  expect_usage_error("city.toml");
}

TEST_P(StreamProcessTest, APropertyThatTheClientDoesNotKnowIsNamed) {
  configure("[kafka]\nproperties = { \"bootstrap.servers\" = \"b:9092\", \"no.such\" = \"1\" }\n");
  Program program({GetParam(), small.city.string()});
  EXPECT_EQ(program.wait(), 1);
  EXPECT_THAT(program.errors(), HasSubstr("no.such"));
}

TEST_P(StreamProcessTest, WaitsForABrokerAndSaysSoAndEndsWhenItIsAsked) {
  use("127.0.0.1:1", "[log]\nfile = \"log\"\n");
  Program program({GetParam(), small.city.string()});
  std::string told;
  for (int i = 0; i < 600 && told.empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    std::ifstream log(small.city / "log");
    std::getline(log, told);
  }
  EXPECT_THAT(told, HasSubstr("no broker answers at 127.0.0.1:1"));
  EXPECT_EQ(program.end(SIGTERM), 0);
}

INSTANTIATE_TEST_SUITE_P(Of, StreamProcessTest, ::testing::Values("bridge", "worker"),
                         [](const auto& named) { return named.param; });

/// With a source that has nothing yet: both are at work until they are asked to end.
TEST_F(StreamProgramsTest, BothEndCleanlyAtWork) {
  testing::MockCluster cluster;
  std::filesystem::create_directory(small.city / "snapshots");
  use(cluster.properties().at("bootstrap.servers"),
      "[[source]]\nkind = \"folder\"\nfolder = \"snapshots\"\n");
  for (const kafka::TopicPlan& plan :
       topic_plans(need_stream_config(small.city / "city.toml", "small"))) {
    cluster.make_topic(plan.name, plan.partitions);
  }
  Program bridge({"bridge", small.city.string()});
  EXPECT_THAT(bridge.wait_for("written"), HasSubstr("timetable"));
  EXPECT_NE(bridge.wait_for("at work"), "");
  Program worker({"worker", small.city.string(), "--port", "0"});
  FetchRequest request;
  request.url = worker.wait_for_url() + "/ready";
  std::string ready;
  for (int i = 0; i < 600 && ready != "ready\n"; ++i) {
    ready = fetch(request).body;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_EQ(ready, "ready\n");
  EXPECT_EQ(worker.end(SIGTERM), 0);
  EXPECT_EQ(worker.errors(), "");
  EXPECT_EQ(bridge.end(SIGTERM), 0);
  EXPECT_EQ(bridge.errors(), "");
}

}  // namespace
}  // namespace qiv
