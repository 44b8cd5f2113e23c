#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "model/rejections.h"
#include "model/trip_update.h"
#include "network/network.h"

namespace qiv {

/// What a producer predicts for the arrival at each stop of a trip, where it predicts any.
using PredictedArrivals = std::vector<std::optional<Instant>>;

/// The trip of the timetable that an update names; nothing, and counted, for one that the timetable
/// does not have, that was added, or that does not say which repetition of a frequency-based trip
/// it means. The day is inferred where it is not stated.
std::optional<ScheduledTrip> named_trip(const TripUpdate& update, const Network& network,
                                        Rejections& not_used);

/// The same, and nothing for a trip that was canceled.
std::optional<ScheduledTrip> trip_of(const TripUpdate& update, const Network& network,
                                     Rejections& not_used);

/// The arrivals at the stops of `trip` by the rules of the GTFS-realtime reference:
///
/// - A time counts before a delay, and the arrival's before the departure's. A call that predicts
///   only the departure has its delay at the arrival, too.
/// - The delay of a call (of its departure, where that is predicted) holds for the stops after it,
///   up to the next call with a prediction or with NO_DATA. SKIPPED does not end it. Before the
///   first call the delay of the trip as a whole holds, if one is stated.
/// - A skipped stop, and one without data, has no prediction.
/// - A call is found by stop_sequence; where stop_id names another stop of the trip, by stop_id.
///
/// Counted and not used: calls at no stop of the trip, calls out of order, calls that predict
/// nothing, and times more than a day off the timetable. Skipped calls and those without data are
/// counted, too.
PredictedArrivals predicted_arrivals(const TripUpdate& update, const ScheduledTrip& trip,
                                     const Network& network, Rejections& not_used);

/// The calls that the trip does not make, ascending: the stops that are skipped. Calls are found
/// and counted as for `predicted_arrivals`.
std::vector<std::size_t> skipped_calls(const TripUpdate& update, const ScheduledTrip& trip,
                                       const Network& network, Rejections& not_used);

/// What one snapshot of a producer's updates predicts, by trip. Of several updates for a trip the
/// first counts. `not_used` as above.
std::map<TripKey, PredictedArrivals> arrivals_of(std::span<const TripUpdate> updates,
                                                 const Network& network, Rejections& not_used);

}  // namespace qiv
