#include "track/gate.h"

#include <algorithm>
#include <cmath>

namespace qiv {
namespace {

/// Two places that fit a first fix almost equally well, and lie far apart, leave it open.
constexpr double clearly_better = 4.0;
constexpr double far_apart_m = 300.0;
/// A jump is at least so long, whatever the clock says.
constexpr double least_jump_m = 300.0;

}  // namespace

Gate::Gate(VehicleId vehicle, ScheduledTrip trip, const JourneyPattern& pattern,
           const TrackOptions& options)
    : _vehicle(std::move(vehicle)), _trip(std::move(trip)), _pattern(pattern), _options(options) {}

std::optional<Progress> Gate::last() const {
  if (_passed.empty()) return std::nullopt;
  return _passed.back();
}

TripRun Gate::run() const {
  return {_vehicle, _trip.key, _pattern.ref, _passed};
}

Gate::Verdict Gate::take(const std::vector<Sighting>& places, Instant time, Instant received,
                         std::vector<TrackEvent>& events) {
  const Held best{places.front(), time, received};
  const double start_m = _pattern.stops.front().offset_m;
  const bool at_start = best.place.evidence == Evidence::arrival
                            ? best.place.offset_m <= start_m
                            : best.place.evidence == Evidence::fix &&
                                  best.place.offset_m <= start_m + _options.start_zone_m;
  if (_passed.empty() && at_start) {
    _waited = best;
    _pending.reset();
    events.push_back(Waiting{_vehicle, _trip.key, time, received});
    return Verdict::waiting;
  }
  if (_passed.empty()) return take_first(places, best, events);
  return take_next(best, events);
}

Gate::Verdict Gate::take_first(const std::vector<Sighting>& places, const Held& best,
                               std::vector<TrackEvent>& events) {
  const bool from_start = _waited && !jumps(_waited->place.offset_m, _waited->time, best);
  if (best.place.evidence == Evidence::fix && !from_start && !believable(places)) {
    const double moved_m = _pending ? best.place.offset_m - _pending->place.offset_m : 0.0;
    if (!_pending || moved_m < -_options.least_progress_m ||
        jumps(_pending->place.offset_m, _pending->time, best)) {
      _pending = best;
    }
    if (moved_m < _options.first_progress_m || _pending->time == best.time ||
        std::abs(best.place.deviation_s) > _options.farthest_deviation_s) {
      return say(best, Verdict::held_back, events);
    }
    pass(*_pending, events);
    _pending.reset();
  } else {
    depart(best, events);
  }
  pass(best, events);
  return at_end(best.place.offset_m) ? Verdict::finished : Verdict::passed;
}

/// A first fix near the timetable, which could not mean another place as well.
bool Gate::believable(const std::vector<Sighting>& places) const {
  const Sighting& best = places.front();
  return std::abs(best.deviation_s) <= _options.first_deviation_s &&
         std::none_of(places.begin() + 1, places.end(), [&](const Sighting& other) {
           return other.cost < best.cost + clearly_better &&
                  std::abs(other.offset_m - best.offset_m) > far_apart_m;
         });
}

/// A vehicle that waited at the first stop departed with its last report from there.
void Gate::depart(const Held& next, std::vector<TrackEvent>& events) {
  const double start_m = _pattern.stops.front().offset_m;
  const bool stated = next.place.evidence == Evidence::departure &&
                      next.place.offset_m <= start_m + _options.start_zone_m;
  if (stated || !_waited) return;
  Held departure = *_waited;
  departure.place = {start_m, 0.0, Evidence::departure, 0.0};
  departure.received = next.received;
  pass(departure, events);
}

Gate::Verdict Gate::take_next(const Held& report, std::vector<TrackEvent>& events) {
  const Progress& last = _passed.back();
  const double moved_m = report.place.offset_m - last.offset_m;
  const bool stated = report.place.evidence != Evidence::fix;
  const double noise_m = stated ? 0.0 : _options.backward_noise_m + report.place.error_m;
  if (moved_m < -noise_m) return take_backward(report, events);
  _backward.clear();
  if (moved_m <= 0.0 || (!stated && moved_m < _options.least_progress_m)) {
    _pending.reset();
    return say(report, Verdict::still_there, events);
  }
  if (jumps(last.offset_m, last.time, report)) {
    const bool agrees = _pending && report.place.offset_m >= _pending->place.offset_m &&
                        !jumps(_pending->place.offset_m, _pending->time, report);
    if (!agrees) {
      _pending = report;
      return say(report, Verdict::held_back, events);
    }
  }
  _pending.reset();
  pass(report, events);
  return at_end(report.place.offset_m) ? Verdict::finished : Verdict::passed;
}

Gate::Verdict Gate::take_backward(const Held& report, std::vector<TrackEvent>& events) {
  _pending.reset();
  if (!_backward.empty() &&
      report.place.offset_m < _backward.back().place.offset_m - _options.backward_noise_m) {
    _backward.clear();
  }
  _backward.push_back(report);
  if (_backward.size() < _options.contradictions) return say(report, Verdict::held_back, events);

  const Held& first = _backward.front();
  std::erase_if(_passed, [&](const Progress& p) {
    return p.offset_m > first.place.offset_m || p.time > first.time;
  });
  double offset_m = _passed.empty() ? 0.0 : _passed.back().offset_m;
  for (Held& held : _backward) {
    offset_m = held.place.offset_m = std::max(offset_m, held.place.offset_m);
    _passed.push_back(progress_of(held));
  }
  _backward.clear();
  events.push_back(Corrected{_vehicle, _trip.key, _passed});
  return Verdict::corrected;
}

bool Gate::jumps(double from_m, Instant from, const Held& to) const {
  const double moved_m = to.place.offset_m - from_m;
  const auto elapsed_s = static_cast<double>((to.time - from).count());
  return moved_m > least_jump_m + _options.highest_speed_mps * std::max(0.0, elapsed_s);
}

void Gate::pass(const Held& report, std::vector<TrackEvent>& events) {
  _passed.push_back(progress_of(report));
  events.push_back(_passed.back());
}

Gate::Verdict Gate::say(const Held& report, Verdict verdict,
                        std::vector<TrackEvent>& events) const {
  events.push_back(StillThere{_vehicle, _trip.key, report.time, report.received});
  return verdict;
}

bool Gate::at_end(double offset_m) const {
  return offset_m >= _pattern.stops.back().offset_m - _options.end_zone_m;
}

Progress Gate::progress_of(const Held& report) const {
  return {_vehicle,
          _trip.key,
          _trip.pattern(),
          report.time,
          report.received,
          report.place.offset_m,
          report.place.error_m,
          report.place.evidence};
}

}  // namespace qiv
