#include "feed/quotation.h"

#include <algorithm>

namespace qiv {
namespace {

constexpr std::size_t max_bytes = 120;

bool continues(char c) {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// Length of the UTF-8 character at the front of `text`, or 0. Over-long forms and surrogates do not
// count as characters.
std::size_t character_length(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  std::size_t length = 0;
  if (byte(0) < 0x80) length = 1;
  if (byte(0) >= 0xC2 && byte(0) <= 0xDF) length = 2;
  if (byte(0) >= 0xE0 && byte(0) <= 0xEF) length = 3;
  if (byte(0) >= 0xF0 && byte(0) <= 0xF4) length = 4;
  if (length == 0 || length > text.size()) return 0;
  if (!std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length), continues))
    return 0;
  if (byte(0) == 0xE0 && byte(1) < 0xA0) return 0;
  if (byte(0) == 0xED && byte(1) > 0x9F) return 0;
  if (byte(0) == 0xF0 && byte(1) < 0x90) return 0;
  if (byte(0) == 0xF4 && byte(1) > 0x8F) return 0;
  return length;
}

std::string printable(std::string_view text) {
  std::string out;
  while (!text.empty() && out.size() < max_bytes) {
    const std::size_t length = character_length(text);
    const auto first = static_cast<unsigned char>(text.front());
    if (length == 0) {
      out += '?';
    } else if (first < 0x20 || first == 0x7F) {
      out += ' ';
    } else {
      out += text.substr(0, length);
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  if (!text.empty()) out += "...";
  return out;
}

}  // namespace

std::string quotation(std::string_view file, std::size_t line, std::string_view content) {
  return printable(file) + ":" + std::to_string(line) + ": " + printable(content);
}

std::string quotation(std::string_view file, std::string_view content) {
  return printable(file) + (content.empty() ? "" : ": " + printable(content));
}

}  // namespace qiv
