#include "feed/iso8601.h"

#include <algorithm>

namespace qiv {
namespace {

constexpr std::string_view blanks = " \t\r\n";

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view trim(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(blanks), text.size());
  text.remove_prefix(begin);
  return text.substr(0, text.find_last_not_of(blanks) + 1);
}

// A number of two digits up to `max`, or -1.
int two_digits(std::string_view text, int max) {
  if (text.size() != 2 || !is_digit(text[0]) || !is_digit(text[1])) return -1;
  const int value = 10 * (text[0] - '0') + (text[1] - '0');
  return value <= max ? value : -1;
}

// "Z", "+HH:MM", "+HHMM", "+HH": what to subtract.
std::optional<Seconds> zone_offset(std::string_view text) {
  if (text == "Z" || text == "z") return Seconds(0);
  if (text.size() < 3 || (text[0] != '+' && text[0] != '-')) return std::nullopt;
  const int hours = two_digits(text.substr(1, 2), 23);
  std::string_view rest = text.substr(3);
  if (rest.starts_with(':')) rest.remove_prefix(1);
  const int minutes = text.size() == 3 ? 0 : two_digits(rest, 59);
  if (hours < 0 || minutes < 0) return std::nullopt;
  return Seconds((text[0] == '-' ? -1 : 1) * (3600 * hours + 60 * minutes));
}

}  // namespace

std::optional<Instant> parse_iso8601(std::string_view text) {
  text = trim(text);
  if (text.size() < 20 || (text[10] != 'T' && text[10] != ' ')) return std::nullopt;
  const auto day = text[4] == '-' ? ServiceDate::parse(text.substr(0, 10)) : std::nullopt;
  const int hours = two_digits(text.substr(11, 2), 23);
  const int minutes = two_digits(text.substr(14, 2), 59);
  const int seconds = two_digits(text.substr(17, 2), 60);
  if (!day || hours < 0 || minutes < 0 || seconds < 0) return std::nullopt;
  if (text[13] != ':' || text[16] != ':') return std::nullopt;
  std::string_view rest = text.substr(19);
  if (rest[0] == '.' || rest[0] == ',') {
    const auto end = std::find_if_not(rest.begin() + 1, rest.end(), is_digit);
    if (end == rest.begin() + 1) return std::nullopt;
    rest.remove_prefix(static_cast<std::size_t>(end - rest.begin()));
  }
  const auto offset = zone_offset(rest);
  if (!offset) return std::nullopt;
  return Instant(day->days()) + Seconds(3600 * hours + 60 * minutes + seconds) - *offset;
}

}  // namespace qiv
