#pragma once

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string>

#include "app/log.h"
#include "app/serve_config.h"
#include "model/settings.h"
#include "model/time.h"
#include "network/service_clock.h"
#include "serve/live_service.h"

namespace qiv {

/// Once a night: forgets what is older than is to be kept and, unless the configuration says
/// otherwise, learns again from what was recorded and puts the new settings in the place of the old
/// ones if they score better on days that neither has seen. Works beside the service, with an
/// archive connection of its own.
class Nightly {
 public:
  using TakeSettings = std::function<void(const LearnedSettings& settings)>;

  /// `folder` is the city's.
  Nightly(std::filesystem::path folder, const ServeConfig& config, ServiceClock city_clock,
          TakeSettings take_settings, Clock clock, const Log& log);

  /// Works every night until it is asked to stop.
  void run(std::stop_token stop);

  /// Begins at once, as if the time had come. May be called by any thread.
  void begin_soon();

  /// Learns, as of `now`, and says for people what came of it.
  std::string learn_again(Instant now);

  /// Forgets what is older than is to be kept, as of `now`.
  void forget(Instant now);

 private:
  std::filesystem::path _folder;
  const ServeConfig& _config;
  ServiceClock _city_clock;
  TakeSettings _take_settings;
  Clock _clock;
  const Log& _log;
  std::mutex _mutex;
  std::condition_variable_any _wake;
  bool _soon = false;
};

}  // namespace qiv
