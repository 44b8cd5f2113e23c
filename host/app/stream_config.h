#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <string>

#include "model/time.h"

namespace qiv {

/// What `city.toml` says of the stream. docs/stream.md lists the keys.
struct StreamConfig {
  bool is_stated = false;  ///< there is a section [kafka]
  /// Of the client, as its own documentation names them.
  std::map<std::string, std::string> properties;
  std::string topics;  ///< what the topics' names begin with
  std::string agency;  ///< in the keys
  std::string group;   ///< of the workers
  int partitions = 16;
  Seconds keep_positions{24 * 3600};  ///< 0: for ever
  Seconds keep_forecasts{6 * 3600};   ///< 0: for ever
  int keep_trips_days = 400;
  Seconds window{6 * 3600};
  Seconds watermark{10};
  std::chrono::milliseconds transaction{200};
};

/// Reads [kafka] and [kafka.properties]. Throws `CommandError` with file, line and remedy for
/// whatever is wrong there. `city` is the name that topics and agency have by default.
StreamConfig read_stream_config(const std::filesystem::path& file, const std::string& city);

/// The same; throws `CommandError` when there is no such section.
StreamConfig need_stream_config(const std::filesystem::path& file, const std::string& city);

/// The section as it is written into a new configuration, as comments with an example.
std::string stream_config_text();

}  // namespace qiv
