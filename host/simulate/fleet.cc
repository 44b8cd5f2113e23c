#include "simulate/fleet.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "geo/distance.h"

namespace qiv {
namespace {

constexpr double before_departure_s = 300.0;
constexpr double after_arrival_s = 60.0;
constexpr Seconds shown_for{300};
constexpr Seconds gap_length{120};

double seconds(Instant time) {
  return static_cast<double>(unix_seconds(time));
}

std::uint64_t key(Instant time) {
  return static_cast<std::uint64_t>(unix_seconds(time));
}

/// Vehicles of two days that follow each other are told apart by their first letter.
char letter_of(ServiceDate day) {
  return day.days().time_since_epoch().count() % 2 == 0 ? 'A' : 'B';
}

/// The place `aside_m` to the right of a path that runs towards `heading_deg`.
LatLon aside(const LatLon& place, double heading_deg, double aside_m) {
  const double right = (heading_deg + 90.0) * 3.14159265358979323846 / 180.0;
  const MetresPerDegree scale = metres_per_degree(place.lat_deg);
  return {place.lat_deg + aside_m * std::cos(right) / scale.north,
          place.lon_deg + aside_m * std::sin(right) / scale.east};
}

}  // namespace

struct Fleet::Vehicle {
  const Duties& duties;
  std::size_t number = 0;
  std::uint64_t id = 0;  ///< of number and day, for drawing

  Vehicle(const Duties& of, std::size_t n)
      : duties(of), number(n), id(n ^ (key(of.zero()) << 24U)) {}

  VehicleId name() const { return VehicleId(letter_of(duties.day()) + std::to_string(number + 1)); }
};

Fleet::Fleet(const Network& network, const FleetOptions& options)
    : _network(network),
      _options(options),
      _draw(options.seed),
      _driver(_draw, Traffic(_draw, options.traffic)) {}

Fleet::~Fleet() = default;

const std::vector<std::unique_ptr<Duties>>& Fleet::duties_at(Instant now) {
  const std::vector<ServiceDate> days = _network.service_days(now, Seconds(3600));
  std::vector<std::unique_ptr<Duties>> duties;
  for (const ServiceDate day : days) {
    const auto known = std::find_if(_duties.begin(), _duties.end(),
                                    [&](const auto& d) { return d != nullptr && d->day() == day; });
    duties.push_back(known != _duties.end()
                         ? std::move(*known)
                         : std::make_unique<Duties>(_network, day, _options, _driver));
  }
  _duties = std::move(duties);
  return _duties;
}

/// The trip that the vehicle runs or waits for.
bool Fleet::is_on_road(const Vehicle& vehicle, double time_s, const DutyTrip*& trip) const {
  const auto trips = vehicle.duties.trips_of(vehicle.number);
  const auto next = std::find_if(trips.begin(), trips.end(), [&](const DutyTrip& candidate) {
    return time_s <= candidate.arrives_s + after_arrival_s / 2.0;
  });
  if (next != trips.end() && time_s >= next->departs_s - before_departure_s) {
    trip = &*next;
    return true;
  }
  if (next == trips.begin() || time_s > std::prev(next)->arrives_s + after_arrival_s) return false;
  trip = &*std::prev(next);
  return true;
}

/// When the report was made that came in last before `now`.
std::optional<Instant> Fleet::last_report(const Vehicle& vehicle, Instant now) const {
  const auto every = static_cast<std::uint64_t>(_options.every.count());
  const std::uint64_t phase = _draw.bits(Chance::phase, {vehicle.id}) % every;
  const auto newest = Instant(Seconds((key(now) - phase) / every * every + phase));
  std::optional<Instant> last;
  double last_came_s = 0.0;
  for (Instant time = newest; now - time <= shown_for; time -= _options.every) {
    if (last && seconds(time + _options.latest) <= last_came_s) break;
    const auto stretch = key(time) / static_cast<std::uint64_t>(gap_length.count());
    if (_draw.share(Chance::gap, {vehicle.id, stretch}) < _options.gap_share) continue;
    double came_s = seconds(time);
    if (_draw.share(Chance::late, {vehicle.id, key(time)}) < _options.late_share) {
      came_s += _draw.share(Chance::late_by, {vehicle.id, key(time)}) *
                static_cast<double>(_options.latest.count());
    }
    if (came_s > seconds(now) || (last && came_s <= last_came_s)) continue;
    last = time;
    last_came_s = came_s;
  }
  return last;
}

void Fleet::write_motion(const Vehicle& vehicle, const DutyTrip& duty, Instant time,
                         VehiclePosition& position) {
  const TripPlan& trip = _network.trip(duty.trip);
  const JourneyPattern& pattern = _network.pattern(trip.pattern);
  const Polyline& line = _network.polyline(trip.pattern);
  const double offset_m = _times.offset_m(pattern, seconds(time));
  const double heading = line.heading_at(offset_m);
  LatLon place = line.point_at(offset_m);
  const std::uint64_t day = key(vehicle.duties.zero());
  if (trip.size() >= 4 && _draw.share(Chance::detour, {duty.trip, day}) < _options.detour_share) {
    const std::size_t from =
        1 + _draw.bits(Chance::detour_place, {duty.trip, day}) % (trip.size() - 3);
    const double begin_m = pattern.stops[from].offset_m;
    const double length_m = pattern.stops[from + 2].offset_m - begin_m;
    const double part = length_m > 0.0 ? (offset_m - begin_m) / length_m : -1.0;
    const double way = std::clamp(4.0 * std::min(part, 1.0 - part), 0.0, 1.0);
    if (way > 0.0) place = aside(place, heading, way * _options.detour_m);
  }
  const MetresPerDegree scale = metres_per_degree(place.lat_deg);
  place.lat_deg +=
      _options.noise_m * _draw.normal(Chance::noise_north, {vehicle.id, key(time)}) / scale.north;
  place.lon_deg +=
      _options.noise_m * _draw.normal(Chance::noise_east, {vehicle.id, key(time)}) / scale.east;
  position.place = place;
  position.bearing_deg = heading;
  position.speed_mps = std::max(0.0, (_times.offset_m(pattern, seconds(time) + 1.0) - offset_m));
}

std::optional<VehiclePosition> Fleet::report(const Vehicle& vehicle, Instant time) {
  const DutyTrip* duty = nullptr;
  if (!is_on_road(vehicle, seconds(time), duty)) return std::nullopt;
  const TripPlan& trip = _network.trip(duty->trip);
  const JourneyPattern& pattern = _network.pattern(trip.pattern);
  _driver.drive(trip, pattern, vehicle.duties.zero(), duty->departs_s, _times);
  VehiclePosition position;
  position.time = time;
  position.vehicle = vehicle.name();
  if (_draw.share(Chance::without_trip, {vehicle.id}) >= _options.without_trip_share) {
    position.trip = trip.id;
    position.route = pattern.route;
    position.direction = pattern.direction;
    position.start_date = vehicle.duties.day();
    if (_network.trips_of(trip.id).size() > 1) position.start_time = trip.start;
  }
  write_motion(vehicle, *duty, time, position);
  return position;
}

std::vector<VehiclePosition> Fleet::reports(Instant now) {
  std::vector<VehiclePosition> reports;
  for (const auto& duties : duties_at(now)) {
    for (std::size_t i = 0; i < duties->vehicles(); ++i) {
      const Vehicle vehicle(*duties, i);
      const auto time = last_report(vehicle, now);
      if (!time) continue;
      auto position = report(vehicle, *time);
      if (!position) continue;
      position->received = now;
      reports.push_back(*position);
      if (_draw.share(Chance::doubled, {vehicle.id, key(*time)}) < _options.doubled_share) {
        reports.push_back(std::move(*position));
      }
    }
  }
  return reports;
}

std::size_t Fleet::on_road(Instant now) {
  std::size_t count = 0;
  for (const auto& duties : duties_at(now)) {
    for (std::size_t i = 0; i < duties->vehicles(); ++i) {
      const DutyTrip* trip = nullptr;
      if (is_on_road(Vehicle(*duties, i), seconds(now), trip)) ++count;
    }
  }
  return count;
}

std::optional<Fleet::Place> Fleet::place_of(const VehicleId& vehicle, Instant time) {
  const std::string& name = vehicle.text();
  for (const auto& duties : duties_at(time)) {
    if (name.empty() || name.front() != letter_of(duties->day())) continue;
    std::size_t number = 0;
    std::from_chars(name.data() + 1, name.data() + name.size(), number);
    if (number == 0 || number > duties->vehicles()) continue;
    const DutyTrip* duty = nullptr;
    if (!is_on_road(Vehicle(*duties, number - 1), seconds(time), duty)) continue;
    const TripPlan& trip = _network.trip(duty->trip);
    Place place{{trip.id, duties->day(), trip.start}, trip.pattern, 0.0, {}};
    const JourneyPattern& pattern = _network.pattern(trip.pattern);
    _driver.drive(trip, pattern, duties->zero(), duty->departs_s, place.times);
    place.offset_m = place.times.offset_m(pattern, seconds(time));
    return place;
  }
  return std::nullopt;
}

}  // namespace qiv
