#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "model/trip_key_hash.h"
#include "model/trip_run.h"
#include "network/network.h"
#include "track/events.h"

namespace qiv {

/// Which vehicle leads on each trip, and which trips are announced because no vehicle has begun
/// them. Of several vehicles on one trip those that state it go before those that were assigned it
/// by their course; of these the one that was assigned first leads, ties by name. Once the vehicle
/// that leads has reached the last stop, the trip is over, whoever else is on it.
class TripRoster {
 public:
  /// Trips are announced from `announce` before their scheduled departure until `ghost_patience`
  /// after it. `network` must outlive the roster.
  TripRoster(const Network& network, Seconds announce, Seconds ghost_patience);

  /// Takes one event, in order.
  void apply(const TrackEvent& event);

  /// The vehicle that leads on `trip` and is on it; null when there is none.
  const VehicleId* leader(const TripKey& trip) const;
  bool leads(const VehicleId& vehicle, const TripKey& trip) const;

  /// The trip where it is announced at `now`: it has no vehicle, and none has begun it.
  std::optional<ScheduledTrip> announced(const TripKey& trip, Instant now) const;

  /// The trips whose leader, or whether they are announced, may have changed since the last call:
  /// by events, or by time that has passed until `now`; the first call gives all. Some more than
  /// once.
  std::vector<TripKey> changed(Instant now);

 private:
  struct Rider {
    bool by_course = false;
    Instant assigned{};
    VehicleId vehicle;
    bool finished = false;
  };
  struct Entry {
    std::vector<Rider> riders;  ///< the one that leads first
    bool begun = false;         ///< has had a vehicle under way
  };
  /// The trips of a day by departure, and which of them depart near the present time: from `first`
  /// until before `end`.
  struct Day {
    std::vector<TripIndex> trips;
    std::size_t first = 0;
    std::size_t end = 0;
  };

  void board(const TripAssigned& event);
  void leave(const TripEnded& event);
  void note_change(const TripKey& trip);
  void move_window(ServiceDate date, Day& day, Instant now);
  void forget_before(ServiceDate day);

  const Network& _network;
  Seconds _announce;
  Seconds _ghost_patience;
  std::unordered_map<TripKey, Entry, TripKeyHash> _trips;
  std::map<ServiceDate, Day> _days;
  bool _notes_changes = false;  ///< from the first time that they are asked for
  std::vector<TripKey> _changed;
};

}  // namespace qiv
