#include "engine/kept_display.h"

#include <utility>

namespace qiv {

bool KeptDisplay::holds(const Basis& basis, Instant now) const {
  if (!_forecast || now < _made || now > _hold.now) return false;
  const bool is_seen_the_same =
      basis.last_seen == _basis.last_seen || basis.last_seen <= _hold.last_seen;
  return basis.histories == _basis.histories && basis.departure == _basis.departure &&
         is_seen_the_same;
}

TripForecast KeptDisplay::as_of(Instant now, Instant position_time) const {
  TripForecast forecast = *_forecast;
  forecast.made = now;
  forecast.position_time = position_time;
  return forecast;
}

void KeptDisplay::keep(TripForecast forecast, const Basis& basis, Instant now,
                       const DisplayHold& hold) {
  _forecast = std::move(forecast);
  _basis = basis;
  _made = now;
  _hold = hold;
}

}  // namespace qiv
