#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace spdlog {
class logger;
}

namespace qiv {

/// What is worth an entry. The forecasting library's errors are warnings here: it rejected data,
/// and the work goes on.
enum class LogLevel {
  debug,    ///< all that the library says, every time
  info,     ///< what went another way than usual
  warning,  ///< data were rejected
  error,    ///< the work cannot go on
  off,
};

const char* to_string(LogLevel level);

/// Nothing for a text that is no level.
std::optional<LogLevel> parse_log_level(std::string_view text);

/// The names of the levels, the most talkative first.
std::vector<std::string> log_levels();

struct LogConfig {
  LogLevel level = LogLevel::error;
  std::filesystem::path file;  ///< is appended to; empty: the standard error stream
  std::string language;  ///< of the library's messages, such as "de"; empty: the environment's
};

/// The host's log. One entry is one line: time (UTC), level, text; control characters in the text
/// are blanks. May be written by several threads.
class Log {
 public:
  /// Throws `CommandError` for a file that cannot be opened.
  explicit Log(const LogConfig& config);

  void write(LogLevel level, const std::string& text) const;

  /// From now on all that the message module says is written here, in the configured language, with
  /// the catalogue's texts. Of each kind of message, and of each place that says free texts, the
  /// first is written, then the 10th, the 100th and so on, with how many there have been; at level
  /// debug every one. Throws `CommandError` for a language that the catalogue does not have.
  void take_library_messages() const;

 private:
  LogConfig _config;
  std::shared_ptr<spdlog::logger> _logger;
};

}  // namespace qiv
