#include "publish/check_stops.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace qiv {
namespace {

using transit_realtime::TripUpdate;
using StopTimeEvent = TripUpdate::StopTimeEvent;
using StopTimeUpdate = TripUpdate::StopTimeUpdate;

constexpr Seconds greatest_deviation(24 * 3600);

/// "stop 3 ('HARBOUR')".
std::string name_of(const StopTimeUpdate& update) {
  std::string name = "stop";
  if (update.has_stop_sequence()) name += " " + std::to_string(update.stop_sequence());
  if (update.has_stop_id()) name += " ('" + update.stop_id() + "')";
  return name;
}

class StopChecker {
 public:
  StopChecker(const ScheduledTrip& schedule, const Network& network, const FeedReport& report)
      : _schedule(schedule), _network(network), _report(report) {}

  void check(const StopTimeUpdate& update) {
    _update = &update;
    const std::optional<std::size_t> stop = find_stop(update);
    if (!stop) return;
    if (_next > *stop) report(FeedRule::stop_order, "comes after a later stop, or twice");
    _next = *stop + 1;
    if (update.schedule_relationship() == StopTimeUpdate::SCHEDULED) {
      check_times(update, *stop);
    } else if (update.schedule_relationship() != StopTimeUpdate::UNSCHEDULED &&
               (update.has_arrival() || update.has_departure())) {
      report(FeedRule::stop_time_absent, "has times though it is skipped or without data");
    }
  }

 private:
  void report(FeedRule rule, const std::string& detail) {
    _report(rule, name_of(*_update) + " " + detail);
  }

  const std::string& stop_id(std::size_t i) const {
    return _network.stops()[_network.pattern(_schedule.pattern()).stops[i].stop].id.text();
  }

  /// Index of the stop in the trip.
  std::optional<std::size_t> find_stop(const StopTimeUpdate& update) {
    if (!update.has_stop_sequence()) return find_stop_by_id(update.stop_id());
    const auto stop = _schedule.plan->find_sequence(update.stop_sequence());
    if (!stop) {
      report(FeedRule::stop_known, "has a sequence number that the trip does not have");
    } else if (update.has_stop_id() && update.stop_id() != stop_id(*stop)) {
      report(FeedRule::stop_known, "is '" + stop_id(*stop) + "' in the timetable");
      return std::nullopt;
    }
    return stop;
  }

  /// The first stop of this name that is not before the one before; if there is none, any.
  std::optional<std::size_t> find_stop_by_id(const std::string& id) {
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < _schedule.plan->size(); ++i) {
      if (stop_id(i) != id) continue;
      found = i;
      if (i >= _next) break;
    }
    if (!found) report(FeedRule::stop_known, "is not a stop of the trip");
    return found;
  }

  void check_times(const StopTimeUpdate& update, std::size_t stop) {
    if (!update.has_arrival() && !update.has_departure()) {
      report(FeedRule::stop_time_present, "has neither arrival nor departure");
      return;
    }
    const auto arrival = update.has_arrival()
                             ? check_event(update.arrival(), _schedule.arrival(stop), "arrival")
                             : std::nullopt;
    const auto departure =
        update.has_departure()
            ? check_event(update.departure(), _schedule.departure(stop), "departure")
            : std::nullopt;
    if (arrival && departure && *arrival > *departure) {
      report(FeedRule::dwell, "departs at " + format_utc(*departure) +
                                  ", before it is reached at " + format_utc(*arrival));
    }
    if (arrival) check_order(*arrival, "arrival");
    if (departure) check_order(*departure, "departure");
    for (const auto& time : {arrival, departure}) {
      if (time) _latest = std::max(_latest, *time);
    }
  }

  void check_order(Instant time, const char* what) {
    if (time < _latest) {
      report(FeedRule::times_increase, std::string(what) + " at " + format_utc(time) +
                                           " is before a time of an earlier stop, " +
                                           format_utc(_latest));
    }
  }

  /// The time that the event states, if it is a sensible one.
  std::optional<Instant> check_event(const StopTimeEvent& event, Instant scheduled,
                                     const char* what) {
    if (event.uncertainty() < 0) {
      report(FeedRule::uncertainty,
             std::string(what) + " is uncertain by " + std::to_string(event.uncertainty()) + " s");
    }
    if (!event.has_time() && !event.has_delay()) {
      report(FeedRule::stop_time_present, std::string(what) + " has neither time nor delay");
      return std::nullopt;
    }
    const long long scheduled_s = unix_seconds(scheduled);
    const long long time_s = event.has_time() ? event.time() : scheduled_s + event.delay();
    const long long limit_s = greatest_deviation.count();
    if (time_s < scheduled_s - limit_s || time_s > scheduled_s + limit_s) {
      report(FeedRule::plausible_time, std::string(what) + " at " + std::to_string(time_s) +
                                           " is more than a day from the timetable's " +
                                           std::to_string(scheduled_s));
      return std::nullopt;
    }
    if (event.has_time() && event.has_delay() && event.delay() != time_s - scheduled_s) {
      report(FeedRule::delay, std::string(what) + " has delay " + std::to_string(event.delay()) +
                                  " s, but its time is " + std::to_string(time_s - scheduled_s) +
                                  " s after the timetable's");
    }
    return from_unix_seconds(time_s);
  }

  const ScheduledTrip& _schedule;
  const Network& _network;
  const FeedReport& _report;
  const StopTimeUpdate* _update = nullptr;  ///< that is checked
  std::size_t _next = 0;                    ///< the first stop that may follow
  Instant _latest = Instant::min();
};

}  // namespace

void check_stops(const TripUpdate& update, const ScheduledTrip& schedule, const Network& network,
                 const FeedReport& report) {
  StopChecker checker(schedule, network, report);
  for (const StopTimeUpdate& stop : update.stop_time_update()) checker.check(stop);
}

}  // namespace qiv
