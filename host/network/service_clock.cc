#include "network/service_clock.h"

#include <date/tz.h>

#include <stdexcept>

namespace qiv {
namespace {

constexpr std::chrono::hours half_a_day(12);

const date::time_zone* find_zone(const std::string& name) {
  try {
    date::get_tzdb();
  } catch (const std::exception& error) {
    throw std::runtime_error(
        std::string("no time zone data on this system: install them (apt-get install tzdata): ") +
        error.what());
  }
  try {
    return date::locate_zone(name);
  } catch (const std::exception&) {
    throw std::runtime_error("time zone '" + name +
                             "' is not known: give an IANA name such as Europe/Dublin, or update "
                             "the system's time zone data (apt-get install tzdata)");
  }
}

date::sys_seconds to_sys(const date::time_zone& zone, date::local_seconds local) {
  return zone.to_sys(local, date::choose::earliest);
}

}  // namespace

ServiceClock::ServiceClock(const std::string& time_zone)
    : _name(time_zone), _zone(find_zone(time_zone)) {}

Instant ServiceClock::zero(ServiceDate day) const {
  const date::local_seconds noon(day.days().time_since_epoch() + half_a_day);
  return to_sys(*_zone, noon) - half_a_day;
}

ServiceDate ServiceClock::local_day(Instant instant) const {
  const auto local = _zone->to_local(instant);
  return ServiceDate(
      std::chrono::sys_days(std::chrono::floor<std::chrono::days>(local.time_since_epoch())));
}

Seconds ServiceClock::local_time(Instant instant) const {
  const Seconds local = _zone->to_local(instant).time_since_epoch();
  return local - std::chrono::floor<std::chrono::days>(local);
}

}  // namespace qiv
