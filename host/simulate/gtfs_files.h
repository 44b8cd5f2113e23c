#pragma once

#include <map>
#include <string>

#include "model/timetable.h"

namespace qiv {

/// The timetable as the files of a GTFS feed, by their names: agency, stops, routes, trips,
/// stop_times, shapes, calendar, calendar_dates, frequencies and feed_info.
std::map<std::string, std::string> gtfs_files(const Timetable& timetable);

/// The files packed into a zip file; the same files give the same bytes. Throws
/// `std::runtime_error` when that fails.
std::string zip_of(const std::map<std::string, std::string>& files);

}  // namespace qiv
