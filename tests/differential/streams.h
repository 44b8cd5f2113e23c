#ifndef QIV_TESTS_DIFFERENTIAL_STREAMS_H
#define QIV_TESTS_DIFFERENTIAL_STREAMS_H

#include "differential/Draw.h"
#include "differential/Message.h"

namespace differential {

/// Vehicles that drive along a few journeys with histories: late, equal and corrected reports, trip
/// changes, hand-overs, sweeps, reloads and new versions, in either mode and with every strategy.
Stream realistic_stream(Draw& draw);

/// Anything that the operations accept, from well-formed to absurd: NaN, infinities, the ends of
/// every type, empty and disordered lists.
Stream hostile_stream(Draw& draw);

/// Few vehicles on up to thirty journeys at hardly differing times, so that nearly every report is
/// a hand-over, stale, or both; with wipes, sweeps and journeys that cannot be created.
Stream handover_stream(Draw& draw);

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_STREAMS_H
