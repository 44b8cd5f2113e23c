#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "app/city_config.h"
#include "app/stream_config.h"
#include "network/network.h"
#include "worker/topics.h"
#include "worker/worker.h"

namespace qiv {

/// The folder's city.toml and its [kafka]. The folder need hold nothing else. Throws
/// `CommandError`.
struct StreamCity {
  explicit StreamCity(const std::filesystem::path& folder);

  CityConfig config;
  StreamConfig stream;
  Topics topics;
};

/// Where a program of the stream logs, and that warnings are logged too.
LogConfig stream_log(const CityConfig& config, const std::filesystem::path& folder);

/// A network of the bytes of a GTFS zip file. Throws `std::runtime_error`.
std::shared_ptr<const Network> network_of(const std::string& gtfs);

/// What a worker of this city needs. `name` tells it apart from all others.
WorkerOptions worker_options(const StreamCity& city, const std::string& name);

/// A worker's metrics in Prometheus' text format; `now` is the time of day.
std::string worker_metrics_text(const WorkerCounts& counts, Instant now);

}  // namespace qiv
