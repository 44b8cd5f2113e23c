#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "publish/siri_sm.h"
#include "serve/snapshot.h"

namespace qiv {

/// Which trips have still to call at which stop, as of one snapshot.
class StopBoard {
 public:
  /// The snapshot must outlive the board. Precondition: it has a network.
  explicit StopBoard(const Snapshot& snapshot);

  /// The calls to come at a stop, the earliest first; at the first stop of a trip its departure
  /// counts.
  std::vector<StopVisit> visits(std::uint32_t stop) const;

 private:
  struct Place {
    std::uint32_t trip;
    std::uint32_t call;
  };

  const Snapshot& _snapshot;
  std::vector<std::uint32_t> _begin;  ///< of each stop in `_places`, and the end
  std::vector<Place> _places;
};

/// Whether boards show the call of a trip: it is still to come, and that of a canceled trip would
/// leave within an hour.
bool is_on_board(const TripForecast& trip, std::size_t call, Instant now);

/// The time by which a visit counts.
Instant visit_time(const StopVisit& visit);

}  // namespace qiv
