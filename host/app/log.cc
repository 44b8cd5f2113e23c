#include "app/log.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

#include "RQLogger.h"
#include "app/exit_code.h"

namespace qiv {
namespace {

struct NamedLevel {
  LogLevel level;
  const char* name;
  spdlog::level::level_enum written;
};

constexpr std::array<NamedLevel, 5> levels = {{
    {LogLevel::debug, "debug", spdlog::level::debug},
    {LogLevel::info, "info", spdlog::level::info},
    {LogLevel::warning, "warning", spdlog::level::warn},
    {LogLevel::error, "error", spdlog::level::err},
    {LogLevel::off, "off", spdlog::level::off},
}};

const NamedLevel& named(LogLevel level) {
  return levels[static_cast<std::size_t>(level)];
}

std::string one_line(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == '\x7f'; }, ' ');
  return text;
}

/// Counts messages by kind. Safe to use from several threads.
class KindCounts {
 public:
  std::uint64_t add(const std::string& kind) {
    const std::lock_guard lock(_mutex);
    return ++_counts[kind];
  }

 private:
  std::mutex _mutex;
  std::map<std::string, std::uint64_t> _counts;
};

bool is_power_of_ten(std::uint64_t count) {
  while (count % 10 == 0) count /= 10;
  return count == 1;
}

std::string entry_text(const RQLogger::Record& record, std::uint64_t count) {
  std::string text = record.identifier.empty() ? "" : record.identifier + " ";
  text += record.function_name + ": " + record.text;
  if (count > 1) text += " (" + std::to_string(count) + " of its kind)";
  return text;
}

void choose_language(const std::string& language) {
  if (RQLogger::SetLanguage(language) || language.empty()) return;
  std::string known;
  for (const std::string& code : RQLogger::Languages()) known += (known.empty() ? "" : ", ") + code;
  throw CommandError(ExitCode::usage, "log language '" + language +
                                          "': there are no messages in it; choose of " + known);
}

}  // namespace

const char* to_string(LogLevel level) {
  return named(level).name;
}

std::optional<LogLevel> parse_log_level(std::string_view text) {
  for (const NamedLevel& known : levels) {
    if (text == known.name) return known.level;
  }
  return std::nullopt;
}

std::vector<std::string> log_levels() {
  std::vector<std::string> names;
  for (const NamedLevel& known : levels) names.emplace_back(known.name);
  return names;
}

Log::Log(const LogConfig& config) : _config(config) {
  try {
    spdlog::sink_ptr sink;
    if (config.file.empty()) {
      sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
    } else {
      sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(config.file.string());
    }
    _logger = std::make_shared<spdlog::logger>("qiv", std::move(sink));
  } catch (const spdlog::spdlog_ex& error) {
    throw CommandError(ExitCode::failed,
                       config.file.string() + ": the log cannot be written: " + error.what());
  }
  _logger->set_pattern("%Y-%m-%dT%H:%M:%S.%eZ %l %v", spdlog::pattern_time_type::utc);
  _logger->set_level(named(config.level).written);
  _logger->flush_on(spdlog::level::debug);
}

void Log::write(LogLevel level, const std::string& text) const {
  _logger->log(named(level).written, "{}", one_line(text));
}

void Log::take_library_messages() const {
  choose_language(_config.language);
  const auto counts = std::make_shared<KindCounts>();
  RQLogger::SetSink([log = *this, counts](const RQLogger::Record& record) {
    const bool is_error = record.level == RQLogger::RQLogLevel::error;
    const LogLevel level = is_error ? LogLevel::warning : LogLevel::info;
    if (level < log._config.level) return;
    const bool free_text = record.identifier.empty();
    const auto count = counts->add(free_text ? record.function_name : record.identifier);
    if (log._config.level != LogLevel::debug && !is_power_of_ten(count)) return;
    log.write(level, entry_text(record, count));
  });
}

}  // namespace qiv
