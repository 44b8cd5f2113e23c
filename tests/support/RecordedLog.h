#ifndef QIV_TESTS_SUPPORT_RECORDED_LOG_H
#define QIV_TESTS_SUPPORT_RECORDED_LOG_H

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "RQLogger.h"

/// Takes every log entry for as long as it lives, in place of the standard error stream or of the
/// recorder around it.
///
///   RecordedLog log;
///   ...
///   EXPECT_THAT(log.lines(),
///               ElementsAre("error Journey::read_milestones KWXBN0060E %lld%u (7, 1)",
///                           "info ForecastAlgorithm::compute_forecast KWXBN0027I"));
///
/// A line holds level, function name, identifier, type codes and arguments. A number has as many
/// digits as tell it from every other of its type. A text stands in double quotes with \n, \" and
/// \\ escaped; a free text stands quoted in the place of the identifier. An argument that is not of
/// the type that its code announces is written with its real type, as in "unsigned_long:2".
class RecordedLog {
 public:
  RecordedLog() : _entries(std::make_shared<std::vector<RQLogger::Record>>()), _outer(current()) {
    current() = this;
    take_entries();
  }
  ~RecordedLog() {
    current() = _outer;
    if (_outer != nullptr) {
      _outer->take_entries();
    } else {
      RQLogger::SetSink(RQLogger::Sink());
    }
  }
  RecordedLog(const RecordedLog&) = delete;
  RecordedLog& operator=(const RecordedLog&) = delete;

  const std::vector<RQLogger::Record>& entries() const { return *_entries; }
  std::size_t size() const { return _entries->size(); }
  bool empty() const { return _entries->empty(); }
  void clear() { _entries->clear(); }

  /// All entries, oldest first.
  std::vector<std::string> lines() const {
    std::vector<std::string> result;
    for (const RQLogger::Record& entry : *_entries) result.push_back(line(entry));
    return result;
  }

  static std::string line(const RQLogger::Record& entry) {
    std::string result = entry.level == RQLogger::RQLogLevel::error ? "error " : "info ";
    result += entry.function_name + " ";
    if (entry.identifier.empty()) return result + quoted(entry.text);
    result += entry.identifier;
    if (entry.type_codes.empty() && entry.arguments.empty()) return result;
    return result + " " + entry.type_codes + " (" + arguments(entry) + ")";
  }

  /// The shortest decimal that reads back as `value`.
  static std::string number(double value) {
    char text[40] = "";
    for (int digits = 6; digits <= 17; ++digits) {
      std::snprintf(text, sizeof text, "%.*g", digits, value);
      if (std::strtod(text, nullptr) == value) break;
    }
    return value != value ? "nan" : text;
  }

  static std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
      if (c == '\n') {
        result += "\\n";
        continue;
      }
      if (c == '"' || c == '\\') result += '\\';
      result += c;
    }
    return result + "\"";
  }

 private:
  static RecordedLog*& current() {
    static RecordedLog* recorder = nullptr;
    return recorder;
  }

  void take_entries() const {
    const std::shared_ptr<std::vector<RQLogger::Record>> entries = _entries;
    RQLogger::SetSink([entries](const RQLogger::Record& entry) { entries->push_back(entry); });
  }

  static std::string arguments(const RQLogger::Record& entry) {
    const std::vector<std::string> announced = codes(entry.type_codes);
    std::string result;
    for (std::size_t i = 0; i < entry.arguments.size(); ++i) {
      if (i > 0) result += ", ";
      const RQLogger::Argument& argument = entry.arguments[i];
      if (i >= announced.size() || announced[i] != code(argument.type)) {
        result += type_name(argument.type) + ":";
      }
      result += value(argument);
    }
    return result;
  }

  static std::vector<std::string> codes(const std::string& type_codes) {
    std::vector<std::string> result;
    for (const char c : type_codes) {
      if (c == '%') result.push_back("");
      if (!result.empty()) result.back() += c;
    }
    return result;
  }

  static std::string code(RQLogger::ArgumentType type) {
    switch (type) {
      case RQLogger::ArgumentType::real:
        return "%e";
      case RQLogger::ArgumentType::signed_int:
        return "%d";
      case RQLogger::ArgumentType::unsigned_int:
        return "%u";
      case RQLogger::ArgumentType::signed_long:
        return "%lld";
      case RQLogger::ArgumentType::unsigned_long:
        return "%llu";
      case RQLogger::ArgumentType::text:
        return "%s";
    }
    return "";
  }

  static std::string type_name(RQLogger::ArgumentType type) {
    switch (type) {
      case RQLogger::ArgumentType::real:
        return "real";
      case RQLogger::ArgumentType::signed_int:
        return "signed_int";
      case RQLogger::ArgumentType::unsigned_int:
        return "unsigned_int";
      case RQLogger::ArgumentType::signed_long:
        return "signed_long";
      case RQLogger::ArgumentType::unsigned_long:
        return "unsigned_long";
      case RQLogger::ArgumentType::text:
        return "text";
    }
    return "";
  }

  static std::string value(const RQLogger::Argument& argument) {
    switch (argument.type) {
      case RQLogger::ArgumentType::real:
        return number(argument.real);
      case RQLogger::ArgumentType::signed_int:
      case RQLogger::ArgumentType::signed_long:
        return std::to_string(argument.integer);
      case RQLogger::ArgumentType::unsigned_int:
      case RQLogger::ArgumentType::unsigned_long:
        return std::to_string(argument.natural);
      case RQLogger::ArgumentType::text:
        return quoted(argument.text);
    }
    return "?";
  }

  std::shared_ptr<std::vector<RQLogger::Record>> _entries;
  RecordedLog* _outer;
};

#endif  // QIV_TESTS_SUPPORT_RECORDED_LOG_H
