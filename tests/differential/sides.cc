#include "differential/sides.h"

#include "RQLogger.h"
#include "twin/Log.h"

namespace differential {

namespace {

support::LogArgument argument_of(const ::RQLogger::Argument& argument) {
  switch (argument.type) {
    case ::RQLogger::ArgumentType::real:
      return argument.real;
    case ::RQLogger::ArgumentType::signed_int:
      return static_cast<int>(argument.integer);
    case ::RQLogger::ArgumentType::unsigned_int:
      return static_cast<unsigned int>(argument.natural);
    case ::RQLogger::ArgumentType::signed_long:
      return argument.integer;
    case ::RQLogger::ArgumentType::unsigned_long:
      return argument.natural;
    case ::RQLogger::ArgumentType::text:
      break;
  }
  return argument.text;
}

support::LogEntry entry_of(const ::RQLogger::Record& record) {
  support::LogEntry entry;
  entry.function_name = record.function_name;
  entry.level = record.level == ::RQLogger::RQLogLevel::error ? support::LogLevel::error
                                                              : support::LogLevel::info;
  entry.message_id = record.identifier;
  entry.type_codes = record.type_codes;
  for (const ::RQLogger::Argument& argument : record.arguments) {
    entry.arguments.push_back(argument_of(argument));
  }
  entry.kind = support::LogKind::catalogue;
  if (record.identifier.empty()) {
    entry.kind = support::LogKind::error_text;
    entry.text = record.text;
  } else if (record.type_codes.empty() && record.arguments.empty()) {
    entry.kind = support::LogKind::info_message;
  }
  return entry;
}

std::vector<support::LogEntry>& library_log() {
  static std::vector<support::LogEntry> entries;
  return entries;
}

}  // namespace

std::vector<support::LogEntry> Library::take_log() {
  static const bool recording = [] {
    ::RQLogger::SetSink(
        [](const ::RQLogger::Record& record) { library_log().push_back(entry_of(record)); });
    return true;
  }();
  static_cast<void>(recording);
  std::vector<support::LogEntry> taken;
  taken.swap(library_log());
  return taken;
}

std::vector<support::LogEntry> Twin::take_log() {
  std::vector<support::LogEntry> taken = twin::Log::entries();
  twin::Log::clear();
  return taken;
}

}  // namespace differential
