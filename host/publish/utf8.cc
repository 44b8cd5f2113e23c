#include "publish/utf8.h"

namespace qiv {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

unsigned byte_at(std::string_view text, std::size_t i) {
  return static_cast<unsigned char>(text[i]);
}

bool is_continuation(std::string_view text, std::size_t i) {
  return i < text.size() && (byte_at(text, i) & 0xC0U) == 0x80U;
}

}  // namespace

std::size_t utf8_length(std::string_view text) {
  const unsigned first = byte_at(text, 0);
  if (first < 0x80U) return 1;
  if (first < 0xC2U || first > 0xF4U || !is_continuation(text, 1)) return 0;
  if (first < 0xE0U) return 2;
  const unsigned second = byte_at(text, 1);
  if (!is_continuation(text, 2)) return 0;
  if (first < 0xF0U) {
    const bool overlong = first == 0xE0U && second < 0xA0U;
    const bool surrogate = first == 0xEDU && second >= 0xA0U;
    return overlong || surrogate ? 0 : 3;
  }
  if (!is_continuation(text, 3)) return 0;
  const bool overlong = first == 0xF0U && second < 0x90U;
  const bool beyond = first == 0xF4U && second >= 0x90U;
  return overlong || beyond ? 0 : 4;
}

std::string xml_text(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = utf8_length(text);
    const unsigned first = byte_at(text, 0);
    const bool control = first < 0x20U && first != '\t' && first != '\n' && first != '\r';
    out += length == 0 || control ? replacement : text.substr(0, length);
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return out;
}

}  // namespace qiv
