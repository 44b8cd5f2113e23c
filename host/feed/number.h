#pragma once

#include <charconv>
#include <cmath>
#include <concepts>
#include <optional>
#include <string_view>

namespace qiv {

/// The whole of `text` as a decimal integer, a leading '+' allowed; nothing for any other text and
/// for what does not fit into `Integer`.
template <std::integral Integer>
std::optional<Integer> parse_integer(std::string_view text) {
  if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
  Integer value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

/// The whole of `text` as a finite decimal number, a leading '+' allowed; nothing for any other
/// text.
inline std::optional<double> parse_number(std::string_view text) {
  if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace qiv
