#pragma once

#include <optional>
#include <vector>

#include "model/rejections.h"
#include "model/trip_update.h"
#include "network/network.h"

namespace qiv {

/// What a producer predicts for the arrival at each stop of a trip, where it predicts any.
using PredictedArrivals = std::vector<std::optional<Instant>>;

/// The trip of the timetable that an update is about; nothing, and counted, for one that the
/// timetable does not have, that was added or canceled, or that does not say which repetition of a
/// frequency-based trip it means. The day is inferred where it is not stated.
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

}  // namespace qiv
