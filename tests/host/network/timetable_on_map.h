#pragma once

#include <string>
#include <string_view>

#include "host/geo/ascii_map.h"
#include "model/timetable.h"

namespace qiv::test {

/// A timetable whose stops are places on a map, written one trip a line:
///
///     T1 route=46A dir=0 service=daily shape=AxB  A 08:00:00  B 08:05:00/08:06:00  C 08:10:00
///
/// A letter is a call at that place; a time behind it is its arrival and departure, two times are
/// one of each (a "-" for one that is not stated), and "@7.5" is its shape_dist_traveled. `shape`
/// lists the places that the shape leads through. Stops are named by their letters, shapes by their
/// list. Without `route` it is R, without `service` it is "daily", which runs in all of 2025.
Timetable timetable_on_map(const AsciiMap& map, std::string_view trips,
                           const std::string& time_zone = "Europe/Dublin");

/// A service by the calendar; `weekdays` has a letter for each day it runs, a blank or dot for each
/// it does not, Monday first: "MTWTF..".
Service weekly(std::string_view weekdays, std::string_view first, std::string_view last);

ServiceDate day(std::string_view text);

/// Reads "H:MM:SS".
Seconds time_of(std::string_view text);

/// Reads "YYYY-MM-DDTHH:MM:SSZ".
Instant utc(const std::string& text);

}  // namespace qiv::test
