#include "serve/api/topic_changes.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "serve/api/stop_board.h"
#include "serve/api/trip_json.h"

namespace qiv {
namespace {

bool are_stops_same(const TripForecast& a, const TripForecast& b) {
  return a.stops.shares_with(b.stops) || a.stops.read() == b.stops.read();
}

/// What a board says of a trip at each of its calls. Legs are nowhere shown; with them a trip is
/// not shown at all.
bool is_head_same(const TripForecast& a, const TripForecast& b) {
  return a.trip == b.trip && a.vehicle == b.vehicle && a.state == b.state && a.basis == b.basis &&
         a.trips == b.trips && a.confidence == b.confidence && a.legs.empty() == b.legs.empty();
}

/// Whether both say the same, be it at two moments. A trip without a vehicle was seen whenever it
/// was forecast.
bool is_same(const TripForecast& a, const TripForecast& b) {
  const bool is_seen_at_once = a.vehicle.empty() || a.position_time == b.position_time;
  return is_head_same(a, b) && is_seen_at_once && a.offset_m == b.offset_m &&
         a.category == b.category && are_stops_same(a, b);
}

bool is_same_call(const StopForecast& a, const StopForecast& b) {
  return a.stop == b.stop && a.stop_sequence == b.stop_sequence;
}

/// The first call from which on boards may say something else of a trip: times are put in order
/// along the trip, and stops before a call are counted, so that a call changes those after it.
std::size_t first_changed_call(const TripForecast& before, const TripForecast& now) {
  if (before.stops.shares_with(now.stops)) return now.stops.size();
  const auto first = std::mismatch(before.stops.begin(), before.stops.end(), now.stops.begin());
  return static_cast<std::size_t>(first.first - before.stops.begin());
}

/// Notes the stops whose boards a change of trips touches.
class StopMarker {
 public:
  StopMarker(const Outputs& before, const Outputs& now)
      : _before(before), _now(now), _stops(now.index().network().stops().size(), false) {}

  void mark_all(const TripForecast& trip) {
    for (const StopForecast& stop : trip.stops) {
      if (!stop.observed) mark(stop);
    }
  }

  void mark_changes(const TripForecast& before, const TripForecast& now) {
    const bool is_shared = before.stops.shares_with(now.stops);
    const bool has_same_calls =
        is_shared || std::equal(before.stops.begin(), before.stops.end(), now.stops.begin(),
                                now.stops.end(), is_same_call);
    const bool is_as_sure = _before.trip_confidence(before) == _now.trip_confidence(now);
    if (!has_same_calls || !is_as_sure || !is_head_same(before, now)) {
      mark_all(before);
      mark_all(now);
      return;
    }
    // Time alone takes a canceled trip onto a board and off it.
    if (is_shared && now.state != TripState::canceled) return;
    const std::size_t first_changed = first_changed_call(before, now);
    for (std::size_t i = 0; i < now.stops.size(); ++i) {
      const bool was_on = is_on_board(before, i, _before.snapshot().now);
      const bool is_on = is_on_board(now, i, _now.snapshot().now);
      if (was_on != is_on || (is_on && i >= first_changed)) mark(now.stops[i]);
    }
  }

  std::vector<bool> take() { return std::move(_stops); }

 private:
  void mark(const StopForecast& stop) {
    if (stop.stop < _stops.size()) _stops[stop.stop] = true;
  }

  const Outputs& _before;
  const Outputs& _now;
  std::vector<bool> _stops;
};

}  // namespace

bool TopicChanges::may_touch(const EventTopic& topic) const {
  if (&_before.index().network() != &_now.index().network()) return true;
  switch (topic.kind) {
    case EventTopic::Kind::stop:
      return may_touch_stop(StopId(topic.id));
    case EventTopic::Kind::trip: {
      const auto key = parse_trip_key(topic.id);
      return key && !is_trip_same(*key);
    }
    case EventTopic::Kind::vehicle:
      return !is_vehicle_same(VehicleId(topic.id));
    case EventTopic::Kind::all_vehicles:
      break;
  }
  return true;
}

bool TopicChanges::is_trip_same(const TripKey& key) const {
  const TripForecast* const before = _before.find_trip(key);
  const TripForecast* const now = _now.find_trip(key);
  if (before == nullptr || now == nullptr) return before == now;
  return is_same(*before, *now) && _before.trip_confidence(*before) == _now.trip_confidence(*now);
}

bool TopicChanges::is_vehicle_same(const VehicleId& id) const {
  const VehicleView* const before = _before.find_vehicle(id);
  const VehicleView* const now = _now.find_vehicle(id);
  if (before == nullptr || now == nullptr) return before == now;
  return *before == *now && (!now->trip || is_trip_same(*now->trip));
}

bool TopicChanges::may_touch_stop(const StopId& id) const {
  const auto stop = _now.index().network().find_stop(id);
  return stop && _changed_stops.get([this] { return changed_stops(); })[*stop];
}

std::vector<bool> TopicChanges::changed_stops() const {
  StopMarker stops(_before, _now);
  const auto& before = _before.snapshot().trips;
  auto old = before.begin();
  for (const TripForecast& trip : _now.snapshot().trips) {
    for (; old != before.end() && old->trip < trip.trip; ++old) stops.mark_all(*old);
    if (old != before.end() && old->trip == trip.trip) {
      stops.mark_changes(*old++, trip);
    } else {
      stops.mark_all(trip);
    }
  }
  for (; old != before.end(); ++old) stops.mark_all(*old);
  return stops.take();
}

}  // namespace qiv
