#include "serve/api/json_writer.h"

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "publish/utf8.h"

namespace qiv {

void JsonWriter::key(std::string_view name) {
  separate();
  quote(name);
  _text += ':';
  _needs_comma = false;
}

void JsonWriter::value(std::string_view text) {
  separate();
  quote(text);
  _needs_comma = true;
}

void JsonWriter::value(Decimal number) {
  if (!std::isfinite(number.value)) return null();
  std::array<char, 400> text{};  // the longest double without exponent has 309 digits
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number.value,
                                          std::chars_format::fixed, number.decimals);
  std::string_view digits(text.data(), static_cast<std::size_t>(end - text.data()));
  if (digits.find('.') != std::string_view::npos) {
    digits = digits.substr(0, digits.find_last_not_of('0') + 1);
    if (digits.ends_with('.')) digits.remove_suffix(1);
  }
  raw(digits == "-0" ? "0" : digits);
}

void JsonWriter::member_or_null(std::string_view name, std::string_view text) {
  key(name);
  if (text.empty()) {
    null();
  } else {
    value(text);
  }
}

std::string JsonWriter::take() {
  _needs_comma = false;
  return std::exchange(_text, {});
}

void JsonWriter::open(char bracket) {
  separate();
  _text += bracket;
  _needs_comma = false;
}

void JsonWriter::close(char bracket) {
  _text += bracket;
  _needs_comma = true;
}

void JsonWriter::raw(std::string_view text) {
  separate();
  _text += text;
  _needs_comma = true;
}

void JsonWriter::separate() {
  if (_needs_comma) _text += ',';
}

void JsonWriter::quote(std::string_view text) {
  constexpr std::string_view hex = "0123456789abcdef";
  _text += '"';
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = utf8_length(text);
    if (length == 0) {
      _text += "\xEF\xBF\xBD";
    } else if (first == '"' || first == '\\') {
      _text += '\\';
      _text += text.front();
    } else if (first < 0x20U) {
      _text += "\\u00";
      _text += hex[first >> 4U];
      _text += hex[first & 0xFU];
    } else {
      _text += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  _text += '"';
}

}  // namespace qiv
