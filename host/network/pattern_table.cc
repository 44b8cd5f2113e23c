#include "network/pattern_table.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <numeric>
#include <string>
#include <tuple>
#include <utility>

#include "network/path_of_stops.h"
#include "network/pattern_ref.h"
#include "network/rejection_reasons.h"
#include "network/shape_table.h"
#include "network/stop_match.h"

namespace qiv {
namespace {

/// What trips must share to be on one pattern.
struct GroupKey {
  std::uint32_t route;
  std::optional<int> direction;
  std::optional<std::uint32_t> shape;
  std::vector<std::uint32_t> stops;

  friend auto operator<=>(const GroupKey&, const GroupKey&) = default;
};

/// The trips of one pattern, and what they say together about where its stops lie. It does not
/// depend on the order of the trips.
struct Group {
  std::vector<std::uint32_t> trips;
  std::vector<std::int64_t> summed_time_s;  ///< since the first stop, of the trips that state it
  std::vector<std::int64_t> timed_trips;
  ShapeId stated_shape;  ///< whose unit `stated_dist` is in
  std::vector<double> stated_dist;

  void add_times(std::span<const StopTime> stop_times);
  void add_distances(const ShapeId& shape, std::span<const StopTime> stop_times);
  std::optional<double> mean_time_s(std::size_t stop) const {
    if (timed_trips[stop] == 0) return std::nullopt;
    return static_cast<double>(summed_time_s[stop]) / static_cast<double>(timed_trips[stop]);
  }
};

std::optional<Seconds> any_time(const StopTime& call) {
  return call.arrival ? call.arrival : call.departure;
}

void Group::add_times(std::span<const StopTime> stop_times) {
  summed_time_s.resize(stop_times.size());
  timed_trips.resize(stop_times.size());
  const auto first =
      stop_times.front().departure ? stop_times.front().departure : stop_times.front().arrival;
  if (!first) return;
  for (std::size_t i = 0; i < stop_times.size(); ++i) {
    const auto time = any_time(stop_times[i]);
    if (!time) continue;
    summed_time_s[i] += (*time - *first).count();
    ++timed_trips[i];
  }
}

void Group::add_distances(const ShapeId& shape, std::span<const StopTime> stop_times) {
  std::vector<double> dist;
  for (const StopTime& call : stop_times) {
    if (!call.shape_dist || (!dist.empty() && !(*call.shape_dist >= dist.back()))) return;
    dist.push_back(*call.shape_dist);
  }
  if (!stated_dist.empty() && std::tie(stated_shape, stated_dist) <= std::tie(shape, dist)) return;
  stated_shape = shape;
  stated_dist = std::move(dist);
}

/// Stops less than a metre from each other or from an end of the path go to one offset.
void snap(std::vector<double>& offsets_m, double length_m) {
  double before_m = 0.0;
  for (double& offset_m : offsets_m) {
    if (offset_m - before_m < least_gap_m) offset_m = before_m;
    if (length_m - offset_m < least_gap_m) offset_m = length_m;
    before_m = offset_m;
  }
}

/// A path with the stops on it; `line` is null unless the path is a shape, as drawn.
struct LaidPath {
  MeasuredPath measured;
  std::shared_ptr<const Polyline> line;
};

class PatternMaker {
 public:
  PatternMaker(const Timetable& timetable, double max_stop_distance_m, Rejections& rejections)
      : _timetable(timetable),
        _max_stop_distance_m(max_stop_distance_m),
        _rejections(rejections),
        _shapes(timetable, rejections) {}

  PatternTable make();

 private:
  std::vector<LatLon> places_of(const std::vector<std::uint32_t>& stops) const;
  void group_trip(std::uint32_t index);
  void add_pattern(const GroupKey& key, const Group& group);
  std::optional<LaidPath> lay_on_shape(const GroupKey& key, const Group& group,
                                       const std::vector<LatLon>& places);
  std::vector<StopOnPath> stops_with_hints(const GroupKey& key, const Group& group,
                                           const std::vector<LatLon>& places) const;
  PatternRef reference(const GroupKey& key, const std::vector<LatLon>& places) const;
  void sort_and_tell_apart();

  const Timetable& _timetable;
  double _max_stop_distance_m;
  Rejections& _rejections;
  ShapeTable _shapes;
  std::map<GroupKey, Group> _groups;
  PatternTable _table;
};

PatternTable PatternMaker::make() {
  for (std::uint32_t i = 0; i < _timetable.trips.size(); ++i) group_trip(i);
  _table.pattern_of_trip.resize(_timetable.trips.size());
  for (const auto& [key, group] : _groups) add_pattern(key, group);
  sort_and_tell_apart();
  return std::move(_table);
}

std::vector<LatLon> PatternMaker::places_of(const std::vector<std::uint32_t>& stops) const {
  std::vector<LatLon> places;
  places.reserve(stops.size());
  for (const std::uint32_t stop : stops) places.push_back(_timetable.stops[stop].place);
  return places;
}

void PatternMaker::group_trip(std::uint32_t index) {
  const Trip& trip = _timetable.trips[index];
  const auto quote = [&] { return "trip_id '" + trip.id.text() + "'"; };
  std::vector<StopTime> copy;
  const std::span<const StopTime> calls = usable_stop_times(_timetable, trip, copy);
  for (std::size_t i = calls.size(); i < trip.stop_times.size(); ++i) {
    _rejections.add(rejected::stop_place, quote);
  }
  if (calls.size() < 2) {
    _rejections.add(rejected::few_stops, quote);
    return;
  }
  GroupKey key{trip.route, trip.direction, _shapes.find(trip.shape), {}};
  for (const StopTime& call : calls) key.stops.push_back(call.stop);
  const bool states_shape = key.shape.has_value();
  if (!states_shape) {
    if (!trip.shape.empty()) _rejections.add(rejected::unknown_shape, quote);
    key.shape = _shapes.find_path(places_of(key.stops));
  }
  Group& group = _groups[std::move(key)];
  group.trips.push_back(index);
  group.add_times(calls);
  if (states_shape) group.add_distances(trip.shape, calls);
}

std::vector<StopOnPath> PatternMaker::stops_with_hints(const GroupKey& key, const Group& group,
                                                       const std::vector<LatLon>& places) const {
  const double length_m = _shapes.shape(*key.shape).path.back().offset_m;
  const std::optional<double> duration_s = group.mean_time_s(places.size() - 1);
  std::vector<StopOnPath> stops;
  for (std::size_t i = 0; i < places.size(); ++i) {
    StopOnPath stop{places[i], std::nullopt, std::nullopt};
    if (!group.stated_dist.empty()) {
      stop.stated_offset_m = _shapes.distances(group.stated_shape).offset_m(group.stated_dist[i]);
    }
    const std::optional<double> time_s = group.mean_time_s(i);
    if (duration_s > 0.0 && time_s) stop.timed_offset_m = length_m * *time_s / *duration_s;
    stops.push_back(stop);
  }
  stops.front().timed_offset_m = 0.0;
  stops.back().timed_offset_m = length_m;
  return stops;
}

/// Nothing when no stop is on the shape.
std::optional<LaidPath> PatternMaker::lay_on_shape(const GroupKey& key, const Group& group,
                                                   const std::vector<LatLon>& places) {
  const UsedShape& shape = _shapes.shape(*key.shape);
  const auto offsets =
      match_stops(*shape.line, stops_with_hints(key, group, places), _max_stop_distance_m);
  const auto quote_stop = [&](std::size_t i) {
    return "stop_id '" + _timetable.stops[key.stops[i]].id.text() + "' of trip_id '" +
           _timetable.trips[group.trips.front()].id.text() + "'";
  };
  const auto off_shape = std::count(offsets.begin(), offsets.end(), std::nullopt);
  if (off_shape == std::ssize(offsets)) {
    _rejections.add(rejected::useless_shape, [&] { return quote_stop(0); });
    return std::nullopt;
  }
  if (off_shape > 0) {
    for (std::size_t i = 0; i < offsets.size(); ++i) {
      if (!offsets[i]) _rejections.add(rejected::stop_off_shape, [&] { return quote_stop(i); });
    }
    return LaidPath{path_along(shape.path, *shape.line, places, offsets), nullptr};
  }
  LaidPath laid{{shape.path, {}}, shape.line};
  for (const auto& offset : offsets) laid.measured.stop_offsets_m.push_back(*offset);
  return laid;
}

PatternRef PatternMaker::reference(const GroupKey& key, const std::vector<LatLon>& places) const {
  std::vector<StopId> ids;
  for (const std::uint32_t stop : key.stops) ids.push_back(_timetable.stops[stop].id);
  const auto path = key.shape ? _shapes.shape(*key.shape).key : rounded(places);
  return pattern_ref(_timetable.routes[key.route].id, key.direction, ids, path);
}

void PatternMaker::add_pattern(const GroupKey& key, const Group& group) {
  const std::vector<LatLon> places = places_of(key.stops);
  std::optional<LaidPath> laid;
  if (key.shape) laid = lay_on_shape(key, group, places);
  const bool has_shape = laid.has_value();
  if (!has_shape) laid = LaidPath{path_through(places), nullptr};
  auto& [path, offsets_m] = laid->measured;
  if (path.back().offset_m < least_gap_m) {
    for (const std::uint32_t trip : group.trips) {
      _rejections.add(rejected::short_path,
                      [&] { return "trip_id '" + _timetable.trips[trip].id.text() + "'"; });
    }
    return;
  }
  snap(offsets_m, path.back().offset_m);

  JourneyPattern pattern;
  pattern.ref = reference(key, places);
  pattern.route = _timetable.routes[key.route].id;
  pattern.direction = key.direction;
  pattern.has_shape = has_shape;
  for (std::size_t i = 0; i < places.size(); ++i) {
    pattern.stops.push_back({key.stops[i], offsets_m[i]});
  }
  if (!laid->line) laid->line = std::make_shared<const Polyline>(path);
  pattern.path = std::move(path);
  const auto index = static_cast<PatternIndex>(_table.patterns.size());
  for (const std::uint32_t trip : group.trips) _table.pattern_of_trip[trip] = index;
  _table.patterns.push_back(std::move(pattern));
  _table.polylines.push_back(std::move(laid->line));
}

/// In order of reference; patterns of one reference, which only a collision of the hash can bring
/// about, in order of their content.
void PatternMaker::sort_and_tell_apart() {
  std::vector<PatternIndex> order(_table.patterns.size());
  std::iota(order.begin(), order.end(), 0U);
  const auto content = [&](PatternIndex index) {
    const JourneyPattern& pattern = _table.patterns[index];
    std::vector<std::string> ids;
    for (const PatternStop& stop : pattern.stops) {
      ids.push_back(_timetable.stops[stop.stop].id.text());
    }
    std::vector<std::pair<double, double>> places;
    for (const PathPoint& point : pattern.path) {
      places.emplace_back(point.place.lat_deg, point.place.lon_deg);
    }
    return std::tuple(pattern.route, pattern.direction, ids, places);
  };
  std::sort(order.begin(), order.end(), [&](PatternIndex a, PatternIndex b) {
    const auto& ref_a = _table.patterns[a].ref;
    const auto& ref_b = _table.patterns[b].ref;
    return ref_a != ref_b ? ref_a < ref_b : a != b && content(a) < content(b);
  });

  PatternTable sorted;
  std::vector<PatternIndex> place_of(order.size());
  for (const PatternIndex index : order) {
    place_of[index] = static_cast<PatternIndex>(sorted.patterns.size());
    sorted.patterns.push_back(std::move(_table.patterns[index]));
    sorted.polylines.push_back(std::move(_table.polylines[index]));
  }
  tell_apart(sorted.patterns);
  for (const auto& pattern : _table.pattern_of_trip) {
    sorted.pattern_of_trip.push_back(pattern ? std::optional(place_of[*pattern]) : std::nullopt);
  }
  _table = std::move(sorted);
}

}  // namespace

std::span<const StopTime> usable_stop_times(const Timetable& timetable, const Trip& trip,
                                            std::vector<StopTime>& copy) {
  const auto is_usable = [&](const StopTime& call) {
    return is_plausible(timetable.stops[call.stop].place);
  };
  if (std::all_of(trip.stop_times.begin(), trip.stop_times.end(), is_usable)) {
    return trip.stop_times;
  }
  copy.clear();
  std::copy_if(trip.stop_times.begin(), trip.stop_times.end(), std::back_inserter(copy), is_usable);
  return copy;
}

PatternTable make_patterns(const Timetable& timetable, double max_stop_distance_m,
                           Rejections& rejections) {
  return PatternMaker(timetable, max_stop_distance_m, rejections).make();
}

}  // namespace qiv
