#include "serve/sources/mqtt_source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mosquitto.h>
#include <signal.h>
#include <sys/wait.h>

#include <fstream>

#include "host/history/temporary_folder.h"
#include "host/serve/sources/realtime_message.h"
#include "host/serve/sources/scripted_server.h"
#include "host/serve/sources/source_run.h"

namespace qiv {
namespace {

using testing::at;
using testing::message_with;
using testing::SourceRun;
using namespace std::chrono_literals;

/// A broker of the test's own, on a free port of loopback.
class Broker {
 public:
  Broker() : _port(free_port()) { start(); }
  ~Broker() { stop(); }

  void start() {
    std::ofstream(_folder / "broker.conf")
        << "listener " << _port << " 127.0.0.1\nallow_anonymous true\nlog_type none\n";
    const std::string file = (_folder / "broker.conf").string();
    _process = fork();
    if (_process == 0) {
      execlp("mosquitto", "mosquitto", "-c", file.c_str(), nullptr);
      execl("/usr/sbin/mosquitto", "mosquitto", "-c", file.c_str(), nullptr);
      _exit(127);
    }
  }
  void stop() {
    kill(_process, SIGKILL);
    waitpid(_process, nullptr, 0);
  }

  int port() const { return _port; }

  /// Publishes once the broker answers.
  bool publish(const std::string& topic, const std::string& payload) const {
    const std::unique_ptr<mosquitto, decltype(&mosquitto_destroy)> client(
        mosquitto_new(nullptr, true, nullptr), &mosquitto_destroy);
    if (!SourceRun::until([&] {
          return mosquitto_connect(client.get(), "127.0.0.1", _port, 10) == MOSQ_ERR_SUCCESS;
        })) {
      return false;
    }
    int id = 0;
    mosquitto_publish(client.get(), &id, topic.c_str(), static_cast<int>(payload.size()),
                      payload.data(), 1, true);
    for (int i = 0; i < 100 && mosquitto_want_write(client.get()); ++i) {
      mosquitto_loop(client.get(), 10, 1);
    }
    for (int i = 0; i < 20; ++i) mosquitto_loop(client.get(), 5, 1);
    mosquitto_disconnect(client.get());
    return true;
  }

 private:
  static int free_port() {
    const testing::ScriptedServer server([](const std::string&, const auto&) {});
    const std::string url = server.url("");
    return std::stoi(url.substr(url.rfind(':') + 1));
  }

  samples::TemporaryFolder _folder;
  int _port;
  pid_t _process = 0;
};

class MqttSourceTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { mosquitto_lib_init(); }

  MqttSourceOptions options() const {
    MqttSourceOptions options;
    options.name = "broker";
    options.host = "127.0.0.1";
    options.port = broker.port();
    options.topics = {"positions/#"};
    options.first_wait = 10ms;
    options.longest_wait = 50ms;
    return options;
  }
  static Instant now() { return at("08:00:05"); }

  Broker broker;
};

TEST_F(MqttSourceTest, TakesGtfsRealtime) {
  MqttSource source(options(), now);
  const SourceRun run(source);
  ASSERT_TRUE(broker.publish("positions/1", message_with("v", at("08:00:00"))));
  ASSERT_TRUE(broker.publish("elsewhere", message_with("w", at("08:00:00"))));
  ASSERT_TRUE(broker.publish("positions/2", message_with("u", at("07:59:00"))));
  ASSERT_TRUE(run.has(2));
  for (const VehiclePosition& position : run.taken()) {
    EXPECT_NE(position.vehicle, VehicleId("w"));
    EXPECT_EQ(position.received, now());
  }
  EXPECT_EQ(source.view(now()).health, SourceHealth::good);
}

TEST_F(MqttSourceTest, TakesJsonByItsMapping) {
  MqttSourceOptions json = options();
  json.json = JsonFields{{{"vehicle", "/v"}, {"lat", "/y"}, {"lon", "/x"}}, ""};
  MqttSource source(json, now);
  const SourceRun run(source);
  ASSERT_TRUE(broker.publish("positions/1", "no json"));
  ASSERT_TRUE(broker.publish("positions/2", R"({"v": "v1", "y": 0.0, "x": 0.001})"));
  ASSERT_TRUE(run.has(1));
  EXPECT_EQ(run.taken().front().vehicle, VehicleId("v1"));
  EXPECT_TRUE(SourceRun::until(
      [&] { return source.view(now()).rejections.count("message is no JSON") >= 1; }));
}

TEST_F(MqttSourceTest, TakesALostConnectionUpAgain) {
  MqttSource source(options(), now);
  const SourceRun run(source);
  ASSERT_TRUE(broker.publish("positions/1", message_with("before", at("08:00:00"))));
  ASSERT_TRUE(run.has(1));
  const std::uint64_t failures = source.view(now()).failures;
  broker.stop();
  ASSERT_TRUE(SourceRun::until([&] { return source.view(now()).failures > failures; }));
  EXPECT_EQ(source.view(now()).health, SourceHealth::failing);
  broker.start();
  ASSERT_TRUE(broker.publish("positions/2", message_with("after", at("08:00:01"))));
  ASSERT_TRUE(run.has(2));
  EXPECT_EQ(run.taken().back().vehicle, VehicleId("after"));
}

}  // namespace
}  // namespace qiv
