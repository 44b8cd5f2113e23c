#include "serve/api/metrics_text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace qiv {
namespace {

std::string number(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "+Inf" : "-Inf";
  std::array<char, 32> text{};
  const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), end};
}

void append_escaped(std::string& text, std::string_view value) {
  for (const char c : value) {
    if (c == '\\' || c == '"') text += '\\';
    if (c == '\n') {
      text += "\\n";
    } else {
      text += c;
    }
  }
}

}  // namespace

void MetricsText::family(std::string_view name, std::string_view type, std::string_view help) {
  _name = name;
  _text.append("# HELP ").append(name).append(" ").append(help).append("\n");
  _text.append("# TYPE ").append(name).append(" ").append(type).append("\n");
}

void MetricsText::sample(double value, Labels labels) {
  _text += _name;
  char separator = '{';
  for (const auto& [label, text] : labels) {
    _text += separator;
    _text.append(label).append("=\"");
    append_escaped(_text, text);
    _text += '"';
    separator = ',';
  }
  if (separator == ',') _text += '}';
  _text.append(" ").append(number(value)).append("\n");
}

void MetricsText::single(std::string_view name, std::string_view type, std::string_view help,
                         double value) {
  family(name, type, help);
  sample(value);
}

}  // namespace qiv
