#include "serve/agency/resolve_changes.h"

#include <algorithm>
#include <set>
#include <utility>

#include "evaluate/predicted_arrivals.h"

namespace qiv {
namespace {

/// Adds what one source says.
class Resolver {
 public:
  Resolver(const AgencyReport& report, const Network& network, Instant now, ServiceChanges& changes)
      : _report(report), _network(network), _now(now), _changes(changes) {}

  void add(const TripUpdate& update) {
    if (update.status == TripStatus::added) return add_trip(update);
    Rejections not_used;
    const auto trip = named_trip(update, _network, not_used);
    _changes.not_used.merge(not_used);
    if (!trip) return;
    if (update.status == TripStatus::canceled) return cancel(trip->key, "trip update");
    Rejections calls;
    for (const std::size_t call : skipped_calls(update, *trip, _network, calls)) {
      skip(trip->key, call, "trip update");
    }
    _changes.without_data += calls.count("call without data");
  }

  void add(const ServiceAlert& alert) {
    const bool may_be_active =
        alert.periods.empty() ||
        std::any_of(alert.periods.begin(), alert.periods.end(), [&](const ActivePeriod& period) {
          return _now < period.until && period.from <= _now + alerts_look_ahead;
        });
    if (!may_be_active) return;
    if (alert.is_active(_now)) _changes.alerts.push_back(alert);
    if (alert.effect != AlertEffect::no_service) return;
    for (const InformedEntity& entity : alert.informed) apply(alert, entity);
  }

 private:
  void not_used(std::string_view reason, const std::string& what) {
    _changes.not_used.add(reason, [&] { return _report.source + ": " + what; });
  }

  void add_trip(const TripUpdate& update) {
    if (!_network.trips_of(update.trip).empty()) {
      return not_used("trip of the timetable replaced or doubled", update.trip.text());
    }
    AddedTrip added;
    added.trip = update.trip;
    added.route = update.route;
    added.start_date = update.start_date;
    added.start_time = update.start_time;
    added.vehicle = update.vehicle;
    added.calls = update.calls.size();
    added.said_by = _report.source;
    _changes.added.push_back(std::move(added));
  }

  TripChange& change_of(const TripKey& trip, const std::string& why) {
    const auto [entry, is_new] = _changes.trips.try_emplace(trip);
    if (is_new) {
      entry->second.said_by = _report.source;
      entry->second.why = why;
    }
    return entry->second;
  }

  void cancel(const TripKey& trip, const std::string& why) {
    TripChange& change = change_of(trip, why);
    if (!change.canceled) change.why = why;
    change.canceled = true;
  }

  void skip(const TripKey& trip, std::size_t call, const std::string& why) {
    change_of(trip, why).skipped.insert(call);
  }

  void apply(const ServiceAlert& alert, const InformedEntity& entity) {
    const std::string why = alert.header.empty() ? "alert " + alert.id : alert.header;
    if (!entity.stop.empty() && !_network.find_stop(entity.stop)) {
      return not_used("alert for a stop that no trip calls at", entity.stop.text());
    }
    if (!entity.trip.empty()) return apply_to_trip(alert, entity, why);
    if (!entity.route.empty() && _network.find_route(entity.route) == nullptr) {
      return not_used("alert for an unknown route", entity.route.text());
    }
    if (entity.route.empty() && !entity.route_type && entity.stop.empty()) {
      return not_used("alert for a whole agency", entity.agency.text());
    }
    for (const PatternIndex pattern : patterns_of(entity)) {
      for (const TripIndex trip : _network.trips_of(pattern)) {
        apply_to_plan(alert, entity, _network.trip(trip), why);
      }
    }
  }

  /// The patterns of the routes, in the direction, and with the stop that the entity states.
  std::vector<PatternIndex> patterns_of(const InformedEntity& entity) const {
    std::vector<PatternIndex> found;
    const auto stop = _network.find_stop(entity.stop);
    for (PatternIndex i = 0; i < _network.patterns().size(); ++i) {
      const JourneyPattern& pattern = _network.pattern(i);
      const Route* const route = _network.find_route(pattern.route);
      const bool fits =
          (entity.route.empty() || entity.route == pattern.route) &&
          (!entity.route_type || (route != nullptr && route->type == *entity.route_type)) &&
          (!entity.direction || entity.direction == pattern.direction) &&
          (!stop || std::any_of(pattern.stops.begin(), pattern.stops.end(),
                                [&](const PatternStop& s) { return s.stop == *stop; }));
      if (fits) found.push_back(i);
    }
    return found;
  }

  void apply_to_trip(const ServiceAlert& alert, const InformedEntity& entity,
                     const std::string& why) {
    TripUpdate named;
    named.time = _now;
    named.trip = entity.trip;
    named.start_date = entity.start_date;
    named.start_time = entity.start_time;
    const auto trip = named_trip(named, _network, _changes.not_used);
    if (trip) apply_on_day(alert, entity, *trip->plan, trip->key.day, why);
  }

  void apply_to_plan(const ServiceAlert& alert, const InformedEntity& entity, const TripPlan& plan,
                     const std::string& why) {
    const ServiceDate today = _network.clock().local_day(_now);
    for (const int shift : {-1, 0, 1}) {
      const ServiceDate day = today + std::chrono::days(shift);
      const Instant zero = _network.clock().zero(day);
      if (zero + plan.arrival() < _now || zero + plan.departure() > _now + alerts_look_ahead) {
        continue;
      }
      if (_network.runs_on(plan, day)) apply_on_day(alert, entity, plan, day, why);
    }
  }

  void apply_on_day(const ServiceAlert& alert, const InformedEntity& entity, const TripPlan& plan,
                    ServiceDate day, const std::string& why) {
    const Instant zero = _network.clock().zero(day);
    const TripKey key{plan.id, day, plan.start};
    if (entity.stop.empty()) {
      if (alert.is_active(zero + plan.departure())) cancel(key, why);
      return;
    }
    const auto stop = _network.find_stop(entity.stop);
    const auto& stops = _network.pattern(plan.pattern).stops;
    for (std::size_t i = 0; i < stops.size(); ++i) {
      if (stops[i].stop == stop && alert.is_active(zero + plan.call(i).arrival)) skip(key, i, why);
    }
  }

  const AgencyReport& _report;
  const Network& _network;
  Instant _now;
  ServiceChanges& _changes;
};

}  // namespace

void resolve_changes(const AgencyReport& report, const Network& network, Instant now,
                     ServiceChanges& changes) {
  Resolver resolver(report, network, now, changes);
  for (const TripUpdate& update : report.content->updates) resolver.add(update);
  for (const ServiceAlert& alert : report.content->alerts) resolver.add(alert);
  const auto by_name = [](const AddedTrip& a, const AddedTrip& b) { return a.trip < b.trip; };
  std::stable_sort(changes.added.begin(), changes.added.end(), by_name);
  const auto same = [](const AddedTrip& a, const AddedTrip& b) { return a.trip == b.trip; };
  changes.added.erase(std::unique(changes.added.begin(), changes.added.end(), same),
                      changes.added.end());
}

}  // namespace qiv
