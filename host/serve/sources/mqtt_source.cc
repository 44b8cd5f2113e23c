#include "serve/sources/mqtt_source.h"

#include <mosquitto.h>

#include <functional>
#include <mutex>
#include <utility>

#include "feed/gtfs_realtime.h"
#include "serve/sources/pause.h"

namespace qiv {
namespace {

constexpr int keep_alive_s = 30;
constexpr int look_at_stop_ms = 200;

void initialize_once() {
  static std::once_flag once;
  std::call_once(once, [] { mosquitto_lib_init(); });
}

FeedMonitorOptions monitor_options(const MqttSourceOptions& options) {
  FeedMonitorOptions monitor;
  monitor.name = options.name;
  monitor.kind = "MQTT from " + options.host + ":" + std::to_string(options.port);
  monitor.stale_after = options.stale_after;
  return monitor;
}

}  // namespace

/// One connection to the broker. All calls back come in the thread that calls `loop`.
struct MqttSource::Connection {
  Connection(MqttSource& s, const TakePositions& t)
      : source(s), take(t), client(mosquitto_new(nullptr, true, this), &mosquitto_destroy) {
    mosquitto_connect_callback_set(client.get(), [](mosquitto*, void* self, int code) {
      static_cast<Connection*>(self)->connected(code);
    });
    mosquitto_subscribe_callback_set(
        client.get(), [](mosquitto*, void* self, int, int count, const int* granted) {
          static_cast<Connection*>(self)->subscribed(count, granted);
        });
    mosquitto_message_callback_set(
        client.get(), [](mosquitto*, void* self, const mosquitto_message* message) {
          auto& connection = *static_cast<Connection*>(self);
          connection.source.take_message(message->topic,
                                         {static_cast<const char*>(message->payload),
                                          static_cast<std::size_t>(message->payloadlen)},
                                         connection.take);
        });
  }

  /// The result code of mosquitto; MOSQ_ERR_SUCCESS when the connection is under way.
  int connect() {
    const MqttSourceOptions& options = source._options;
    if (!options.user.empty()) {
      mosquitto_username_pw_set(client.get(), options.user.c_str(), options.password.c_str());
    }
    if (options.tls || !options.ca_file.empty()) {
      const bool own = !options.ca_file.empty();
      const int code =
          mosquitto_tls_set(client.get(), own ? options.ca_file.c_str() : nullptr,
                            own ? nullptr : "/etc/ssl/certs", nullptr, nullptr, nullptr);
      if (code != MOSQ_ERR_SUCCESS) return code;
    }
    return mosquitto_connect(client.get(), options.host.c_str(), options.port, keep_alive_s);
  }

  void connected(int code) {
    if (code != 0) {
      refusal = mosquitto_connack_string(code);
      return;
    }
    for (const std::string& topic : source._options.topics) {
      mosquitto_subscribe(client.get(), nullptr, topic.c_str(), source._options.qos);
    }
  }

  void subscribed(int count, const int* granted) {
    constexpr int refused = 0x80;
    for (int i = 0; i < count; ++i) {
      if (granted[i] >= refused) refusal = "the broker refuses the subscription";
    }
    if (refusal.empty()) was_connected = true;
  }

  MqttSource& source;
  const TakePositions& take;
  std::unique_ptr<mosquitto, decltype(&mosquitto_destroy)> client;
  std::string refusal;
  bool was_connected = false;
};

MqttSource::MqttSource(MqttSourceOptions options, Clock clock)
    : _options(std::move(options)), _clock(std::move(clock)), _monitor(monitor_options(_options)) {}

void MqttSource::run(std::stop_token stop, const TakePositions& take) {
  initialize_once();
  BackOff back_off(_options.first_wait, _options.longest_wait,
                   std::hash<std::string>()(_options.name));
  while (!stop.stop_requested()) {
    Connection connection(*this, take);
    int code = connection.connect();
    while (code == MOSQ_ERR_SUCCESS && connection.refusal.empty() && !stop.stop_requested()) {
      code = mosquitto_loop(connection.client.get(), look_at_stop_ms, 1);
    }
    if (stop.stop_requested()) {
      mosquitto_disconnect(connection.client.get());
      return;
    }
    const std::string why =
        connection.refusal.empty() ? mosquitto_strerror(code) : connection.refusal;
    _monitor.failed(_clock(), why + ": check the source's host, port, user and topics");
    if (connection.was_connected) back_off.succeeded();
    if (pause(stop, back_off.failed())) return;
  }
}

void MqttSource::take_message(const std::string& topic, std::string_view payload,
                              const TakePositions& take) {
  const Instant now = _clock();
  PositionOptions reading;
  reading.name = topic;
  reading.received = now;
  PositionBatch batch = _options.json ? read_json_positions(payload, *_options.json, reading)
                                      : read_vehicle_positions(payload, reading);
  // Messages of many vehicles have no order among each other.
  batch.time.reset();
  if (_monitor.accepts(now, summary_of(batch))) take(std::move(batch.positions));
}

}  // namespace qiv
