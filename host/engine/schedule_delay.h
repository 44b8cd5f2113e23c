#pragma once

#include "engine/live_trip.h"
#include "history/grid.h"

namespace qiv {

/// How far a trip is behind its timetable at its last progress, in seconds; negative when it is
/// ahead. Between stops the timetable is linear in the distance.
/// Precondition: the trip has progress, and `grid` is that of its pattern.
double schedule_delay_s(const LiveTrip& trip, const Grid& grid);

}  // namespace qiv
