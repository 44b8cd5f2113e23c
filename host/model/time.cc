#include "model/time.h"

#include <cstdio>

namespace qiv {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

std::optional<int> parse_digits(std::string_view text) {
  if (text.empty() || text.size() > 4) return std::nullopt;
  int value = 0;
  for (const char c : text) {
    if (!is_digit(c)) return std::nullopt;
    value = 10 * value + (c - '0');
  }
  return value;
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

template <class... Args>
std::string print(const char* format, Args... args) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, args...);
  return buffer;
}

}  // namespace

std::optional<ServiceDate> ServiceDate::parse(std::string_view text) {
  const bool dashed = text.size() == 10 && text[4] == '-' && text[7] == '-';
  if (!dashed && text.size() != 8) return std::nullopt;
  const auto year = parse_digits(text.substr(0, 4));
  const auto month = parse_digits(text.substr(dashed ? 5 : 4, 2));
  const auto day = parse_digits(text.substr(dashed ? 8 : 6, 2));
  if (!year || !month || !day) return std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(*year),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day)));
  if (!date.ok()) return std::nullopt;
  return ServiceDate(date);
}

std::string ServiceDate::to_string() const {
  const auto d = date();
  return print("%04d%02u%02u", static_cast<int>(d.year()), static_cast<unsigned>(d.month()),
               static_cast<unsigned>(d.day()));
}

std::string ServiceDate::to_iso_string() const {
  const auto d = date();
  return print("%04d-%02u-%02u", static_cast<int>(d.year()), static_cast<unsigned>(d.month()),
               static_cast<unsigned>(d.day()));
}

std::optional<Seconds> parse_time_of_day(std::string_view text) {
  text = trim(text);
  const std::size_t first = text.find(':');
  if (first == std::string_view::npos || first == 0 || first > 3) return std::nullopt;
  const std::string_view rest = text.substr(first + 1);
  if (rest.size() != 5 || rest[2] != ':') return std::nullopt;
  const auto hours = parse_digits(text.substr(0, first));
  const auto minutes = parse_digits(rest.substr(0, 2));
  const auto seconds = parse_digits(rest.substr(3, 2));
  if (!hours || !minutes || !seconds || *minutes > 59 || *seconds > 59) return std::nullopt;
  return Seconds(3600 * *hours + 60 * *minutes + *seconds);
}

std::string format_time_of_day(Seconds time) {
  const long long value = time.count();
  const long long magnitude = value < 0 ? -value : value;
  return print("%s%02lld:%02lld:%02lld", value < 0 ? "-" : "", magnitude / 3600,
               magnitude / 60 % 60, magnitude % 60);
}

std::string format_utc(Instant instant) {
  const auto days = std::chrono::floor<std::chrono::days>(instant);
  const Seconds time = instant - days;
  return ServiceDate(std::chrono::sys_days(days)).to_iso_string() + "T" + format_time_of_day(time) +
         "Z";
}

}  // namespace qiv
