#include "app/city_config.h"

#include <toml++/toml.h>

#include <functional>
#include <map>
#include <sstream>

#include "app/exit_code.h"
#include "app/toml_reader.h"

namespace qiv {
namespace {

/// One key of the configuration: how it is read, and what it means.
struct Key {
  std::string name;
  std::string meaning;
  std::function<std::string(const CityConfig&)> get;
  std::function<bool(CityConfig&, const toml::node&)> set;
  std::string wanted = "a number that is not negative";
};

Key number(std::string name, std::string meaning, std::function<double&(CityConfig&)> member) {
  return {std::move(name), std::move(meaning),
          [member](const CityConfig& config) {
            CityConfig copy = config;
            std::ostringstream text;
            text << member(copy);
            return text.str();
          },
          [member](CityConfig& config, const toml::node& node) {
            const auto value = node.value<double>();
            if (!value || !(*value >= 0.0)) return false;
            member(config) = *value;
            return true;
          }};
}

Key seconds(std::string name, std::string meaning, std::function<Seconds&(CityConfig&)> member) {
  return {std::move(name), std::move(meaning),
          [member](const CityConfig& config) {
            CityConfig copy = config;
            return std::to_string(member(copy).count());
          },
          [member](CityConfig& config, const toml::node& node) {
            const auto value = node.value<std::int64_t>();
            if (!value || *value < 0) return false;
            member(config) = Seconds(*value);
            return true;
          }};
}

/// Between 0 and 1.
Key share(std::string name, std::string meaning, std::function<double&(CityConfig&)> member) {
  Key key = number(std::move(name), std::move(meaning), member);
  key.set = [member](CityConfig& config, const toml::node& node) {
    const auto value = node.value<double>();
    if (!value || !(*value >= 0.0 && *value <= 1.0)) return false;
    member(config) = *value;
    return true;
  };
  key.wanted = "a number from 0 to 1";
  return key;
}

Key yes_or_no(std::string name, std::string meaning, std::function<bool&(CityConfig&)> member) {
  return {std::move(name), std::move(meaning),
          [member](const CityConfig& config) {
            CityConfig copy = config;
            return std::string(member(copy) ? "true" : "false");
          },
          [member](CityConfig& config, const toml::node& node) {
            const auto value = node.value_exact<bool>();
            if (!value) return false;
            member(config) = *value;
            return true;
          },
          "true or false"};
}

std::string quoted(const std::string& text) {
  constexpr auto flags =
      toml::toml_formatter::default_flags & ~toml::format_flags::allow_literal_strings;
  const toml::value<std::string> value(text);
  std::ostringstream result;
  result << toml::toml_formatter(value, flags);
  return result.str();
}

/// `set` tells whether it took the text.
Key text(std::string name, std::string meaning, std::string wanted,
         std::function<std::string(const LogConfig&)> get,
         std::function<bool(LogConfig&, const std::string&)> set) {
  return {std::move(name), std::move(meaning),
          [get](const CityConfig& config) { return quoted(get(config.log)); },
          [set](CityConfig& config, const toml::node& node) {
            const auto value = node.value<std::string>();
            return value && set(config.log, *value);
          },
          std::move(wanted)};
}

std::string list(const std::vector<std::string>& names) {
  std::string result;
  for (const std::string& name : names) result += (result.empty() ? "" : ", ") + name;
  return result;
}

std::vector<Key> log_keys() {
  return {
      text(
          "level", "From which level on is logged: " + list(log_levels()) + ".",
          "one of " + list(log_levels()),
          [](const LogConfig& log) { return std::string(to_string(log.level)); },
          [](LogConfig& log, const std::string& value) {
            const auto level = parse_log_level(value);
            log.level = level.value_or(log.level);
            return level.has_value();
          }),
      text(
          "file", "The log, in this folder; without a file, the standard error stream.",
          "the name of a file", [](const LogConfig& log) { return log.file.string(); },
          [](LogConfig& log, const std::string& value) {
            log.file = value;
            return true;
          }),
      text(
          "language", "Of the library's messages, such as \"de\"; else that of the environment.",
          "the name of a language", [](const LogConfig& log) { return log.language; },
          [](LogConfig& log, const std::string& value) {
            log.language = value;
            return true;
          })};
}

const std::map<std::string, std::vector<Key>>& sections() {
  static const std::map<std::string, std::vector<Key>> all = {
      {"track",
       {number("widest_distance_m", "Farther from its path than this a vehicle is off the route.",
               [](CityConfig& c) -> double& { return c.track.widest_distance_m; }),
        number("least_progress_m", "A fix that moved on less than this says nothing new.",
               [](CityConfig& c) -> double& { return c.track.least_progress_m; }),
        number("start_zone_m", "Within this distance of the first stop a vehicle has not departed.",
               [](CityConfig& c) -> double& { return c.track.start_zone_m; }),
        number("end_zone_m", "Within this distance of the last stop a trip is finished.",
               [](CityConfig& c) -> double& { return c.track.end_zone_m; }),
        number("highest_speed_mps", "A faster jump waits for a second fix that agrees.",
               [](CityConfig& c) -> double& { return c.track.highest_speed_mps; }),
        seconds("silence", "A vehicle that is silent for so many seconds has left its trip.",
                [](CityConfig& c) -> Seconds& { return c.track.silence; }),
        seconds("off_route_patience", "A vehicle so many seconds off its route has left its trip.",
                [](CityConfig& c) -> Seconds& { return c.track.off_route_patience; }),
        number("detour_distance_m",
               "One that goes on beside its path, no farther from it than this, is detoured ...",
               [](CityConfig& c) -> double& { return c.track.detour_distance_m; }),
        seconds("detour_patience", "... and has left its trip after so many seconds.",
                [](CityConfig& c) -> Seconds& { return c.track.detour_patience; }),
        seconds("standing", "A vehicle under way that has not moved for longer stands too long.",
                [](CityConfig& c) -> Seconds& { return c.track.standing; }),
        yes_or_no("assign_trips",
                  "Vehicles whose reports name no trip are assigned one by their course.",
                  [](CityConfig& c) -> bool& { return c.track.assign_trips; }),
        share("assign_confidence", "So sure must an assignment be, 0 to 1; ...",
              [](CityConfig& c) -> double& { return c.track.assign_confidence; }),
        share("withdraw_confidence", "... less sure than this, it is withdrawn.",
              [](CityConfig& c) -> double& { return c.track.withdraw_confidence; })}},
      {"engine",
       {seconds("announce", "Trips are shown so many seconds before their scheduled departure.",
                [](CityConfig& c) -> Seconds& { return c.engine.announce; }),
        seconds("ghost_patience",
                "A trip that no vehicle began so long after its departure is shown no more.",
                [](CityConfig& c) -> Seconds& { return c.engine.ghost_patience; }),
        number("least_error_m", "What a position may be off at least, for the library.",
               [](CityConfig& c) -> double& { return c.engine.least_error_m; })}},
      {"log", log_keys()}};
  return all;
}

[[noreturn]] void reject(const std::filesystem::path& file, const toml::node& node,
                         const std::string& text) {
  std::ostringstream message;
  message << file.string() << ":" << node.source().begin.line << ": " << text;
  throw CommandError(ExitCode::usage, message.str());
}

void read_section(const std::filesystem::path& file, const std::vector<Key>& keys,
                  const toml::table& table, CityConfig& config) {
  for (const auto& [name, node] : table) {
    const auto key =
        std::find_if(keys.begin(), keys.end(), [&](const Key& k) { return k.name == name.str(); });
    if (key == keys.end()) {
      reject(file, node, "there is no key '" + std::string(name.str()) + "': remove it");
    }
    if (!key->set(config, node)) {
      reject(file, node, "'" + key->name + "' must be " + key->wanted);
    }
  }
}

}  // namespace

CityConfig read_city_config(const std::filesystem::path& file) {
  const toml::table table = read_toml(file);
  CityConfig config;
  config.name = file.parent_path().filename().string();
  for (const auto& [name, node] : table) {
    const std::string key(name.str());
    const auto section = sections().find(key);
    if (section != sections().end() && node.is_table()) {
      read_section(file, section->second, *node.as_table(), config);
    } else if (key == "name" && node.is_string()) {
      config.name = node.as_string()->get();
    } else if (key == "timetable" && node.is_string()) {
      config.timetable = node.as_string()->get();
    } else if (key != "serve" && key != "source" && key != "timetable_source" && key != "kafka") {
      reject(file, node, "there is no key '" + key + "' of this kind: remove it");
    }
  }
  return config;
}

std::string city_config_text(const CityConfig& config) {
  std::ostringstream text;
  text << "# The name that people see.\nname = " << quoted(config.name) << "\n\n"
       << "# The timetable, GTFS as zip file or folder; `qiv init` copies it here.\n"
       << "timetable = " << quoted(config.timetable) << "\n";
  for (const auto& [section, keys] : sections()) {
    text << "\n[" << section << "]\n";
    for (const Key& key : keys) {
      text << "# " << key.meaning << "\n# " << key.name << " = " << key.get(config) << "\n";
    }
  }
  return text.str();
}

}  // namespace qiv
