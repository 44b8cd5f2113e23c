#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "feed/csv.h"
#include "feed/file_bundle.h"
#include "model/rejections.h"
#include "model/timetable.h"

namespace qiv {

struct GtfsOptions {
  CsvLimits csv;
};

/// How many rows a table had, the header not counted, and how many of them were used.
struct TableCount {
  std::uint64_t rows = 0;
  std::uint64_t used = 0;
};

/// A timetable and what became of the feed it was read from.
struct GtfsResult {
  Timetable timetable;
  /// Rows that were not used, each counted once, under "file: reason". Over all tables, rows are
  /// used rows plus rejections.
  Rejections rejections;
  /// What was left out of rows, or put right in rows, that were used otherwise.
  Rejections remarks;
  std::map<std::string, TableCount> tables;  ///< by file name
};

/// Reads a GTFS feed; files may lie in a folder of the bundle.
///
/// Needed are agency.txt, stops.txt, routes.txt, trips.txt, stop_times.txt, and one of calendar.txt
/// and calendar_dates.txt; read where there are shapes.txt, frequencies.txt and feed_info.txt.
/// Choices:
/// - Of stops of a location type beyond 0 only those are kept that a trip calls at, as themselves.
/// - Of rows with the same key (id, sequence, date) the first is kept.
/// - Stop times and shape points are put in the order of their sequence numbers. Where only one of
///   arrival and departure is stated it serves as both. A time before an earlier one of the trip is
///   dropped, with a remark; so is a departure before its arrival.
/// - A trip needs two stop times and a known route and service; an unknown shape is left out. The
///   stop times of a trip that is not used are rejected with it.
/// - Dates before 1970 and after 2199 are implausible: the ends of a calendar are moved to these
///   years, an exception is rejected.
///
/// Throws std::runtime_error, with file and remedy, when a needed file or column is missing, when
/// no agency states a time zone, and when the bundle cannot be read.
GtfsResult read_gtfs(const FileBundle& bundle, const GtfsOptions& options = {});

}  // namespace qiv
