#include "network/build_network.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "network/call_times.h"
#include "network/pattern_table.h"
#include "network/rejection_reasons.h"

namespace qiv {
namespace {

std::string zone_of(const Timetable& timetable, const NetworkOptions& options,
                    Rejections& rejections) {
  if (!options.time_zone.empty()) return options.time_zone;
  if (timetable.agencies.empty() || timetable.agencies.front().time_zone.empty()) {
    throw std::runtime_error(
        "agency.txt: no agency_timezone, so the timetable's times mean nothing: add it, or set the "
        "time zone in the configuration");
  }
  const std::string& zone = timetable.agencies.front().time_zone;
  for (const Agency& agency : timetable.agencies) {
    if (agency.time_zone == zone) continue;
    rejections.add(rejected::zone_of_agency, [&] {
      return "agency_id '" + agency.id.text() + "': '" + agency.time_zone + "'";
    });
  }
  return zone;
}

class NetworkBuilder {
 public:
  NetworkBuilder(const Timetable& timetable, const NetworkOptions& options)
      : _timetable(timetable),
        _options(options),
        _parts{ServiceClock(zone_of(timetable, options, _rejections)),
               timetable.version,
               timetable.stops,
               timetable.routes,
               {},
               {},
               {},
               {},
               {},
               {}} {}

  Network build();

 private:
  /// The calls of a trip, in `NetworkParts::calls`.
  struct Template {
    std::size_t first = 0;
    std::size_t size = 0;  ///< 0: the trip is not used
  };

  void number_services();
  void add_calls(std::uint32_t trip);
  void add_repetitions(const Frequency& frequency);
  void add_plan(std::uint32_t trip, Seconds start, Seconds shift);
  void sort_plans();
  void drop_unused_patterns();

  const Timetable& _timetable;
  const NetworkOptions& _options;
  Rejections _rejections;
  NetworkParts _parts;
  std::map<ServiceId, std::uint32_t> _service_index;
  std::vector<std::optional<PatternIndex>> _pattern_of_trip;
  std::vector<Template> _templates;
  std::vector<bool> _repeated;
  std::size_t _repetitions = 0;
};

Network NetworkBuilder::build() {
  PatternTable table = make_patterns(_timetable, _options.max_stop_distance_m, _rejections);
  _parts.patterns = std::move(table.patterns);
  _parts.polylines = std::move(table.polylines);
  _pattern_of_trip = std::move(table.pattern_of_trip);
  number_services();

  const auto count = static_cast<std::uint32_t>(_timetable.trips.size());
  _templates.resize(count);
  _repeated.resize(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    if (_pattern_of_trip[i]) add_calls(i);
  }
  for (const Frequency& frequency : _timetable.frequencies) {
    _repeated[frequency.trip] = true;
    if (_templates[frequency.trip].size > 0) add_repetitions(frequency);
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    if (_templates[i].size > 0 && !_repeated[i]) add_plan(i, Seconds(0), Seconds(0));
  }
  sort_plans();
  drop_unused_patterns();
  _parts.rejections = std::move(_rejections);
  return Network(std::move(_parts));
}

void NetworkBuilder::number_services() {
  for (const auto& [id, service] : _timetable.services) {
    _service_index.emplace(id, static_cast<std::uint32_t>(_parts.services.size()));
    _parts.services.push_back(service);
  }
  for (const Trip& trip : _timetable.trips) {
    if (_service_index.contains(trip.service)) continue;
    _rejections.add(rejected::unknown_service, [&] {
      return "trip_id '" + trip.id.text() + "': service_id '" + trip.service.text() + "'";
    });
    _service_index.emplace(trip.service, static_cast<std::uint32_t>(_parts.services.size()));
    _parts.services.emplace_back();
  }
}

void NetworkBuilder::add_calls(std::uint32_t trip) {
  const Trip& source = _timetable.trips[trip];
  const auto quote = [&] { return "trip_id '" + source.id.text() + "'"; };
  std::vector<StopTime> copy;
  std::vector<double> offsets_m;
  for (const PatternStop& stop : _parts.patterns[*_pattern_of_trip[trip]].stops) {
    offsets_m.push_back(stop.offset_m);
  }
  const CallTimes times = complete_times(usable_stop_times(_timetable, source, copy), offsets_m);
  for (std::size_t i = 0; i < times.dropped_times; ++i) {
    _rejections.add(rejected::falling_time, quote);
  }
  if (times.calls.empty()) {
    _rejections.add(rejected::no_end_times, quote);
    return;
  }
  _templates[trip] = {_parts.calls.size(), times.calls.size()};
  _parts.calls.insert(_parts.calls.end(), times.calls.begin(), times.calls.end());
}

void NetworkBuilder::add_repetitions(const Frequency& frequency) {
  const auto quote = [&] {
    return "trip_id '" + _timetable.trips[frequency.trip].id.text() + "' from " +
           format_time_of_day(frequency.first);
  };
  if (frequency.headway <= Seconds(0) || frequency.end <= frequency.first) {
    _rejections.add(rejected::frequency, quote);
    return;
  }
  const Seconds departure = _parts.calls[_templates[frequency.trip].first].departure;
  for (Seconds start = frequency.first; start < frequency.end; start += frequency.headway) {
    if (_repetitions == _options.max_repetitions) {
      _rejections.add(rejected::repetitions, quote);
      return;
    }
    ++_repetitions;
    add_plan(frequency.trip, start, start - departure);
  }
}

void NetworkBuilder::add_plan(std::uint32_t trip, Seconds start, Seconds shift) {
  const Trip& source = _timetable.trips[trip];
  TripPlan plan;
  plan.id = source.id;
  plan.start = start;
  plan.pattern = *_pattern_of_trip[trip];
  plan.service = _service_index.at(source.service);
  plan.source = trip;
  plan.block = source.block;
  plan.headsign = source.headsign;
  plan.shift = shift;
  _parts.trips.push_back(std::move(plan));
}

void NetworkBuilder::sort_plans() {
  std::vector<TripPlan>& trips = _parts.trips;
  const auto key = [](const TripPlan& trip) { return std::tie(trip.id, trip.start); };
  std::stable_sort(trips.begin(), trips.end(),
                   [&](const TripPlan& a, const TripPlan& b) { return key(a) < key(b); });
  const auto same = [&](const TripPlan& a, const TripPlan& b) { return key(a) == key(b); };
  trips.erase(std::unique(trips.begin(), trips.end(), same), trips.end());
  for (std::size_t i = 0; i < trips.size(); ++i) {
    const Template& calls = _templates[trips[i].source];
    trips[i].index = static_cast<TripIndex>(i);
    trips[i].template_calls = std::span(_parts.calls).subspan(calls.first, calls.size);
  }
}

void NetworkBuilder::drop_unused_patterns() {
  std::vector<bool> used(_parts.patterns.size());
  for (const TripPlan& trip : _parts.trips) used[trip.pattern] = true;
  std::vector<PatternIndex> place_of(used.size());
  PatternIndex kept = 0;
  for (PatternIndex i = 0; i < used.size(); ++i) {
    if (!used[i]) continue;
    place_of[i] = kept;
    if (kept != i) {
      _parts.patterns[kept] = std::move(_parts.patterns[i]);
      _parts.polylines[kept] = std::move(_parts.polylines[i]);
    }
    ++kept;
  }
  _parts.patterns.resize(kept);
  _parts.polylines.resize(kept);
  for (TripPlan& trip : _parts.trips) trip.pattern = place_of[trip.pattern];
}

}  // namespace

Network build_network(const Timetable& timetable, const NetworkOptions& options) {
  return NetworkBuilder(timetable, options).build();
}

}  // namespace qiv
