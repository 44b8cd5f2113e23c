#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "model/identifier.h"
#include "model/time.h"

namespace qiv {

/// What a producer says of a trip as a whole.
enum class TripStatus : std::uint8_t {
  scheduled,
  added,        ///< not in the timetable, or in addition to it
  unscheduled,  ///< of a frequency-based trip without times
  canceled,     ///< canceled or deleted
};

/// What a producer says of one call.
enum class CallStatus : std::uint8_t {
  scheduled,
  skipped,
  no_data,
  unscheduled,
};

/// A predicted arrival or departure. A producer may state the time, the delay against the
/// timetable, or both, in which case the time counts.
struct PredictedTime {
  std::optional<Instant> time;
  std::optional<Seconds> delay;        ///< positive: late
  std::optional<Seconds> uncertainty;  ///< 0: certain, as for what has happened

  bool empty() const { return !time && !delay; }
};

/// What a producer predicts for one call; it names the stop by sequence number, id, or both.
struct PredictedCall {
  std::optional<std::uint32_t> stop_sequence;
  StopId stop;
  PredictedTime arrival;
  PredictedTime departure;
  CallStatus status = CallStatus::scheduled;
};

/// A producer's prediction for one trip. An empty identifier or optional was not stated.
struct TripUpdate {
  Instant received{};             ///< time of the poll or of the feed's header
  Instant time{};                 ///< time at which the prediction was made
  bool time_is_received = false;  ///< the prediction had no time of its own
  TripId trip;
  RouteId route;
  std::optional<int> direction;
  std::optional<ServiceDate> start_date;
  std::optional<Seconds> start_time;
  VehicleId vehicle;
  TripStatus status = TripStatus::scheduled;
  std::optional<Seconds> delay;  ///< of the trip as a whole
  std::vector<PredictedCall> calls;
};

}  // namespace qiv
