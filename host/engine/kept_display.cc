#include "engine/kept_display.h"

namespace qiv {

const TripForecast* KeptDisplay::find(const Basis& basis, Instant now) const {
  if (!_forecast || now < _made || now > _hold.now) return nullptr;
  const bool is_seen_the_same =
      basis.last_seen == _basis.last_seen || basis.last_seen <= _hold.last_seen;
  const bool is_same = basis.histories == _basis.histories && basis.departure == _basis.departure &&
                       is_seen_the_same;
  return is_same ? &*_forecast : nullptr;
}

void KeptDisplay::keep(const TripForecast& forecast, const Basis& basis, Instant now,
                       const DisplayHold& hold) {
  _forecast = forecast;
  _basis = basis;
  _made = now;
  _hold = hold;
}

}  // namespace qiv
