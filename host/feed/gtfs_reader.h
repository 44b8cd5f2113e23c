#pragma once

#include <string>
#include <vector>

#include "feed/gtfs_table.h"
#include "model/timetable.h"

namespace qiv {

/// The parts of `read_gtfs`. Each reads one table; what later tables refer to is kept here.
class GtfsReader {
 public:
  GtfsReader(const FileBundle& bundle, const GtfsOptions& options, GtfsResult& result);

  void read();

 private:
  void read_agencies();
  void read_routes();
  void read_calendar();
  void read_calendar_dates();
  void read_shapes();
  void read_feed_info();
  void read_frequencies();

  void read_stops(GtfsTable& table);
  void keep_stops_called_at(GtfsTable& table);

  void read_trips(GtfsTable& table);
  void read_stop_times(GtfsTable& stop_times, GtfsTable& trips);

  GtfsTable table(const std::string& file) const;
  GtfsTable needed_table(const std::string& file) const;

  const FileBundle& _bundle;
  const GtfsOptions& _options;
  GtfsResult& _result;
  Timetable& _timetable;
  std::string _folder;

  NameIndex _routes;
  NameIndex _stops;
  NameIndex _trips;
  std::vector<CsvRow> _stop_rows;
  std::vector<bool> _is_platform;  // by stop: of location type 0
  std::vector<CsvRow> _trip_rows;
};

}  // namespace qiv
