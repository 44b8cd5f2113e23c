#include "serve/http/http_date.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace qiv {
namespace {

constexpr std::array<std::string_view, 7> weekdays = {"Sun", "Mon", "Tue", "Wed",
                                                      "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::optional<int> number(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

std::string format_http_date(Instant instant) {
  const auto day = std::chrono::floor<std::chrono::days>(instant);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(instant - day);
  std::array<char, 64> text{};
  const int length = std::snprintf(
      text.data(), text.size(), "%s, %02u %s %04d %02d:%02d:%02d GMT",
      weekdays[std::chrono::weekday(day).c_encoding()].data(), static_cast<unsigned>(date.day()),
      months[static_cast<unsigned>(date.month()) - 1].data(), static_cast<int>(date.year()),
      static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
      static_cast<int>(time.seconds().count()));
  return {text.data(), static_cast<std::size_t>(length)};
}

std::optional<Instant> parse_http_date(std::string_view text) {
  // Sun, 06 Nov 1994 08:49:37 GMT
  if (text.size() != 29 || text.substr(3, 2) != ", " || text.substr(25) != " GMT") return {};
  const auto month = std::find(months.begin(), months.end(), text.substr(8, 3));
  const auto day = number(text.substr(5, 2));
  const auto year = number(text.substr(12, 4));
  const auto time = parse_time_of_day(text.substr(17, 8));
  if (month == months.end() || !day || !year || !time) return {};
  const std::chrono::year_month_day date(
      std::chrono::year(*year),
      std::chrono::month(static_cast<unsigned>(month - months.begin()) + 1),
      std::chrono::day(static_cast<unsigned>(*day)));
  if (!date.ok()) return {};
  return std::chrono::sys_days(date) + *time;
}

}  // namespace qiv
