#pragma once

#include <memory>
#include <string>

#include "host/support/straight_line.h"
#include "serve/api/outputs.h"
#include "serve/snapshot.h"

namespace qiv::testing {

/// The straight line with names: stops "Abbey", "Bridge", "Church Street", "Dock" and "École", and
/// a headsign of "out".
std::shared_ptr<const Network> line_network();

/// A forecast for a trip of the line: its first `passed` stops were observed on time, the others
/// come `delay` late, a minute later or earlier in two of three cases and two in nine of ten.
TripForecast line_forecast(const Network& network, const std::string& trip, std::size_t passed,
                           Seconds delay, Instant made);

/// Monday, 3 March 2025, 08:03:00. "v1" runs "out" a minute late and is between B and C; "later"
/// has not begun; "v2" reports no trip and has no place. One source, one score.
Snapshot sample_snapshot();

/// The outputs of a snapshot, with trip updates from a guard of its own.
OutputsPtr outputs_of(Snapshot snapshot);

}  // namespace qiv::testing
