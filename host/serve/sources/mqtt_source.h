#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "feed/json_positions.h"
#include "serve/live_service.h"
#include "serve/source.h"
#include "serve/sources/feed_monitor.h"

namespace qiv {

struct MqttSourceOptions {
  std::string name;
  std::string host;
  int port = 1883;
  std::string user;  ///< empty: none
  std::string password;
  bool tls = false;                 ///< with the certificates that the system trusts
  std::string ca_file;              ///< instead of those of the system; empty: none
  std::vector<std::string> topics;  ///< filters
  int qos = 1;
  /// How a JSON payload is read; without it the payload is a GTFS-realtime message.
  std::optional<JsonFields> json;
  std::chrono::milliseconds first_wait{1000};
  std::chrono::milliseconds longest_wait{60'000};
  Seconds stale_after{120};
};

/// Positions from an MQTT broker, each message as it comes. A connection that is lost is taken up
/// again.
class MqttSource : public Source {
 public:
  MqttSource(MqttSourceOptions options, Clock clock);

  void run(std::stop_token stop, const TakePositions& take) override;
  SourceView view(Instant now) const override { return _monitor.view(now); }

 private:
  struct Connection;

  void take_message(const std::string& topic, std::string_view payload, const TakePositions& take);

  MqttSourceOptions _options;
  Clock _clock;
  FeedMonitor _monitor;
};

}  // namespace qiv
