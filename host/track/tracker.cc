#include "track/tracker.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>

#include "track/gate.h"
#include "track/locate.h"

namespace qiv {

const char* to_string(VehicleStatus status) {
  switch (status) {
    case VehicleStatus::under_way:
      return "under way";
    case VehicleStatus::waiting:
      return "waiting";
    case VehicleStatus::at_terminus:
      return "at terminus";
    case VehicleStatus::off_route:
      return "off route";
    case VehicleStatus::no_trip:
      return "no trip";
    case VehicleStatus::unknown_trip:
      return "unknown trip";
    case VehicleStatus::not_in_service:
      return "trip not in service";
    case VehicleStatus::stale:
      return "stale";
    case VehicleStatus::doubled:
      return "second vehicle on a trip";
  }
  return "unknown";
}

struct Tracker::State {
  struct Followed {
    VehicleReport said;
    Instant last_received{};
    std::optional<Gate> gate;
    std::optional<TripKey> done;  ///< the trip that it has ended, and may go on reporting
  };

  State(const Network& n, TrackOptions o) : network(n), options(o) {}

  void update(const VehiclePosition& report, std::vector<TrackEvent>& events);
  void advance(Instant now, std::vector<TrackEvent>& events);
  void end(Followed& vehicle, TripEnded::Reason reason, Instant received,
           std::vector<TrackEvent>& events);
  std::optional<ScheduledTrip> find_trip(Followed& vehicle, const VehiclePosition& report);
  bool lead(Followed& vehicle, const ScheduledTrip& trip, const VehiclePosition& report,
            std::vector<TrackEvent>& events);
  void follow(Followed& vehicle, const VehiclePosition& report, std::vector<TrackEvent>& events);
  void lose(Followed& vehicle, const VehiclePosition& report, std::vector<TrackEvent>& events);
  void set(Followed& vehicle, VehicleStatus status, Instant received);
  void reject(Followed& vehicle, VehicleStatus status, const VehiclePosition& report);

  const Network& network;
  TrackOptions options;
  std::map<VehicleId, Followed> vehicles;
  std::map<TripKey, VehicleId> leaders;
  Instant quiet_until = Instant::min();  ///< no vehicle falls silent before
  Rejections rejections;
};

Tracker::Tracker(const Network& network, TrackOptions options)
    : _state(std::make_unique<State>(network, options)) {}

Tracker::~Tracker() = default;

void Tracker::update(const VehiclePosition& report, std::vector<TrackEvent>& events) {
  _state->update(report, events);
}

void Tracker::advance(Instant now, std::vector<TrackEvent>& events) {
  _state->advance(now, events);
}

void Tracker::release(const VehicleId& vehicle, Instant now, std::vector<TrackEvent>& events) {
  const auto entry = _state->vehicles.find(vehicle);
  if (entry == _state->vehicles.end()) return;
  _state->end(entry->second, TripEnded::Reason::next_trip, now, events);
}

void Tracker::finish(std::vector<TrackEvent>& events) {
  for (auto& [id, vehicle] : _state->vehicles) {
    _state->end(vehicle, TripEnded::Reason::silent, vehicle.last_received, events);
  }
}

std::vector<Tracker::VehicleReport> Tracker::vehicles() const {
  std::vector<VehicleReport> said;
  said.reserve(_state->vehicles.size());
  for (const auto& [id, vehicle] : _state->vehicles) {
    said.push_back(vehicle.said);
    if (vehicle.gate) said.back().trip = vehicle.gate->trip().key;
  }
  return said;
}

const Rejections& Tracker::rejections() const {
  return _state->rejections;
}

void Tracker::State::update(const VehiclePosition& report, std::vector<TrackEvent>& events) {
  const auto quote = [&] { return report.vehicle.text() + " at " + format_utc(report.time); };
  if (report.vehicle.empty()) {
    rejections.add("report without vehicle", quote);
    return;
  }
  const auto [entry, added] = vehicles.try_emplace(report.vehicle);
  Followed& vehicle = entry->second;
  if (added) vehicle.said.vehicle = report.vehicle;
  if (!added && report.time < vehicle.said.last_report) {
    rejections.add("report older than the vehicle's last", quote);
    return;
  }
  const bool repeated = !added && report.time == vehicle.said.last_report;
  vehicle.said.last_report = report.time;
  vehicle.last_received = std::max(vehicle.last_received, report.received);
  const std::optional<ScheduledTrip> trip = find_trip(vehicle, report);
  if (!trip || !lead(vehicle, *trip, report, events)) return;
  if (repeated) {
    events.push_back(StillThere{report.vehicle, trip->key, report.received, report.received});
  } else {
    follow(vehicle, report, events);
  }
}

std::optional<ScheduledTrip> Tracker::State::find_trip(Followed& vehicle,
                                                       const VehiclePosition& report) {
  if (report.trip.empty()) {
    reject(vehicle, VehicleStatus::no_trip, report);
    return std::nullopt;
  }
  const TripPlan* const plan =
      network.nearest_repetition(report.trip, report.start_time.value_or(Seconds(0)));
  if (plan == nullptr) {
    reject(vehicle, VehicleStatus::unknown_trip, report);
    return std::nullopt;
  }
  const std::optional<ServiceDate> day =
      report.start_date ? report.start_date : network.nearest_service_day(*plan, report.time);
  if (!day) {
    reject(vehicle, VehicleStatus::not_in_service, report);
    return std::nullopt;
  }
  return network.schedule(*plan, *day);
}

/// Makes the vehicle the one that serves `trip`. False when it has ended that trip already, or when
/// another vehicle leads on it.
bool Tracker::State::lead(Followed& vehicle, const ScheduledTrip& trip,
                          const VehiclePosition& report, std::vector<TrackEvent>& events) {
  if (vehicle.gate && vehicle.gate->trip().key == trip.key) return true;
  if (vehicle.gate) end(vehicle, TripEnded::Reason::next_trip, report.received, events);
  if (vehicle.done == trip.key) return false;
  const auto [leader, free] = leaders.try_emplace(trip.key, report.vehicle);
  if (!free && leader->second != report.vehicle) {
    reject(vehicle, VehicleStatus::doubled, report);
    return false;
  }
  vehicle.done.reset();
  vehicle.gate.emplace(report.vehicle, trip, network.pattern(trip.pattern()), options);
  events.push_back(TripAssigned{report.vehicle, trip.key, trip.pattern(), report.received});
  set(vehicle, VehicleStatus::waiting, report.received);
  return true;
}

void Tracker::State::follow(Followed& vehicle, const VehiclePosition& report,
                            std::vector<TrackEvent>& events) {
  Gate& gate = *vehicle.gate;
  const Expectation expected{gate.last(), report.time};
  std::vector<Sighting> places;
  if (const auto stated = stated_place(network, gate.trip(), report, expected, options)) {
    places.push_back(*stated);
  } else {
    places = matched_places(network, gate.trip(), report, expected, options);
  }
  if (places.empty()) {
    lose(vehicle, report, events);
    return;
  }
  const Gate::Verdict verdict = gate.take(places, report.time, report.received, events);
  if (verdict == Gate::Verdict::finished) {
    end(vehicle, TripEnded::Reason::finished, report.received, events);
    set(vehicle, VehicleStatus::at_terminus, report.received);
  } else {
    set(vehicle, gate.last() ? VehicleStatus::under_way : VehicleStatus::waiting, report.received);
  }
}

void Tracker::State::lose(Followed& vehicle, const VehiclePosition& report,
                          std::vector<TrackEvent>& events) {
  reject(vehicle, VehicleStatus::off_route, report);
  vehicle.gate->leave_route();
  if (report.received - vehicle.said.since > options.off_route_patience) {
    end(vehicle, TripEnded::Reason::off_route, report.received, events);
  }
}

void Tracker::State::advance(Instant now, std::vector<TrackEvent>& events) {
  if (now < quiet_until) return;
  quiet_until = now + options.silence;
  for (auto vehicle = vehicles.begin(); vehicle != vehicles.end();) {
    Followed& followed = vehicle->second;
    const Seconds silent = now - followed.last_received;
    if (silent > options.silence) {
      end(followed, TripEnded::Reason::silent, now, events);
      set(followed, VehicleStatus::stale, now);
    } else {
      quiet_until = std::min(quiet_until, followed.last_received + options.silence);
    }
    vehicle = silent > options.memory ? vehicles.erase(vehicle) : std::next(vehicle);
  }
}

void Tracker::State::end(Followed& vehicle, TripEnded::Reason reason, Instant received,
                         std::vector<TrackEvent>& events) {
  if (!vehicle.gate) return;
  const TripKey trip = vehicle.gate->trip().key;
  events.push_back(TripEnded{vehicle.gate->run(), reason, received});
  vehicle.gate.reset();
  vehicle.done.reset();
  if (reason == TripEnded::Reason::finished) {
    vehicle.done = trip;
  } else {
    leaders.erase(trip);
  }
}

void Tracker::State::set(Followed& vehicle, VehicleStatus status, Instant received) {
  if (vehicle.said.status == status && vehicle.said.since != Instant{}) return;
  vehicle.said.status = status;
  vehicle.said.since = received;
}

void Tracker::State::reject(Followed& vehicle, VehicleStatus status,
                            const VehiclePosition& report) {
  set(vehicle, status, report.received);
  rejections.add(to_string(status), [&] {
    return report.vehicle.text() + " at " + format_utc(report.time) + ", trip '" +
           report.trip.text() + "'";
  });
}

}  // namespace qiv
