#ifndef QIV_TESTS_HOST_MODULE_HOST_LOG_H
#define QIV_TESTS_HOST_MODULE_HOST_LOG_H

#include <sstream>
#include <string>
#include <vector>

/// A host's string: made from characters, and from nothing else.
class HostString {
 public:
  explicit HostString(const char* characters) : _text(characters) {}

  const std::string& text() const { return _text; }

 private:
  std::string _text;
};

/// What the module throws when it is told to.
struct LogFailure {
  std::string entry;
};

/// Where the host's message module puts its entries.
class HostLog {
 public:
  static std::vector<std::string>& entries() {
    static std::vector<std::string> entries;
    return entries;
  }

  /// The module throws at every entry that contains this, unless it is empty.
  static std::string& failing_at() {
    static std::string part;
    return part;
  }

  static void take(const std::string& entry) {
    entries().push_back(entry);
    if (!failing_at().empty() && entry.find(failing_at()) != std::string::npos) {
      throw LogFailure{entry};
    }
  }
};

// An argument of an entry with its type. Any type but these does not compile.

template <class Other>
std::string written(const Other& other) = delete;

template <class Number>
std::string written_as(const char* type, Number number) {
  std::ostringstream text;
  text << type << ":" << number;
  return text.str();
}

inline std::string written(const double& number) {
  return written_as("double", number);
}

inline std::string written(const int& number) {
  return written_as("int", number);
}

inline std::string written(const unsigned int& number) {
  return written_as("unsigned", number);
}

inline std::string written(const long long& number) {
  return written_as("long long", number);
}

inline std::string written(const HostString& string) {
  return "string:" + string.text();
}

#endif  // QIV_TESTS_HOST_MODULE_HOST_LOG_H
