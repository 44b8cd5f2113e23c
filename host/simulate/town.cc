#include "simulate/town.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "geo/distance.h"

namespace qiv {
namespace {

constexpr LatLon corner{52.0, 5.0};
constexpr double spacing_m = 400.0;
constexpr Seconds headway{300};
constexpr Seconds leg_time{100};
constexpr std::size_t fewest_stops = 30;
constexpr std::size_t lengths = 11;  ///< 30 to 40 stops

/// A crossing of the grid: streets east and north of the corner.
using Crossing = std::pair<std::size_t, std::size_t>;

class TownBuilder {
 public:
  explicit TownBuilder(const TownOptions& options) : _options(options) {
    while (_options.from < longest_trip() + headway) {
      _options.day = _options.day - std::chrono::days(1);
      _options.from += std::chrono::hours(24);
    }
    _lines = lines_needed();
    _side = static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(_lines))));
  }

  Timetable build() {
    _town.agencies.push_back({AgencyId("town"), "Gridtown Transit", "Etc/UTC"});
    _town.version = "gridtown";
    Service daily;
    daily.weekdays.fill(true);
    daily.first = _options.day;
    daily.last = _options.day + std::chrono::days(31);
    _town.services[ServiceId("daily")] = daily;
    add_stops();
    for (std::size_t line = 0; line < _lines; ++line) add_line(line);
    return std::move(_town);
  }

 private:
  static Seconds trip_time(std::size_t line) {
    return leg_time * static_cast<long>(fewest_stops + line % lengths - 1);
  }
  static Seconds longest_trip() { return trip_time(lengths - 1); }

  /// In each direction at least as many trips of a line are under way as headways fit into one.
  std::size_t lines_needed() const {
    std::size_t on_road = 0;
    std::size_t lines = 0;
    for (; on_road < _options.vehicles; ++lines) {
      on_road += 2 * static_cast<std::size_t>(trip_time(lines) / headway);
    }
    return std::max<std::size_t>(1, lines);
  }

  /// Lines begin two crossings apart.
  std::size_t crossings() const { return 2 * _side + fewest_stops + lengths; }

  void add_stops() {
    const MetresPerDegree scale = metres_per_degree(corner.lat_deg);
    for (std::size_t north = 0; north < crossings(); ++north) {
      for (std::size_t east = 0; east < crossings(); ++east) {
        const std::string number = std::to_string(east) + "-" + std::to_string(north);
        const LatLon place{corner.lat_deg + static_cast<double>(north) * spacing_m / scale.north,
                           corner.lon_deg + static_cast<double>(east) * spacing_m / scale.east};
        _town.stops.push_back({StopId("S" + number), "Crossing " + number, place});
      }
    }
  }

  std::uint32_t stop_at(Crossing crossing) const {
    return static_cast<std::uint32_t>(crossing.second * crossings() + crossing.first);
  }

  /// The crossings of a line, with its corner in the middle.
  std::vector<std::uint32_t> stops_of(std::size_t line) const {
    Crossing at{2 * (line % _side), 2 * (line / _side)};
    const std::size_t count = fewest_stops + line % lengths;
    std::vector<std::uint32_t> stops{stop_at(at)};
    for (std::size_t i = 1; i < count; ++i) {
      const bool eastward = (i <= count / 2) == (line % 2 == 0);
      ++(eastward ? at.first : at.second);
      stops.push_back(stop_at(at));
    }
    return stops;
  }

  void add_line(std::size_t line) {
    const std::string number = std::to_string(line + 1);
    _town.routes.push_back({RouteId("R" + number), number, "Line " + number, 3, ""});
    std::vector<std::uint32_t> stops = stops_of(line);
    add_direction(line, 0, stops);
    std::reverse(stops.begin(), stops.end());
    add_direction(line, 1, stops);
  }

  void add_direction(std::size_t line, int direction, const std::vector<std::uint32_t>& stops) {
    const std::string name = std::to_string(line + 1) + "-" + std::to_string(direction);
    const ShapeId shape("P" + name);
    for (const std::uint32_t stop : stops) {
      _town.shapes[shape].push_back({_town.stops[stop].place, std::nullopt});
    }
    const Seconds stagger(static_cast<long>(line * 97 + static_cast<std::size_t>(direction) * 151) %
                          headway.count());
    const Seconds end = _options.from + _options.length;
    std::size_t count = 0;
    for (Seconds at = _options.from - trip_time(line) - headway + stagger; at <= end;
         at += headway) {
      Trip trip;
      trip.id = TripId("T" + name + "-" + std::to_string(++count));
      trip.route = static_cast<std::uint32_t>(line);
      trip.service = ServiceId("daily");
      trip.shape = shape;
      trip.direction = direction;
      trip.headsign = _town.stops[stops.back()].name;
      for (std::size_t i = 0; i < stops.size(); ++i) {
        const Seconds time = at + leg_time * static_cast<long>(i);
        trip.stop_times.push_back({stops[i], static_cast<std::uint32_t>(i + 1), time, time, {}});
      }
      _town.trips.push_back(std::move(trip));
    }
  }

  TownOptions _options;
  std::size_t _lines = 0;
  std::size_t _side = 0;
  Timetable _town;
};

}  // namespace

Timetable make_town(const TownOptions& options) {
  return TownBuilder(options).build();
}

}  // namespace qiv
