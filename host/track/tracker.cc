#include "track/tracker.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <variant>

#include "track/detour.h"
#include "track/gate.h"
#include "track/locate.h"
#include "track/standing.h"
#include "track/trip_guess.h"

namespace qiv {

const char* to_string(VehicleStatus status) {
  switch (status) {
    case VehicleStatus::under_way:
      return "under way";
    case VehicleStatus::waiting:
      return "waiting";
    case VehicleStatus::at_terminus:
      return "at terminus";
    case VehicleStatus::standing:
      return "standing too long";
    case VehicleStatus::off_route:
      return "off route";
    case VehicleStatus::detoured:
      return "detoured";
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

const VehicleId& vehicle_of(const TrackEvent& event) {
  return std::visit(
      [](const auto& e) -> const VehicleId& {
        if constexpr (requires { e.run; }) {
          return e.run.vehicle;
        } else {
          return e.vehicle;
        }
      },
      event);
}

namespace {

/// True where the report states the trip with its day: no timetable need be asked which one it
/// means.
bool names(const VehiclePosition& report, const TripKey& trip) {
  return report.trip == trip.trip && report.start_date == trip.day &&
         report.start_time.value_or(Seconds(0)) == trip.start;
}

}  // namespace

struct Tracker::State {
  struct Followed {
    VehicleReport said;
    Instant last_received{};
    std::optional<Gate> gate;
    std::optional<TripKey> done;     ///< the trip that it has ended, and may go on reporting
    std::optional<TripGuess> guess;  ///< of a vehicle whose reports name no trip
    bool guessed = false;            ///< `gate` is of the trip that was guessed
    std::optional<Instant> left;     ///< the path of its trip, by the clock of receipt
    Detour detour;                   ///< since then

    VehicleReport report() const {
      VehicleReport told = said;
      if (gate) told.trip = gate->trip().key;
      if (guessed) told.confidence = guess->assignment()->confidence;
      return told;
    }
  };

  /// The trip of a report: named by it, or assigned with some confidence.
  struct FoundTrip {
    ScheduledTrip trip;
    std::optional<double> confidence = std::nullopt;
  };

  State(const Network& n, TrackOptions o) : network(n), options(o) {}

  void update(const VehiclePosition& report, std::vector<TrackEvent>& events);
  void advance(Instant now, std::vector<TrackEvent>& events);
  void end(Followed& vehicle, TripEnded::Reason reason, Instant received,
           std::vector<TrackEvent>& events);
  std::optional<FoundTrip> find_trip(Followed& vehicle, const VehiclePosition& report);
  std::optional<FoundTrip> guess_trip(Followed& vehicle, const VehiclePosition& report,
                                      std::vector<TrackEvent>& events);
  void repeat(Followed& vehicle, const VehiclePosition& report);
  void judge_motion(Followed& vehicle, Instant seen, Instant received);
  void catch_up(Followed& vehicle, const VehiclePosition& report, std::vector<TrackEvent>& events);
  bool board(Followed& vehicle, const FoundTrip& found, const VehiclePosition& report,
             std::vector<TrackEvent>& events);
  void follow(Followed& vehicle, const VehiclePosition& report, std::vector<TrackEvent>& events);
  void lose(Followed& vehicle, const VehiclePosition& report, std::vector<TrackEvent>& events);
  void set(Followed& vehicle, VehicleStatus status, Instant received);
  void reject(Followed& vehicle, VehicleStatus status, const VehiclePosition& report);

  const Network& network;
  TrackOptions options;
  std::map<VehicleId, Followed> vehicles;
  std::unique_ptr<TripFinder> finder;    ///< made when it is first asked
  Instant quiet_until = Instant::min();  ///< no vehicle falls silent before
  Rejections rejections;
};

Tracker::Tracker(const Network& network, TrackOptions options)
    : _state(std::make_unique<State>(network, options)) {}

Tracker::Tracker(Tracker&&) noexcept = default;
Tracker& Tracker::operator=(Tracker&&) noexcept = default;
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
  for (const auto& [id, vehicle] : _state->vehicles) said.push_back(vehicle.report());
  return said;
}

std::optional<Tracker::VehicleReport> Tracker::vehicle(const VehicleId& id) const {
  const auto entry = _state->vehicles.find(id);
  if (entry == _state->vehicles.end()) return std::nullopt;
  return entry->second.report();
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
  const bool guesses = report.trip.empty() && options.assign_trips;
  const auto found = guesses ? guess_trip(vehicle, report, events) : find_trip(vehicle, report);
  if (!found || !board(vehicle, *found, report, events)) return;
  if (repeated) {
    events.push_back(StillThere{report.vehicle, found->trip.key, report.received, report.received});
    repeat(vehicle, report);
  } else {
    follow(vehicle, report, events);
  }
}

std::optional<Tracker::State::FoundTrip> Tracker::State::find_trip(Followed& vehicle,
                                                                   const VehiclePosition& report) {
  if (report.trip.empty()) {
    reject(vehicle, VehicleStatus::no_trip, report);
    return std::nullopt;
  }
  if (vehicle.gate && names(report, vehicle.gate->trip().key)) {
    return FoundTrip{vehicle.gate->trip()};
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
  return FoundTrip{network.schedule(*plan, *day)};
}

/// The trip that the course of a vehicle tells whose report names none.
std::optional<Tracker::State::FoundTrip> Tracker::State::guess_trip(
    Followed& vehicle, const VehiclePosition& report, std::vector<TrackEvent>& events) {
  if (!finder) finder = std::make_unique<TripFinder>(network, options);
  if (!vehicle.guess) vehicle.guess.emplace();
  const std::optional<TripGuess::Assignment> found = vehicle.guess->take(*finder, report);
  if (vehicle.guessed && (!found || vehicle.gate->trip().key != found->trip.key)) {
    const bool wrong = vehicle.guess->contradicted();
    end(vehicle, wrong ? TripEnded::Reason::withdrawn : TripEnded::Reason::next_trip,
        report.received, events);
  }
  if (found) return FoundTrip{found->trip, found->confidence};
  reject(vehicle, VehicleStatus::no_trip, report);
  return std::nullopt;
}

/// A feed that states arrivals and departures repeats the last one for as long as it holds.
void Tracker::State::repeat(Followed& vehicle, const VehiclePosition& report) {
  const bool followed = vehicle.said.status == VehicleStatus::under_way;
  const auto last = vehicle.gate->last();
  if (followed && last && last->evidence == Evidence::arrival) {
    judge_motion(vehicle, report.received, report.received);
  }
}

/// What the vehicle did on its trip before that was known is passed on when it is.
void Tracker::State::catch_up(Followed& vehicle, const VehiclePosition& report,
                              std::vector<TrackEvent>& events) {
  for (VehiclePosition earlier : vehicle.guess->course()) {
    if (!vehicle.gate) return;
    earlier.received = report.received;
    follow(vehicle, earlier, events);
  }
}

/// Puts the vehicle on the trip. False when it has ended that trip already.
bool Tracker::State::board(Followed& vehicle, const FoundTrip& found, const VehiclePosition& report,
                           std::vector<TrackEvent>& events) {
  const ScheduledTrip& trip = found.trip;
  if (vehicle.gate && vehicle.gate->trip().key == trip.key) {
    vehicle.guessed = found.confidence.has_value();
    return true;
  }
  if (vehicle.gate) end(vehicle, TripEnded::Reason::next_trip, report.received, events);
  if (vehicle.done == trip.key) return false;
  vehicle.done.reset();
  vehicle.gate.emplace(report.vehicle, trip, network.pattern(trip.pattern()), options);
  vehicle.guessed = found.confidence.has_value();
  events.push_back(
      TripAssigned{report.vehicle, trip.key, trip.pattern(), report.received, found.confidence});
  set(vehicle, VehicleStatus::waiting, report.received);
  if (vehicle.guessed) catch_up(vehicle, report, events);
  return vehicle.gate.has_value();
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
  vehicle.left.reset();
  const Gate::Verdict verdict = gate.take(places, report.time, report.received, events);
  if (verdict == Gate::Verdict::finished) {
    end(vehicle, TripEnded::Reason::finished, report.received, events);
    set(vehicle, VehicleStatus::at_terminus, report.received);
    return;
  }
  if (verdict == Gate::Verdict::still_there) {
    judge_motion(vehicle, report.time, report.received);
  } else {
    set(vehicle, gate.last() ? VehicleStatus::under_way : VehicleStatus::waiting, report.received);
  }
}

/// Under way, or standing too long, of a vehicle that has made progress and was still there when it
/// was `seen`.
void Tracker::State::judge_motion(Followed& vehicle, Instant seen, Instant received) {
  const ScheduledTrip& trip = vehicle.gate->trip();
  const Seconds stood =
      time_standing(*vehicle.gate->last(), trip, network.pattern(trip.pattern()), seen, options);
  set(vehicle, stood > options.standing ? VehicleStatus::standing : VehicleStatus::under_way,
      received);
}

void Tracker::State::lose(Followed& vehicle, const VehiclePosition& report,
                          std::vector<TrackEvent>& events) {
  Gate& gate = *vehicle.gate;
  gate.leave_route();
  if (!vehicle.left) {
    vehicle.left = report.received;
    vehicle.detour = Detour();
  }
  if (const auto last = gate.last()) {
    vehicle.detour.take(report, *last, network.polyline(gate.trip().pattern()), options);
  }
  const bool beside = vehicle.detour.beside();
  reject(vehicle, beside ? VehicleStatus::detoured : VehicleStatus::off_route, report);
  if (report.received - *vehicle.left >
      (beside ? options.detour_patience : options.off_route_patience)) {
    end(vehicle, TripEnded::Reason::off_route, report.received, events);
  }
}

void Tracker::State::advance(Instant now, std::vector<TrackEvent>& events) {
  if (now < quiet_until) return;
  const Seconds limit = options.silence + Seconds(1);
  quiet_until = now + limit;
  std::vector<Followed*> silent;
  for (auto entry = vehicles.begin(); entry != vehicles.end();) {
    Followed& vehicle = entry->second;
    if (now - vehicle.last_received > options.memory && !vehicle.gate) {
      entry = vehicles.erase(entry);
      continue;
    }
    if (vehicle.last_received + limit <= now) {
      silent.push_back(&vehicle);
    } else {
      quiet_until = std::min(quiet_until, vehicle.last_received + limit);
    }
    ++entry;
  }
  std::stable_sort(silent.begin(), silent.end(), [](const Followed* a, const Followed* b) {
    return a->last_received < b->last_received;
  });
  for (Followed* const vehicle : silent) {
    const Instant due = vehicle->last_received + limit;
    end(*vehicle, TripEnded::Reason::silent, due, events);
    set(*vehicle, VehicleStatus::stale, due);
  }
}

void Tracker::State::end(Followed& vehicle, TripEnded::Reason reason, Instant received,
                         std::vector<TrackEvent>& events) {
  if (!vehicle.gate) return;
  const ScheduledTrip trip = vehicle.gate->trip();
  TripRun run = vehicle.gate->run();
  if (reason == TripEnded::Reason::withdrawn) run.progress.clear();
  events.push_back(TripEnded{std::move(run), reason, received});
  const bool guess_knows = vehicle.guessed && !(vehicle.guess->assignment() &&
                                                vehicle.guess->assignment()->trip.key == trip.key);
  if (vehicle.guess && !guess_knows) {
    vehicle.guess->ended(trip, reason == TripEnded::Reason::finished);
  }
  vehicle.gate.reset();
  vehicle.guessed = false;
  vehicle.left.reset();
  vehicle.done.reset();
  if (reason == TripEnded::Reason::finished) vehicle.done = trip.key;
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
