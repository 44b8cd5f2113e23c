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

/// Once a night: learns again from what was recorded, puts the new settings in the place of the old
/// ones if they score better on days that neither has seen, and forgets what is older than it need
/// be kept. Works beside the service, with an archive connection of its own.
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

  /// One night's work, as of `now`, and what came of it, for people.
  std::string work(Instant now);

 private:
  std::string learn_again(Instant now);
  void forget(Instant now);

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
