#pragma once

#include <utility>
#include <vector>

#include "track/events.h"
#include "worker/finished_codec.h"

namespace qiv {

/// Moves the trips that have ended with progress from `events`, which are taken all, to the end of
/// `trips`.
inline void take_finished(std::vector<TrackEvent>& events, const AgencyId& agency,
                          std::vector<FinishedTrip>& trips) {
  for (TrackEvent& event : std::exchange(events, {})) {
    auto* const ended = std::get_if<TripEnded>(&event);
    if (ended == nullptr || ended->run.progress.empty()) continue;
    ended->run.progress.shrink_to_fit();
    trips.push_back({agency, std::move(ended->run), ended->received});
  }
}

}  // namespace qiv
