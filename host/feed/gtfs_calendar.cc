#include <array>
#include <chrono>

#include "feed/gtfs_reader.h"

namespace qiv {
namespace {

using std::chrono::day;
using std::chrono::month;
using std::chrono::year;

const ServiceDate first_date(year(1970) / month(1) / day(1));
const ServiceDate last_date(year(2199) / month(12) / day(31));

bool is_plausible(ServiceDate date) {
  return date >= first_date && date <= last_date;
}

constexpr std::array<std::string_view, 7> weekday_names = {
    "monday", "tuesday", "wednesday", "thursday", "friday", "saturday", "sunday"};

}  // namespace

void GtfsReader::read_calendar() {
  GtfsTable calendar = table("calendar.txt");
  const CsvColumn id = calendar.column("service_id");
  const CsvColumn start = calendar.column("start_date");
  const CsvColumn end = calendar.column("end_date");
  std::array<CsvColumn, 7> weekdays;
  for (std::size_t i = 0; i < weekdays.size(); ++i) weekdays[i] = calendar.column(weekday_names[i]);
  while (calendar.next()) {
    const auto first = ServiceDate::parse(calendar[start]);
    const auto last = ServiceDate::parse(calendar[end]);
    Service service;
    bool weekdays_known = true;
    for (std::size_t i = 0; i < weekdays.size(); ++i) {
      const std::string_view text = calendar[weekdays[i]];
      weekdays_known = weekdays_known && (text == "0" || text == "1");
      service.weekdays[i] = text == "1";
    }
    if (calendar[id].empty()) {
      calendar.reject("no service_id");
    } else if (!first || !last || *last < *first || *last < first_date || *first > last_date) {
      calendar.reject("start_date and end_date are no span of days");
    } else if (!weekdays_known) {
      calendar.reject("a weekday is neither 0 nor 1");
    } else {
      service.first = std::max(*first, first_date);
      service.last = std::min(*last, last_date);
      const ServiceId service_id{std::string(calendar[id])};
      if (!_timetable.services.emplace(service_id, service).second) {
        calendar.reject("service_id occurs twice");
      } else if (!is_plausible(*first) || !is_plausible(*last)) {
        calendar.remark("days before 1970 or after 2199 left out");
      }
    }
  }
}

void GtfsReader::read_calendar_dates() {
  GtfsTable dates = table("calendar_dates.txt");
  const CsvColumn id = dates.column("service_id");
  const CsvColumn date = dates.column("date");
  const CsvColumn type = dates.column("exception_type");
  while (dates.next()) {
    const auto on = ServiceDate::parse(dates[date]);
    if (dates[id].empty()) {
      dates.reject("no service_id");
    } else if (!on || !is_plausible(*on)) {
      dates.reject("date is no plausible date");
    } else if (dates[type] != "1" && dates[type] != "2") {
      dates.reject("exception_type is neither 1 nor 2");
    } else {
      Service& service = _timetable.services[ServiceId(std::string(dates[id]))];
      if (service.added.contains(*on) || service.removed.contains(*on)) {
        dates.reject("date of the service occurs twice");
      } else {
        (dates[type] == "1" ? service.added : service.removed).insert(*on);
      }
    }
  }
}

}  // namespace qiv
