#ifndef QIV_TESTS_SUPPORT_LOG_ENTRY_H
#define QIV_TESTS_SUPPORT_LOG_ENTRY_H

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace support {

/// Which of the three forms of logging an entry came through.
enum class LogKind { catalogue, info_message, error_text };

enum class LogLevel { info, error };

/// One argument of a log entry, of the type with which it was logged.
using LogArgument =
    std::variant<double, int, unsigned int, long long, unsigned long long, std::string>;

/// One log entry, whichever implementation wrote it.
struct LogEntry {
  LogKind kind;
  std::string function_name;
  LogLevel level;
  std::string message_id;  ///< empty for free text
  std::string type_codes;
  std::vector<LogArgument> arguments;
  std::string text;  ///< of free text only
};

inline std::uint64_t bits(double value) {
  std::uint64_t result = 0;
  std::memcpy(&result, &value, sizeof result);
  return result;
}

/// The value in decimal and, where decimals could hide a difference, in hexadecimal.
inline std::string exact(double value) {
  char text[96];
  if (value != value) {
    std::snprintf(text, sizeof text, "nan(%016" PRIx64 ")", bits(value));
  } else {
    std::snprintf(text, sizeof text, "%a=%.17g", value, value);
  }
  return text;
}

/// Doubles are compared by their bits: -0.0 differs from 0.0, and a NaN equals itself.
inline bool same_argument(const LogArgument& left, const LogArgument& right) {
  if (left.index() != right.index()) return false;
  if (const double* value = std::get_if<double>(&left)) {
    return bits(*value) == bits(std::get<double>(right));
  }
  return left == right;
}

inline bool operator==(const LogEntry& left, const LogEntry& right) {
  if (left.kind != right.kind || left.function_name != right.function_name ||
      left.level != right.level || left.message_id != right.message_id ||
      left.type_codes != right.type_codes || left.text != right.text ||
      left.arguments.size() != right.arguments.size()) {
    return false;
  }
  for (std::size_t i = 0; i < left.arguments.size(); ++i) {
    if (!same_argument(left.arguments[i], right.arguments[i])) return false;
  }
  return true;
}

inline bool operator!=(const LogEntry& left, const LogEntry& right) {
  return !(left == right);
}

inline std::string printed(const LogArgument& argument) {
  struct Printer {
    std::string operator()(double value) const { return exact(value); }
    std::string operator()(int value) const { return std::to_string(value); }
    std::string operator()(unsigned int value) const { return std::to_string(value) + "u"; }
    std::string operator()(long long value) const { return std::to_string(value) + "ll"; }
    std::string operator()(unsigned long long value) const { return std::to_string(value) + "ull"; }
    std::string operator()(const std::string& value) const { return '"' + value + '"'; }
  };
  return std::visit(Printer(), argument);
}

inline std::ostream& operator<<(std::ostream& out, const LogEntry& entry) {
  out << (entry.level == LogLevel::error ? "error " : "info ") << entry.function_name;
  if (entry.kind == LogKind::error_text) return out << " text \"" << entry.text << '"';
  out << ' ' << entry.message_id;
  if (entry.kind == LogKind::info_message) return out;
  out << " \"" << entry.type_codes << "\" (";
  for (std::size_t i = 0; i < entry.arguments.size(); ++i) {
    out << (i == 0 ? "" : ", ") << printed(entry.arguments[i]);
  }
  return out << ')';
}

}  // namespace support

#endif  // QIV_TESTS_SUPPORT_LOG_ENTRY_H
