#include "evaluate/predicted_arrivals.h"

#include <cstddef>
#include <string>

namespace qiv {
namespace {

constexpr Seconds farthest_off = std::chrono::hours(24);

std::string quote(const TripUpdate& update) {
  return "trip " + update.trip.text() + " at " + format_utc(update.time);
}

/// Reads the calls of one update, in order.
class CallReader {
 public:
  CallReader(const TripUpdate& update, const ScheduledTrip& trip, const Network& network,
             Rejections& not_used)
      : _update(update),
        _trip(trip),
        _network(network),
        _not_used(not_used),
        _arrivals(trip.plan->size()),
        _carried(update.delay) {}

  /// To be called once.
  void read() {
    for (const PredictedCall& call : _update.calls) {
      const auto stop = find_stop(call);
      if (!stop) {
        count("call at no stop of its trip");
      } else if (*stop < _next) {
        count("call out of order");
      } else {
        carry_up_to(*stop);
        take(call, *stop);
        _next = *stop + 1;
      }
    }
    carry_up_to(_arrivals.size());
  }

  PredictedArrivals take_arrivals() { return std::move(_arrivals); }
  std::vector<std::size_t> take_skipped() { return std::move(_skipped); }

 private:
  void count(const char* reason) {
    _not_used.add(reason, [&] { return quote(_update); });
  }

  const StopId& stop_id(std::size_t i) const {
    return _network.stops()[_network.pattern(_trip.pattern()).stops[i].stop].id;
  }

  std::optional<std::size_t> find_stop(const PredictedCall& call) const {
    std::optional<std::size_t> by_sequence;
    if (call.stop_sequence) by_sequence = _trip.plan->find_sequence(*call.stop_sequence);
    if (call.stop.empty() || (by_sequence && stop_id(*by_sequence) == call.stop)) {
      return by_sequence;
    }
    for (std::size_t i = _next; i < _arrivals.size(); ++i) {
      if (stop_id(i) == call.stop) return i;
    }
    return by_sequence;
  }

  void carry_up_to(std::size_t stop) {
    for (; _next < stop; ++_next) carry_to(_next);
  }

  void carry_to(std::size_t stop) {
    if (_carried) _arrivals[stop] = _trip.arrival(stop) + *_carried;
  }

  void take(const PredictedCall& call, std::size_t stop) {
    if (call.status == CallStatus::skipped) {
      _skipped.push_back(stop);
      return count("call skipped");
    }
    if (call.status == CallStatus::no_data) {
      _carried.reset();
      return count("call without data");
    }
    const auto arrival = delay_of(call.arrival, _trip.arrival(stop));
    const auto departure = delay_of(call.departure, _trip.departure(stop));
    if (arrival) {
      _arrivals[stop] = _trip.arrival(stop) + *arrival;
    } else if (departure) {
      _arrivals[stop] = _trip.arrival(stop) + *departure;
    } else {
      count("call that predicts nothing");
      return carry_to(stop);
    }
    _carried = departure ? departure : arrival;
  }

  std::optional<Seconds> delay_of(const PredictedTime& predicted, Instant scheduled) {
    if (!predicted.time) return predicted.delay;
    const Seconds delay = *predicted.time - scheduled;
    if (-farthest_off <= delay && delay <= farthest_off) return delay;
    count("time more than a day off the timetable");
    return std::nullopt;
  }

  const TripUpdate& _update;
  const ScheduledTrip& _trip;
  const Network& _network;
  Rejections& _not_used;
  PredictedArrivals _arrivals;
  std::vector<std::size_t> _skipped;
  std::size_t _next = 0;
  std::optional<Seconds> _carried;
};

}  // namespace

std::optional<ScheduledTrip> named_trip(const TripUpdate& update, const Network& network,
                                        Rejections& not_used) {
  const auto reject = [&](const char* reason) {
    not_used.add(reason, [&] { return quote(update); });
    return std::nullopt;
  };
  if (update.status == TripStatus::added) return reject("trip that was added");
  const TripPlan* const plan =
      network.nearest_repetition(update.trip, update.start_time.value_or(Seconds(0)));
  if (plan == nullptr) return reject("trip is not in the timetable");
  if (!update.start_time && network.trips_of(update.trip).size() > 1) {
    return reject("repetition without a start time");
  }
  const auto day =
      update.start_date ? update.start_date : network.nearest_service_day(*plan, update.time);
  if (!day) return reject("trip does not run on any day near");
  return network.schedule(*plan, *day);
}

std::optional<ScheduledTrip> trip_of(const TripUpdate& update, const Network& network,
                                     Rejections& not_used) {
  auto trip = named_trip(update, network, not_used);
  if (!trip || update.status != TripStatus::canceled) return trip;
  not_used.add("trip canceled", [&] { return quote(update); });
  return std::nullopt;
}

PredictedArrivals predicted_arrivals(const TripUpdate& update, const ScheduledTrip& trip,
                                     const Network& network, Rejections& not_used) {
  CallReader reader(update, trip, network, not_used);
  reader.read();
  return reader.take_arrivals();
}

std::vector<std::size_t> skipped_calls(const TripUpdate& update, const ScheduledTrip& trip,
                                       const Network& network, Rejections& not_used) {
  CallReader reader(update, trip, network, not_used);
  reader.read();
  return reader.take_skipped();
}

std::map<TripKey, PredictedArrivals> arrivals_of(std::span<const TripUpdate> updates,
                                                 const Network& network, Rejections& not_used) {
  std::map<TripKey, PredictedArrivals> arrivals;
  for (const TripUpdate& update : updates) {
    const auto trip = trip_of(update, network, not_used);
    if (!trip) continue;
    const auto [entry, is_new] = arrivals.try_emplace(trip->key);
    if (is_new) {
      entry->second = predicted_arrivals(update, *trip, network, not_used);
    } else {
      not_used.add("second update for a trip", [&] { return to_string(trip->key); });
    }
  }
  return arrivals;
}

}  // namespace qiv
