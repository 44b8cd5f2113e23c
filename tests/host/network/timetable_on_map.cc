#include "host/network/timetable_on_map.h"

#include <map>
#include <sstream>
#include <stdexcept>

namespace qiv::test {
namespace {

class Reader {
 public:
  Reader(const AsciiMap& map, const std::string& time_zone) : _map(map) {
    _timetable.agencies.push_back({AgencyId("A"), "Agency", time_zone});
    _timetable.services[ServiceId("daily")] = weekly("MTWTFSS", "20250101", "20251231");
  }

  void read_trip(const std::string& line) {
    std::istringstream words(line);
    std::string word;
    if (!(words >> word)) return;
    _trip = Trip{};
    _trip.id = TripId(word);
    _trip.route = route("R");
    _trip.service = ServiceId("daily");
    while (words >> word) read_word(word);
    _timetable.trips.push_back(_trip);
  }

  Timetable take() { return std::move(_timetable); }

 private:
  void read_word(const std::string& word) {
    const std::size_t equals = word.find('=');
    if (equals != std::string::npos) {
      read_attribute(word.substr(0, equals), word.substr(equals + 1));
    } else if (word.size() == 1) {
      const auto sequence = static_cast<std::uint32_t>(_trip.stop_times.size() + 1);
      _trip.stop_times.push_back({stop(word[0]), sequence, {}, {}, {}});
    } else if (word[0] == '@') {
      _trip.stop_times.back().shape_dist = std::stod(word.substr(1));
    } else {
      const std::size_t slash = word.find('/');
      StopTime& call = _trip.stop_times.back();
      call.arrival = parse_time_of_day(word.substr(0, slash));
      call.departure =
          slash == std::string::npos ? call.arrival : parse_time_of_day(word.substr(slash + 1));
    }
  }

  void read_attribute(const std::string& key, const std::string& value) {
    if (key == "route") {
      _trip.route = route(value);
    } else if (key == "dir") {
      _trip.direction = std::stoi(value);
    } else if (key == "service") {
      _trip.service = ServiceId(value);
    } else if (key == "block") {
      _trip.block = BlockId(value);
    } else if (key == "shape") {
      _trip.shape = ShapeId(value);
      std::vector<ShapePoint>& shape = _timetable.shapes[_trip.shape];
      shape.clear();
      for (const LatLon& place : _map.places(value)) shape.push_back({place, std::nullopt});
    } else {
      throw std::invalid_argument("no such attribute of a trip: " + key);
    }
  }

  std::uint32_t route(const std::string& id) {
    const auto [entry, added] =
        _routes.emplace(id, static_cast<std::uint32_t>(_timetable.routes.size()));
    if (added) _timetable.routes.push_back({RouteId(id), id, "", 3, ""});
    return entry->second;
  }

  std::uint32_t stop(char letter) {
    const auto [entry, added] =
        _stops.emplace(letter, static_cast<std::uint32_t>(_timetable.stops.size()));
    const std::string id(1, letter);
    if (added) _timetable.stops.push_back({StopId(id), id, _map[letter]});
    return entry->second;
  }

  const AsciiMap& _map;
  Timetable _timetable;
  std::map<std::string, std::uint32_t> _routes;
  std::map<char, std::uint32_t> _stops;
  Trip _trip;
};

}  // namespace

Timetable timetable_on_map(const AsciiMap& map, std::string_view trips,
                           const std::string& time_zone) {
  Reader reader(map, time_zone);
  std::istringstream lines{std::string(trips)};
  for (std::string line; std::getline(lines, line);) reader.read_trip(line);
  return reader.take();
}

Service weekly(std::string_view weekdays, std::string_view first, std::string_view last) {
  Service service;
  for (std::size_t i = 0; i < service.weekdays.size(); ++i) {
    service.weekdays[i] = weekdays[i] != '.' && weekdays[i] != ' ';
  }
  service.first = day(first);
  service.last = day(last);
  return service;
}

ServiceDate day(std::string_view text) {
  return ServiceDate::parse(text).value();
}

Seconds time_of(std::string_view text) {
  return parse_time_of_day(text).value();
}

Instant utc(const std::string& text) {
  return day(text.substr(0, 10)).days() + time_of(text.substr(11, 8));
}

}  // namespace qiv::test
