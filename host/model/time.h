#pragma once

#include <chrono>
#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace qiv {

using Seconds = std::chrono::seconds;

/// A point in time, UTC, in whole seconds.
using Instant = std::chrono::sys_seconds;

/// `instant` in seconds since 1970, as feeds and the forecasting library write it.
inline long long unix_seconds(Instant instant) {
  return instant.time_since_epoch().count();
}
inline Instant from_unix_seconds(long long seconds) {
  return Instant(Seconds(seconds));
}

/// A day of service, which may last beyond midnight. The times of a timetable count from noon minus
/// twelve hours of this day in the agency's time zone.
class ServiceDate {
 public:
  ServiceDate() = default;
  explicit ServiceDate(std::chrono::year_month_day date) : _days(date) {}
  explicit ServiceDate(std::chrono::sys_days days) : _days(days) {}

  /// Reads "YYYYMMDD" or "YYYY-MM-DD"; nothing for any other text and for days that do not exist.
  static std::optional<ServiceDate> parse(std::string_view text);

  std::chrono::year_month_day date() const { return _days; }
  std::chrono::weekday weekday() const { return std::chrono::weekday(_days); }
  std::chrono::sys_days days() const { return _days; }

  /// "YYYYMMDD", as timetables write it.
  std::string to_string() const;
  /// "YYYY-MM-DD", for people.
  std::string to_iso_string() const;

  ServiceDate operator+(std::chrono::days n) const { return ServiceDate(_days + n); }
  ServiceDate operator-(std::chrono::days n) const { return ServiceDate(_days - n); }
  std::chrono::days operator-(ServiceDate other) const { return _days - other._days; }

  friend bool operator==(ServiceDate, ServiceDate) = default;
  friend auto operator<=>(ServiceDate, ServiceDate) = default;

 private:
  std::chrono::sys_days _days{};
};

/// Reads "H:MM:SS" or "HH:MM:SS", hours beyond 24 included, as seconds; surrounding blanks are
/// allowed. Nothing for any other text and beyond 999 hours.
std::optional<Seconds> parse_time_of_day(std::string_view text);

/// "HH:MM:SS", hours beyond 24 for times after midnight, a leading "-" before the day.
std::string format_time_of_day(Seconds time);

/// "YYYY-MM-DDTHH:MM:SSZ".
std::string format_utc(Instant instant);

}  // namespace qiv
