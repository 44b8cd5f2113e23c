#ifndef QIV_MILESTONE_WALK_H
#define QIV_MILESTONE_WALK_H

#include <deque>

#include "BusRoute.h"
#include "lanes.h"

/// Locates offsets on the milestone grid of a route as `BusRoute::get_interpolation_parameters`
/// does, but walks on from the offset before: a list of ascending offsets costs one pass over the
/// milestones. The route must stay as it is.
class MilestoneWalk {
 public:
  explicit MilestoneWalk(const BusRoute& route);

  /// True when the route takes the offset; otherwise `locate` throws what the route throws.
  bool accepts(double offset) const { return !(offset > _last || offset < 0.0); }

  lanes::TilePosition locate(double offset);

 private:
  typedef std::deque<double>::const_iterator Milestone;

  void start();

  const BusRoute& _route;
  const double _last;
  const bool _ordered;
  Milestone _upper;  ///< of the segment where the walk stands
  unsigned int _index;
  double _prior;
  double _current;
};

#endif  // QIV_MILESTONE_WALK_H
