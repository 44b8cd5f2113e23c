#ifndef QIV_TESTS_TWIN_LOG_H
#define QIV_TESTS_TWIN_LOG_H

#include <string>
#include <vector>

#include "support/LogEntry.h"

namespace twin {

/// Everything that the twin logged, in order, for the whole process. Tests clear and read it.
class Log {
 public:
  static void clear();
  static const std::vector<support::LogEntry>& entries();
  static void add(const support::LogEntry& entry);
};

/// The three forms of logging.
class RQLogger {
 public:
  enum class RQLogLevel { info, error };

  static void Error(const std::string& function_name, const std::string& text);
  static void InfoMessage(const std::string& function_name, const std::string& message_id);
};

template <class... Args>
void RQLogV(const std::string& function_name, RQLogger::RQLogLevel level,
            const std::string& message_id, const std::string& type_codes, const Args&... args) {
  support::LogEntry entry;
  entry.kind = support::LogKind::catalogue;
  entry.function_name = function_name;
  entry.level =
      level == RQLogger::RQLogLevel::error ? support::LogLevel::error : support::LogLevel::info;
  entry.message_id = message_id;
  entry.type_codes = type_codes;
  entry.arguments = {support::LogArgument(args)...};
  Log::add(entry);
}

}  // namespace twin

#endif  // QIV_TESTS_TWIN_LOG_H
