#include "serve/cycle_pace.h"

#include <algorithm>

namespace qiv {

void CyclePace::begin(Time now, bool with_positions) {
  _last = now;
  if (with_positions) _last_taking = now;
}

CyclePace::Time CyclePace::due(bool with_positions) const {
  if (with_positions) return std::max(_last, _last_taking + _cycle);
  return _last + (_last == _last_taking ? _cycle + _cycle / 4 : _cycle);
}

}  // namespace qiv
