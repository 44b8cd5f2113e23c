#pragma once

#include <cstdint>
#include <optional>

#include "model/trip_forecast.h"

namespace qiv {

/// How long a display stays as it was filled: until which `now`, and until which `last_seen`. A
/// trip that is overdue moves with every `last_seen`.
struct DisplayHold {
  Instant now = Instant::min();
  Instant last_seen = Instant::min();
};

/// What is on display for one trip, kept as long as making it anew would give the same but for its
/// times of making. Whoever keeps it forgets it when the vehicle's reports change.
class KeptDisplay {
 public:
  /// What a forecast depends on beside the reports and the present time.
  struct Basis {
    std::uint64_t histories = 0;  ///< version of the pattern's histories
    Instant departure{};          ///< of a trip that has not departed
    Instant last_seen{};

    friend bool operator==(const Basis&, const Basis&) = default;
  };

  /// True while making it anew at `now` would give what is kept.
  bool holds(const Basis& basis, Instant now) const;

  /// Keeps what was made at `now`.
  void keep(TripForecast forecast, const Basis& basis, Instant now, const DisplayHold& hold);

  void forget() { _forecast.reset(); }
  bool empty() const { return !_forecast; }

  /// What is kept. Precondition: not empty.
  const TripForecast& kept() const { return *_forecast; }

  /// What is kept, as made at `now` of what was seen at `position_time`. Precondition: not empty.
  TripForecast as_of(Instant now, Instant position_time) const;

 private:
  std::optional<TripForecast> _forecast;
  Basis _basis;
  Instant _made{};
  DisplayHold _hold;
};

}  // namespace qiv
