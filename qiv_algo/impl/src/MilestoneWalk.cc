// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "MilestoneWalk.h"

#include <limits>

MilestoneWalk::MilestoneWalk(const BusRoute& route)
    : _route(route),
      _last(route.is_initialized() ? route.last_milestone_offset()
                                   : std::numeric_limits<double>::infinity()),
      _ordered(route._ordered),
      _index(0),
      _prior(0.0),
      _current(0.0) {
  if (_ordered) start();
}

void MilestoneWalk::start() {
  _upper = _route._interpolation.begin();
  _prior = *_upper;
  _current = *++_upper;
  _index = 1;
}

lanes::TilePosition MilestoneWalk::locate(double offset) {
  if (!_ordered || !(offset >= _route._interpolation.front() && offset < _last)) {
    unsigned int index = 0;
    double linear = 0.0;
    _route.get_interpolation_parameters(offset, index, linear);
    return lanes::TilePosition(index, linear);
  }
  if (offset < _prior) start();
  while (offset >= _current) {
    _prior = _current;
    _current = *++_upper;
    ++_index;
  }
  return lanes::TilePosition(_index, (offset - _prior) / (_current - _prior));
}
