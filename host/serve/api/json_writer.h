#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

#include "model/identifier.h"
#include "model/time.h"

namespace qiv {

/// A number with at most so many decimals.
struct Decimal {
  double value = 0.0;
  int decimals = 0;
};

/// Writes JSON as it goes, without a tree in memory. Text that is not UTF-8 is repaired with
/// replacement characters; numbers that are not finite are null. Instants are Unix seconds,
/// durations seconds.
class JsonWriter {
 public:
  void begin_object() { open('{'); }
  void end_object() { close('}'); }
  void begin_array() { open('['); }
  void end_array() { close(']'); }
  void key(std::string_view name);

  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }
  void value(bool flag) { raw(flag ? "true" : "false"); }
  void value(Decimal number);
  void value(Instant instant) { value(unix_seconds(instant)); }
  void value(Seconds seconds) { value(static_cast<long long>(seconds.count())); }
  template <std::integral T>
  requires(!std::same_as<T, bool>) void value(T number) { raw(std::to_string(number)); }
  template <class Tag>
  void value(const Identifier<Tag>& id) {
    value(std::string_view(id.text()));
  }
  template <class T>
  void value(const std::optional<T>& maybe) {
    if (maybe) {
      value(*maybe);
    } else {
      null();
    }
  }
  void null() { raw("null"); }

  template <class T>
  void member(std::string_view name, const T& of) {
    key(name);
    value(of);
  }
  /// Null for an empty text.
  void member_or_null(std::string_view name, std::string_view text);

  /// What has been written, which is then forgotten.
  std::string take();

 private:
  void open(char bracket);
  void close(char bracket);
  void raw(std::string_view text);
  void separate();
  void quote(std::string_view text);

  std::string _text;
  bool _needs_comma = false;
};

}  // namespace qiv
