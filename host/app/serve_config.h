#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include "model/time.h"
#include "serve/sources/folder_source.h"
#include "serve/sources/mqtt_source.h"
#include "serve/sources/polled_source.h"
#include "serve/sources/timetable_source.h"

namespace qiv {

using SourceOptions = std::variant<PolledSourceOptions, FolderSourceOptions, MqttSourceOptions>;

/// What `city.toml` says of the live service. docs/operations.md lists the keys.
struct ServeConfig {
  std::string address = "127.0.0.1";
  std::uint16_t port = 8080;
  bool port_is_stated = false;
  std::string token;              ///< of write operations; empty: there are none
  std::string tiles;              ///< address of a base map's tiles; empty: none
  std::string tiles_attribution;  ///< whom the base map's makers want to be named
  std::chrono::milliseconds cycle{1000};
  std::size_t threads = 1;  ///< of the engine, each with its vehicles and all histories
  Seconds learn_at = std::chrono::hours(3) + std::chrono::minutes(30);  ///< by the city's clock
  bool learns = true;
  int keep_positions_days = 60;
  int keep_trips_days = 400;
  TimetableSourceOptions timetable;  ///< `file` is the caller's to fill in
  std::vector<SourceOptions> sources;
};

/// Reads [serve], [timetable_source] and each [[source]] of `city.toml`. Throws `CommandError` with
/// file, line and remedy for whatever is wrong there; other sections are passed over.
ServeConfig read_serve_config(const std::filesystem::path& file);

/// The same sections as they are written into a new configuration, as comments with an example.
std::string serve_config_text();

}  // namespace qiv
