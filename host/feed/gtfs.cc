#include "feed/gtfs.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "feed/gtfs_reader.h"
#include "feed/number.h"

namespace qiv {
namespace {

constexpr std::string_view main_table = "stop_times.txt";
constexpr Seconds min_headway{10};
constexpr Seconds max_frequency_span{48 * 3600};

// The folder of the bundle that holds the feed, with its '/': the one nearest to the top.
std::string folder_of_feed(const FileBundle& bundle) {
  std::string best;
  bool found = false;
  for (const std::string& entry : bundle.entries()) {
    if (!entry.ends_with(main_table)) continue;
    const std::string folder = entry.substr(0, entry.size() - main_table.size());
    if (!folder.empty() && folder.back() != '/') continue;
    if (folder.starts_with("__MACOSX/")) continue;
    const auto depth = [](const std::string& path) {
      return std::count(path.begin(), path.end(), '/');
    };
    if (!found || depth(folder) < depth(best)) best = folder;
    found = true;
  }
  return best;
}

bool is_color(std::string_view text) {
  return text.size() == 6 &&
         text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

}  // namespace

GtfsReader::GtfsReader(const FileBundle& bundle, const GtfsOptions& options, GtfsResult& result)
    : _bundle(bundle),
      _options(options),
      _result(result),
      _timetable(result.timetable),
      _folder(folder_of_feed(bundle)) {}

void GtfsReader::read() {
  read_agencies();
  read_routes();
  if (!_bundle.contains(_folder + "calendar.txt") &&
      !_bundle.contains(_folder + "calendar_dates.txt"))
    throw std::runtime_error(_bundle.name() +
                             ": neither calendar.txt nor calendar_dates.txt: without one of them "
                             "no trip has a day; export the feed again");
  read_calendar();
  read_calendar_dates();
  read_shapes();
  GtfsTable stops = needed_table("stops.txt");
  read_stops(stops);
  {
    GtfsTable trips = needed_table("trips.txt");
    read_trips(trips);
    GtfsTable stop_times = needed_table("stop_times.txt");
    read_stop_times(stop_times, trips);
  }
  read_frequencies();
  keep_stops_called_at(stops);
  read_feed_info();
}

void GtfsReader::read_agencies() {
  GtfsTable agencies = needed_table("agency.txt");
  agencies.require({"agency_timezone"});
  const CsvColumn id = agencies.column("agency_id");
  const CsvColumn name = agencies.column("agency_name");
  const CsvColumn time_zone = agencies.column("agency_timezone");
  NameIndex known;
  while (agencies.next()) {
    if (agencies[time_zone].empty()) {
      agencies.reject("no agency_timezone");
    } else if (!known.add(agencies[id], 0)) {
      agencies.reject("agency_id occurs twice");
    } else {
      _timetable.agencies.push_back({AgencyId(std::string(agencies[id])),
                                     std::string(agencies[name]),
                                     std::string(agencies[time_zone])});
      if (_timetable.agencies.back().time_zone != _timetable.agencies.front().time_zone)
        agencies.remark("another time zone than the first agency's");
    }
  }
  if (_timetable.agencies.empty())
    throw std::runtime_error(_bundle.name() +
                             ": agency.txt states no time zone: add agency_timezone, such as "
                             "Europe/Dublin, to its rows");
}

void GtfsReader::read_routes() {
  GtfsTable routes = needed_table("routes.txt");
  routes.require({"route_id"});
  const CsvColumn id = routes.column("route_id");
  const CsvColumn short_name = routes.column("route_short_name");
  const CsvColumn long_name = routes.column("route_long_name");
  const CsvColumn type = routes.column("route_type");
  const CsvColumn color = routes.column("route_color");
  while (routes.next()) {
    if (routes[id].empty()) {
      routes.reject("no route_id");
      continue;
    }
    if (!_routes.add(routes[id], static_cast<std::uint32_t>(_timetable.routes.size()))) {
      routes.reject("route_id occurs twice");
      continue;
    }
    Route route;
    route.id = RouteId(std::string(routes[id]));
    route.short_name = routes[short_name];
    route.long_name = routes[long_name];
    const auto known_type = parse_integer<int>(routes[type]);
    if (known_type && *known_type >= 0) {
      route.type = *known_type;
    } else {
      routes.remark("no usable route_type, taken as bus");
    }
    if (is_color(routes[color])) {
      route.color = routes[color];
    } else if (!routes[color].empty()) {
      routes.remark("route_color is no color");
    }
    _timetable.routes.push_back(std::move(route));
  }
}

void GtfsReader::read_frequencies() {
  GtfsTable frequencies = table("frequencies.txt");
  const CsvColumn trip = frequencies.column("trip_id");
  const CsvColumn start = frequencies.column("start_time");
  const CsvColumn end = frequencies.column("end_time");
  const CsvColumn headway = frequencies.column("headway_secs");
  while (frequencies.next()) {
    const auto of_trip = _trips.find(frequencies[trip]);
    const auto first = parse_time_of_day(frequencies[start]);
    const auto last = parse_time_of_day(frequencies[end]);
    const auto seconds = parse_integer<int>(frequencies[headway]);
    if (!of_trip) {
      frequencies.reject("unknown trip_id");
    } else if (!first || !last) {
      frequencies.reject("start_time or end_time is no time");
    } else if (*last <= *first || *last - *first > max_frequency_span) {
      frequencies.reject("end_time is not within two days after start_time");
    } else if (!seconds || Seconds(*seconds) < min_headway) {
      frequencies.reject("headway_secs is not a number from 10");
    } else {
      _timetable.frequencies.push_back({*of_trip, *first, *last, Seconds(*seconds)});
    }
  }
}

void GtfsReader::read_feed_info() {
  GtfsTable info = table("feed_info.txt");
  const CsvColumn version = info.column("feed_version");
  const CsvColumn start = info.column("feed_start_date");
  const CsvColumn end = info.column("feed_end_date");
  for (bool first = true; info.next(); first = false) {
    if (!first) {
      info.reject("more than one row");
      continue;
    }
    _timetable.version = info[version];
    _timetable.first = ServiceDate::parse(info[start]);
    _timetable.last = ServiceDate::parse(info[end]);
    if (!_timetable.first && !info[start].empty()) info.remark("feed_start_date is no date");
    if (!_timetable.last && !info[end].empty()) info.remark("feed_end_date is no date");
  }
}

GtfsTable GtfsReader::table(const std::string& file) const {
  return {file, _bundle.read(_folder + file), _options.csv, _result};
}

GtfsTable GtfsReader::needed_table(const std::string& file) const {
  if (!_bundle.contains(_folder + file))
    throw std::runtime_error(_bundle.name() + ": no " + file +
                             ": name a GTFS feed, as a zip file or as the folder that holds its "
                             "tables");
  return table(file);
}

GtfsResult read_gtfs(const FileBundle& bundle, const GtfsOptions& options) {
  GtfsResult result;
  GtfsReader(bundle, options, result).read();
  return result;
}

}  // namespace qiv
