#pragma once

#include "host/support/straight_line.h"
#include "learn/recorded_days.h"

namespace qiv::testing {

/// A run of a trip of the straight line that leaves at a full hour and takes `leg_s` from stop to
/// stop, with 17 fixes.
inline TripRun straight_run(const Network& network, const char* trip, ServiceDate day, int hour,
                            int leg_s) {
  TripRun run;
  run.vehicle = VehicleId("v");
  run.trip = {TripId(trip), day, Seconds(0)};
  const PatternIndex pattern = network.find_trip(run.trip.trip)->pattern;
  run.pattern = network.pattern(pattern).ref;
  const Instant start = Instant(day.days()) + std::chrono::hours(hour);
  for (int i = 0; i <= 16; ++i) {
    Progress progress;
    progress.vehicle = run.vehicle;
    progress.trip = run.trip;
    progress.pattern = pattern;
    progress.offset_m = i * network.pattern(pattern).length_m() / 16.0;
    progress.time = progress.received = start + Seconds(i * leg_s / 4);
    run.progress.push_back(progress);
  }
  return run;
}

}  // namespace qiv::testing
