#pragma once

#include <string>

#include "model/time.h"

namespace date {
class time_zone;
}

namespace qiv {

/// Days of service as points in time. The times of a timetable count from noon minus twelve hours
/// of their day, which is midnight except on the days when the clocks change.
class ServiceClock {
 public:
  /// `time_zone` is an IANA name such as "Europe/Dublin". Throws `std::runtime_error` with the
  /// remedy when it is not known, or when the system has no time zone data.
  explicit ServiceClock(const std::string& time_zone);

  const std::string& time_zone() const { return _name; }

  /// Noon of `day` by the local clock, minus twelve hours: the zero of the timetable's times.
  Instant zero(ServiceDate day) const;

  /// The instant of a timetable's time, which may be beyond 24:00:00 or negative.
  Instant at(ServiceDate day, Seconds time) const { return zero(day) + time; }

  /// The calendar day by the local clock.
  ServiceDate local_day(Instant instant) const;

  /// Time since midnight as the local clock shows it.
  Seconds local_time(Instant instant) const;

 private:
  std::string _name;
  const date::time_zone* _zone;  ///< lives as long as the process
};

}  // namespace qiv
