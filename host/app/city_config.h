#pragma once

#include <filesystem>
#include <string>

#include "app/log.h"
#include "engine/engine.h"
#include "track/options.h"

namespace qiv {

/// What `city.toml` says. Every member has its default; a file may leave out any of them.
struct CityConfig {
  std::string name;                         ///< for people; the folder's name by default
  std::string timetable = "timetable.zip";  ///< file or folder, relative to the city's folder
  TrackOptions track;
  EngineOptions engine;
  LogConfig log;  ///< a file's path is relative to the city's folder
};

/// Reads a configuration. Throws `CommandError` with file, line and remedy for text that is not
/// TOML, for unknown keys, and for values of the wrong type or out of range.
CityConfig read_city_config(const std::filesystem::path& file);

/// The text of a new configuration: every key with its default and what it means.
std::string city_config_text(const CityConfig& config);

}  // namespace qiv
