#include "twin/Log.h"

namespace twin {

namespace {

std::vector<support::LogEntry>& recorded() {
  static std::vector<support::LogEntry> entries;
  return entries;
}

}  // namespace

void Log::clear() {
  recorded().clear();
}

const std::vector<support::LogEntry>& Log::entries() {
  return recorded();
}

void Log::add(const support::LogEntry& entry) {
  recorded().push_back(entry);
}

void RQLogger::Error(const std::string& function_name, const std::string& text) {
  Log::add(
      {support::LogKind::error_text, function_name, support::LogLevel::error, "", "", {}, text});
}

void RQLogger::InfoMessage(const std::string& function_name, const std::string& message_id) {
  Log::add({support::LogKind::info_message,
            function_name,
            support::LogLevel::info,
            message_id,
            "",
            {},
            ""});
}

}  // namespace twin
