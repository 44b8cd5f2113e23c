#pragma once

#include <string>

#include "model/service_changes.h"
#include "network/network.h"
#include "serve/agency/agency_report.h"

namespace qiv {

/// An alert that there is no service cancels the trips that depart no later than this from now.
inline constexpr Seconds alerts_look_ahead = std::chrono::hours(24);

/// Adds to `changes` what a source says, in the words of `network`:
///
/// - A trip update that cancels a trip cancels it; one that skips a stop skips that call. A trip
///   that is added, and not in the timetable, is listed. One that stands in for a trip of the
///   timetable, or doubles it under its own name, is counted and nothing follows: what it is we
///   cannot know.
/// - An alert that there is no service, for a trip or a route (one direction of it, a kind of
///   route), cancels the trips that depart within its period; for a stop, of these or of all, it
///   skips the calls that the timetable has within its period.
/// - Of an alert with any other effect nothing follows. All that are active at `now` are listed.
///
/// What nothing follows from is counted in `not_used`.
void resolve_changes(const AgencyReport& report, const Network& network, Instant now,
                     ServiceChanges& changes);

}  // namespace qiv
