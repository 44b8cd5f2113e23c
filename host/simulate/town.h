#pragma once

#include <cstddef>

#include "model/timetable.h"

namespace qiv {

/// How large a synthetic town is and when its vehicles run.
struct TownOptions {
  std::size_t vehicles = 1000;  ///< on the road at any time of the stretch of service
  ServiceDate day;              ///< that the timetable is made for; it is valid for 30 more
  Seconds from{0};              ///< of the stretch, a time of that day
  Seconds length{4 * 3600};     ///< of the stretch
};

/// A timetable on a grid of streets 400 m apart with a stop at every crossing, in UTC: lines with
/// one corner, each in both directions, 30 to 40 stops long, every five minutes. At any time of the
/// stretch at least `vehicles` trips are under way. Trips begin before the stretch, so that the
/// first are at their ends by then: where it begins early in the day, they count as trips of the
/// day before, after 24:00.
Timetable make_town(const TownOptions& options);

}  // namespace qiv
