// Reads a GTFS feed written as one text, each table after a line "@<file name>"; tables that the
// input lacks are those of a small whole feed.

#include <algorithm>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include "feed/gtfs.h"
#include "timetable_check.h"

namespace {

using Tables = std::map<std::string, std::string>;

Tables small_feed() {
  return {
      {"agency.txt", "agency_id,agency_timezone\nA,Europe/Dublin\n"},
      {"stops.txt", "stop_id,stop_lat,stop_lon\ns1,53.1,-6.1\ns2,53.2,-6.1\ns3,53.3,-6.1\n"},
      {"routes.txt", "route_id,route_type\nr1,3\n"},
      {"trips.txt", "route_id,service_id,trip_id,shape_id\nr1,w,t1,p1\nr1,w,t2,\n"},
      {"stop_times.txt",
       "trip_id,arrival_time,departure_time,stop_id,stop_sequence\n"
       "t1,08:00:00,08:00:00,s1,1\nt1,08:05:00,08:05:00,s2,2\n"
       "t2,24:00:00,24:00:00,s3,1\nt2,24:05:00,24:05:00,s1,2\n"},
      {"calendar_dates.txt", "service_id,date,exception_type\nw,20251007,1\n"},
      {"shapes.txt",
       "shape_id,shape_pt_lat,shape_pt_lon,shape_pt_sequence\np1,53.1,-6.1,1\np1,53.2,-6.1,2\n"}};
}

Tables tables_of(std::string_view text) {
  Tables tables = small_feed();
  while (!text.empty() && text.front() == '@') {
    const std::size_t line_end = std::min(text.find('\n'), text.size());
    const std::string name(text.substr(1, line_end - 1));
    text.remove_prefix(std::min(line_end + 1, text.size()));
    const std::size_t next = text.starts_with('@') ? 0 : text.find("\n@");
    const std::size_t length = next == 0 ? 0 : std::min(next, text.size() - 1) + 1;
    tables[name] = text.substr(0, text.empty() ? 0 : length);
    text.remove_prefix(text.empty() ? 0 : length);
  }
  return tables;
}

qiv::GtfsResult read(const Tables& tables) {
  qiv::GtfsOptions options;
  options.csv.field_bytes = 1000;
  options.csv.row_bytes = 4000;
  return read_gtfs(qiv::FileBundle::of(tables, "feed"), options);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Tables tables = tables_of({reinterpret_cast<const char*>(data), size});
  std::size_t bytes = 0;
  for (const auto& [name, content] : tables) bytes += content.size();
  try {
    const qiv::GtfsResult result = read(tables);
    fuzz::check_timetable(result, bytes);
    const qiv::GtfsResult again = read(tables);
    fuzz::check(result.rejections.total() == again.rejections.total(), "reading twice: rejections");
    fuzz::check(result.remarks.total() == again.remarks.total(), "reading twice: remarks");
    fuzz::check(result.timetable.trips.size() == again.timetable.trips.size(),
                "reading twice: trips");
  } catch (const std::runtime_error& error) {
    fuzz::check(std::string_view(error.what()).find(':') != std::string_view::npos,
                "an error names the place");
  }
  return 0;
}
