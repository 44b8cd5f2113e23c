#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "model/identifier.h"
#include "model/journey_pattern.h"
#include "model/time.h"
#include "model/trip_run.h"

namespace qiv {

/// Index of a trip plan in its network.
using TripIndex = std::uint32_t;

/// A call at a stop, in seconds of the service day: arrival <= departure <= next arrival.
struct Call {
  std::uint32_t sequence = 0;  ///< stop_sequence of the feed
  Seconds arrival{0};
  Seconds departure{0};
};

/// A trip as planned for all of its days; of a frequency-based trip, one repetition. Its calls are
/// those of its pattern's stops, one by one. Belongs to its network.
struct TripPlan {
  TripIndex index = 0;
  TripId id;
  Seconds start{0};  ///< as `TripKey::start`: 0 unless a repetition
  PatternIndex pattern = 0;
  std::uint32_t service = 0;             ///< index into the network's services
  std::uint32_t source = 0;              ///< index into the timetable's trips
  BlockId block;                         ///< empty: none
  std::string headsign;                  ///< may be empty
  std::span<const Call> template_calls;  ///< before `shift`; use `call`
  Seconds shift{0};

  std::size_t size() const { return template_calls.size(); }
  /// Call at the pattern's stop `i`. Precondition: `i` < `size()`.
  Call call(std::size_t i) const {
    const Call& c = template_calls[i];
    return {c.sequence, c.arrival + shift, c.departure + shift};
  }
  Seconds departure() const { return template_calls.front().departure + shift; }
  Seconds arrival() const { return template_calls.back().arrival + shift; }

  /// Index of the stop with this stop_sequence.
  std::optional<std::size_t> find_sequence(std::uint32_t sequence) const;
};

/// A trip plan on one day of service.
struct ScheduledTrip {
  TripKey key;
  const TripPlan* plan = nullptr;   ///< of the network; never null
  Instant zero{};                   ///< noon minus twelve hours
  std::optional<TripKey> previous;  ///< of the block on that day
  std::optional<TripKey> next;

  PatternIndex pattern() const { return plan->pattern; }
  Instant arrival(std::size_t i) const { return zero + plan->call(i).arrival; }
  Instant departure(std::size_t i) const { return zero + plan->call(i).departure; }
  Instant first_departure() const { return zero + plan->departure(); }
  Instant last_arrival() const { return zero + plan->arrival(); }
};

}  // namespace qiv
