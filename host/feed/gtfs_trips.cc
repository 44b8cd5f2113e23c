#include <utility>

#include "feed/gtfs_reader.h"
#include "feed/number.h"

namespace qiv {

void GtfsReader::read_stops(GtfsTable& stops) {
  stops.require({"stop_id", "stop_lat", "stop_lon"});
  const CsvColumn id = stops.column("stop_id");
  const CsvColumn name = stops.column("stop_name");
  const CsvColumn lat = stops.column("stop_lat");
  const CsvColumn lon = stops.column("stop_lon");
  const CsvColumn type = stops.column("location_type");
  while (stops.next()) {
    const auto lat_deg = parse_number(stops[lat]);
    const auto lon_deg = parse_number(stops[lon]);
    if (stops[id].empty()) {
      stops.reject("no stop_id");
    } else if (!lat_deg || !lon_deg || !is_plausible({*lat_deg, *lon_deg})) {
      stops.reject("implausible place");
    } else if (!_stops.add(stops[id], static_cast<std::uint32_t>(_timetable.stops.size()))) {
      stops.reject("stop_id occurs twice");
    } else {
      _timetable.stops.push_back(
          {StopId(std::string(stops[id])), std::string(stops[name]), {*lat_deg, *lon_deg}});
      _stop_rows.push_back(stops.row());
      _is_platform.push_back(stops[type].empty() || stops[type] == "0");
    }
  }
}

void GtfsReader::keep_stops_called_at(GtfsTable& stops) {
  std::vector<bool> keep = _is_platform;
  for (const Trip& trip : _timetable.trips) {
    for (const StopTime& call : trip.stop_times) keep[call.stop] = true;
  }
  std::vector<std::uint32_t> new_index(keep.size());
  std::uint32_t kept = 0;
  for (std::size_t i = 0; i < keep.size(); ++i) {
    if (!keep[i]) {
      stops.reject("station, entrance or node that no trip calls at", _stop_rows[i]);
      continue;
    }
    if (kept != i) _timetable.stops[kept] = std::move(_timetable.stops[i]);
    new_index[i] = kept++;
  }
  _timetable.stops.resize(kept);
  for (Trip& trip : _timetable.trips) {
    for (StopTime& call : trip.stop_times) call.stop = new_index[call.stop];
  }
}

void GtfsReader::read_trips(GtfsTable& trips) {
  trips.require({"route_id", "service_id", "trip_id"});
  const CsvColumn id = trips.column("trip_id");
  const CsvColumn route_id = trips.column("route_id");
  const CsvColumn service_id = trips.column("service_id");
  const CsvColumn shape_id = trips.column("shape_id");
  const CsvColumn block_id = trips.column("block_id");
  const CsvColumn direction_id = trips.column("direction_id");
  const CsvColumn headsign = trips.column("trip_headsign");
  const CsvColumn short_name = trips.column("trip_short_name");
  while (trips.next()) {
    const auto route = _routes.find(trips[route_id]);
    ServiceId service{std::string(trips[service_id])};
    if (trips[id].empty()) {
      trips.reject("no trip_id");
      continue;
    }
    if (!route) {
      trips.reject("unknown route_id");
      continue;
    }
    if (!_timetable.services.contains(service)) {
      trips.reject("unknown service_id");
      continue;
    }
    if (!_trips.add(trips[id], static_cast<std::uint32_t>(_timetable.trips.size()))) {
      trips.reject("trip_id occurs twice");
      continue;
    }
    Trip trip;
    trip.id = TripId(std::string(trips[id]));
    trip.route = *route;
    trip.service = std::move(service);
    trip.shape = ShapeId(std::string(trips[shape_id]));
    if (!trip.shape.empty() && !_timetable.shapes.contains(trip.shape)) {
      trips.remark("unknown shape_id");
      trip.shape = ShapeId();
    }
    trip.block = BlockId(std::string(trips[block_id]));
    if (trips[direction_id] == "0" || trips[direction_id] == "1") {
      trip.direction = trips[direction_id] == "1" ? 1 : 0;
    } else if (!trips[direction_id].empty()) {
      trips.remark("direction_id is neither 0 nor 1");
    }
    trip.headsign = trips[headsign];
    trip.short_name = trips[short_name];
    _timetable.trips.push_back(std::move(trip));
    _trip_rows.push_back(trips.row());
  }
}

}  // namespace qiv
