#include "engine/trip_roster.h"

#include <algorithm>
#include <tuple>
#include <variant>

namespace qiv {

TripRoster::TripRoster(const Network& network, Seconds announce, Seconds ghost_patience)
    : _network(network), _announce(announce), _ghost_patience(ghost_patience) {}

void TripRoster::apply(const TrackEvent& event) {
  if (const auto* const assigned = std::get_if<TripAssigned>(&event)) {
    board(*assigned);
  } else if (const auto* const progress = std::get_if<Progress>(&event)) {
    _trips[progress->trip].begun = true;
  } else if (const auto* const ended = std::get_if<TripEnded>(&event)) {
    leave(*ended);
  }
}

void TripRoster::board(const TripAssigned& event) {
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

std::vector<ScheduledTrip> TripRoster::announced(Instant now) {
  std::vector<ScheduledTrip> result;
  const Instant from = now - _ghost_patience;
  const Instant until = now + _announce;
  const ServiceDate today = _network.clock().local_day(now);
  forget_before(today - std::chrono::days(3));
  for (const std::chrono::days shift :
       {std::chrono::days(-1), std::chrono::days(0), std::chrono::days(1)}) {
    const ServiceDate day = today + shift;
    auto entry = _trips_on.find(day);
    if (entry == _trips_on.end()) entry = _trips_on.emplace(day, _network.trips_on(day)).first;
    const Instant zero = _network.clock().zero(day);
    const std::vector<TripIndex>& trips = entry->second;
    auto trip = std::partition_point(trips.begin(), trips.end(), [&](TripIndex index) {
      return zero + _network.trip(index).departure() < from;
    });
    for (; trip != trips.end() && zero + _network.trip(*trip).departure() <= until; ++trip) {
      const TripPlan& plan = _network.trip(*trip);
      const auto known = _trips.find(TripKey{plan.id, day, plan.start});
      if (known != _trips.end() && (known->second.begun || leader(known->first) != nullptr)) {
        continue;
      }
      result.push_back(_network.schedule(plan, day));
    }
  }
  return result;
}

/// What has been of these days will not be asked again.
void TripRoster::forget_before(ServiceDate day) {
  if (_trips_on.empty() || _trips_on.begin()->first >= day) return;
  _trips_on.erase(_trips_on.begin(), _trips_on.lower_bound(day));
  std::erase_if(_trips, [&](const auto& entry) {
    return entry.first.day < day &&
           std::ranges::all_of(entry.second.riders, [](const Rider& r) { return r.finished; });
  });
}

}  // namespace qiv
