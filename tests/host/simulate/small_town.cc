#include "host/simulate/small_town.h"

#include "network/build_network.h"

namespace qiv::testing {

TownOptions small_town_options() {
  TownOptions options;
  options.vehicles = 60;
  options.day = *ServiceDate::parse("2025-05-05");
  options.from = std::chrono::hours(8);
  options.length = std::chrono::hours(2);
  return options;
}

Timetable small_town() {
  return make_town(small_town_options());
}

Network small_town_network() {
  return build_network(small_town());
}

Instant at(const std::string& time) {
  return ServiceClock("Etc/UTC").at(*ServiceDate::parse("2025-05-05"), *parse_time_of_day(time));
}

}  // namespace qiv::testing
