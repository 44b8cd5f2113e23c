#include "engine/trip_roster.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <variant>

namespace qiv {
namespace {

constexpr std::chrono::days one_day(1);

}  // namespace

TripRoster::TripRoster(const Network& network, Seconds announce, Seconds ghost_patience)
    : _network(network), _announce(announce), _ghost_patience(ghost_patience) {}

void TripRoster::apply(const TrackEvent& event) {
  if (const auto* const assigned = std::get_if<TripAssigned>(&event)) {
    board(*assigned);
  } else if (const auto* const progress = std::get_if<Progress>(&event)) {
    Entry& entry = _trips[progress->trip];
    if (!entry.begun) note_change(progress->trip);
    entry.begun = true;
  } else if (const auto* const ended = std::get_if<TripEnded>(&event)) {
    leave(*ended);
  }
}

void TripRoster::board(const TripAssigned& event) {
  note_change(event.trip);
  std::vector<Rider>& riders = _trips[event.trip].riders;
  std::erase_if(riders, [&](const Rider& rider) { return rider.vehicle == event.vehicle; });
  const Rider rider{event.confidence.has_value(), event.received, event.vehicle, false};
  const auto place =
      std::upper_bound(riders.begin(), riders.end(), rider, [](const Rider& a, const Rider& b) {
        return std::tie(a.by_course, a.assigned, a.vehicle) <
               std::tie(b.by_course, b.assigned, b.vehicle);
      });
  riders.insert(place, rider);
}

void TripRoster::leave(const TripEnded& event) {
  note_change(event.run.trip);
  const auto entry = _trips.find(event.run.trip);
  if (entry == _trips.end()) return;
  std::vector<Rider>& riders = entry->second.riders;
  const auto rider = std::find_if(riders.begin(), riders.end(),
                                  [&](const Rider& r) { return r.vehicle == event.run.vehicle; });
  if (rider == riders.end()) return;
  if (event.reason == TripEnded::Reason::finished) {
    rider->finished = true;
    return;
  }
  riders.erase(rider);
  if (riders.empty() && !entry->second.begun) _trips.erase(entry);
}

const VehicleId* TripRoster::leader(const TripKey& trip) const {
  const auto entry = _trips.find(trip);
  if (entry == _trips.end() || entry->second.riders.empty()) return nullptr;
  const Rider& first = entry->second.riders.front();
  return first.finished ? nullptr : &first.vehicle;
}

bool TripRoster::leads(const VehicleId& vehicle, const TripKey& trip) const {
  const VehicleId* const first = leader(trip);
  return first != nullptr && *first == vehicle;
}

std::optional<ScheduledTrip> TripRoster::announced(const TripKey& trip, Instant now) const {
  const auto known = _trips.find(trip);
  const bool is_known = known != _trips.end();
  if (is_known && (known->second.begun || leader(trip) != nullptr)) return std::nullopt;
  const ServiceDate today = _network.clock().local_day(now);
  if (trip.day < today - one_day || trip.day > today + one_day) return std::nullopt;
  std::optional<ScheduledTrip> schedule = _network.schedule(trip);
  if (!schedule || !_network.runs_on(*schedule->plan, trip.day)) return std::nullopt;
  const Instant departure = schedule->first_departure();
  if (departure < now - _ghost_patience || departure > now + _announce) return std::nullopt;
  return schedule;
}

std::vector<TripKey> TripRoster::changed(Instant now) {
  if (!_notes_changes) {
    _notes_changes = true;
    for (const auto& [trip, entry] : _trips) _changed.push_back(trip);
  }
  const ServiceDate today = _network.clock().local_day(now);
  for (const ServiceDate date : {today - one_day, today, today + one_day}) {
    if (!_days.contains(date)) _days.emplace(date, Day{_network.trips_on(date)});
  }
  for (auto& [date, day] : _days) move_window(date, day, now);
  forget_before(today - std::chrono::days(3));
  return std::exchange(_changed, {});
}

void TripRoster::note_change(const TripKey& trip) {
  if (_notes_changes) _changed.push_back(trip);
}

/// Notes the trips of the day that time has brought into the window or out of it.
void TripRoster::move_window(ServiceDate date, Day& day, Instant now) {
  const Instant zero = _network.clock().zero(date);
  const ServiceDate today = _network.clock().local_day(now);
  const auto place_of = [&](auto is_before) {
    const auto place = std::partition_point(day.trips.begin(), day.trips.end(), [&](TripIndex i) {
      return is_before(zero + _network.trip(i).departure());
    });
    return static_cast<std::size_t>(place - day.trips.begin());
  };
  const bool is_near = today - one_day <= date && date <= today + one_day;
  const std::size_t first =
      is_near ? place_of([&](Instant at) { return at < now - _ghost_patience; }) : day.end;
  const std::size_t end =
      is_near ? place_of([&](Instant at) { return at <= now + _announce; }) : day.end;
  if (day.first == day.end) day.first = day.end = first;
  const auto note = [&](std::size_t a, std::size_t b) {
    for (std::size_t i = std::min(a, b); i < std::max(a, b); ++i) {
      const TripPlan& plan = _network.trip(day.trips[i]);
      _changed.push_back({plan.id, date, plan.start});
    }
  };
  note(day.first, first);
  note(day.end, end);
  day.first = first;
  day.end = end;
}

/// What has been of these days will not be asked again.
void TripRoster::forget_before(ServiceDate day) {
  if (_days.empty() || _days.begin()->first >= day) return;
  _days.erase(_days.begin(), _days.lower_bound(day));
  std::erase_if(_trips, [&](const auto& entry) {
    return entry.first.day < day &&
           std::ranges::all_of(entry.second.riders, [](const Rider& r) { return r.finished; });
  });
}

}  // namespace qiv
