#include "serve/agency/agency_statements.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "serve/agency/resolve_changes.h"

namespace qiv {
namespace {

/// What alerts say changes with time: it is looked at again after so long.
constexpr Seconds resolved_for{30};
constexpr Seconds canceled_ahead = std::chrono::hours(24);

bool is_running(const TripForecast& trip) {
  return !trip.vehicle.empty() &&
         (trip.state == TripState::under_way || trip.state == TripState::overdue ||
          trip.state == TripState::finished);
}

const TripForecast* find(const std::vector<TripForecast>& trips, const TripKey& key) {
  const auto found =
      std::lower_bound(trips.begin(), trips.end(), key,
                       [](const TripForecast& trip, const TripKey& k) { return trip.trip < k; });
  return found != trips.end() && found->trip == key ? &*found : nullptr;
}

/// The trip as the timetable has it, to be shown as canceled; nothing outside of the time in which
/// it is.
std::optional<TripForecast> canceled_trip(const TripKey& key, const Network& network, Instant now) {
  const auto schedule = network.schedule(key);
  if (!schedule || !network.runs_on(*schedule->plan, key.day)) return std::nullopt;
  if (schedule->last_arrival() < now || schedule->first_departure() > now + canceled_ahead) {
    return std::nullopt;
  }
  const JourneyPattern& pattern = network.pattern(schedule->pattern());
  TripForecast trip;
  trip.trip = key;
  trip.pattern = pattern.ref;
  trip.state = TripState::canceled;
  trip.basis = ForecastBasis::timetable;
  trip.made = now;
  std::vector<StopForecast> stops(pattern.stops.size());
  for (std::size_t i = 0; i < stops.size(); ++i) {
    const Instant arrival = schedule->arrival(i);
    stops[i].stop = pattern.stops[i].stop;
    stops[i].stop_sequence = schedule->plan->call(i).sequence;
    stops[i].arrival = {arrival, arrival, arrival, arrival, arrival};
    stops[i].departure = schedule->departure(i);
    stops[i].library_lower = stops[i].library_upper = arrival;
  }
  trip.stops = std::move(stops);
  return trip;
}

void mark_skipped(TripForecast& trip, const std::set<std::size_t>& calls) {
  for (const std::size_t call : calls) {
    if (call < trip.stops.size()) trip.stops.edit()[call].skipped = true;
  }
}

/// The trips with those that are canceled in their places.
std::vector<TripForecast> changed_trips(std::vector<TripForecast>&& trips,
                                        const ServiceChanges& changes, const Network& network,
                                        Instant now) {
  std::vector<TripForecast> result;
  result.reserve(trips.size() + changes.trips.size());
  auto trip = trips.begin();
  for (const auto& [key, change] : changes.trips) {
    for (; trip != trips.end() && trip->trip < key; ++trip) result.push_back(std::move(*trip));
    const bool is_shown = trip != trips.end() && trip->trip == key;
    if (change.canceled && !change.contradicted) {
      if (auto canceled = canceled_trip(key, network, now)) result.push_back(std::move(*canceled));
    } else if (is_shown) {
      mark_skipped(*trip, change.skipped);
      result.push_back(std::move(*trip));
    }
    if (is_shown) ++trip;
  }
  std::move(trip, trips.end(), std::back_inserter(result));
  return result;
}

void explain_vehicles(std::vector<VehicleView>& vehicles, const ServiceChanges& changes) {
  for (VehicleView& vehicle : vehicles) {
    if (vehicle.status == VehicleStatus::unknown_trip && changes.is_added(vehicle.reported_trip)) {
      vehicle.reason = "trip added by the agency";
    }
    const TripChange* const change = vehicle.trip ? changes.find(*vehicle.trip) : nullptr;
    if (change == nullptr || !change->canceled) continue;
    vehicle.reason = change->contradicted ? "under way on a trip that the agency calls canceled"
                                          : "trip canceled by the agency";
  }
}

}  // namespace

void AgencyStatements::take(AgencyReport report) {
  const auto known = _reports.find(report.source);
  const bool is_new = known == _reports.end() || known->second.content != report.content;
  if (is_new) _resolved = nullptr;
  std::string source = report.source;
  _reports.insert_or_assign(std::move(source), std::move(report));
}

std::shared_ptr<const ServiceChanges> AgencyStatements::resolved(const Snapshot& snapshot) {
  const Seconds age = snapshot.now - _resolved_at;
  if (_resolved != nullptr && _resolved_on == snapshot.network && age >= Seconds(0) &&
      age < resolved_for) {
    return _resolved;
  }
  auto changes = std::make_shared<ServiceChanges>();
  for (const auto& [name, report] : _reports) {
    if (report.holds(snapshot.now)) {
      resolve_changes(report, *snapshot.network, snapshot.now, *changes);
    }
  }
  _resolved_at = snapshot.now;
  _resolved_on = snapshot.network;
  std::erase_if(_contradicted, [&](const TripKey& trip) {
    const TripChange* const change = changes->find(trip);
    return change == nullptr || !change->canceled;
  });
  _resolved = std::move(changes);
  return _resolved;
}

/// A trip that has once been seen under way stays contradicted as long as it is called canceled.
void AgencyStatements::note_contradictions(const Snapshot& snapshot, ServiceChanges& changes) {
  for (auto& [key, change] : changes.trips) {
    if (!change.canceled) continue;
    const TripForecast* const trip = find(snapshot.trips, key);
    if (trip != nullptr && is_running(*trip)) _contradicted.insert(key);
    change.contradicted = _contradicted.contains(key);
  }
}

void AgencyStatements::apply(Snapshot& snapshot) {
  if (_reports.empty() || snapshot.network == nullptr) return;
  auto changes = std::make_shared<ServiceChanges>(*resolved(snapshot));
  note_contradictions(snapshot, *changes);
  snapshot.trips =
      changed_trips(std::move(snapshot.trips), *changes, *snapshot.network, snapshot.now);
  explain_vehicles(snapshot.vehicles, *changes);
  snapshot.changes = std::move(changes);
}

}  // namespace qiv
