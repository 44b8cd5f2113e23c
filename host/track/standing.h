#pragma once

#include "model/journey_pattern.h"
#include "model/trip_run.h"
#include "network/trip_plan.h"
#include "track/options.h"

namespace qiv {

/// How long a vehicle under way stands at `now`, from its last progress on, without need: at a stop
/// before its scheduled departure it has to wait. A vehicle of a station-level feed that has left a
/// stop does not stand: nothing is heard of it until it comes to the next. Zero at least.
Seconds time_standing(const Progress& last, const ScheduledTrip& trip,
                      const JourneyPattern& pattern, Instant now, const TrackOptions& options);

}  // namespace qiv
