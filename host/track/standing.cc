#include "track/standing.h"

#include <algorithm>
#include <cmath>

namespace qiv {

Seconds time_standing(const Progress& last, const ScheduledTrip& trip,
                      const JourneyPattern& pattern, Instant now, const TrackOptions& options) {
  if (last.evidence == Evidence::departure) return Seconds(0);
  Instant since = last.time;
  for (std::size_t j = 0; j < pattern.stops.size(); ++j) {
    if (std::abs(pattern.stops[j].offset_m - last.offset_m) > options.start_zone_m) continue;
    since = std::max(since, trip.departure(j));
  }
  return std::max(Seconds(0), now - since);
}

}  // namespace qiv
