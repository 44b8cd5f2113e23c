#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>

#include "engine/announced_trip.h"
#include "engine/live_trip.h"

namespace qiv {

/// The trips on display in the order of their keys, from one look at them to the next: what has not
/// changed stays where it is. Each is linked with the trip before it in its block.
class TripBoard {
 public:
  /// A trip with its vehicle, or announced without one.
  struct Row {
    std::size_t shard = 0;  ///< that shows it
    std::shared_ptr<LiveTrip> live;
    std::optional<AnnouncedTrip> announced;
    const Row* previous = nullptr;  ///< the trip before it in its block; null: not on display

    /// The trip with its vehicle; null when it has none, or the vehicle has gone on to another.
    LiveTrip* with_vehicle() const { return live == nullptr || live->left ? nullptr : live.get(); }
  };

  /// Puts a trip with its vehicle into its place.
  void put(std::shared_ptr<LiveTrip> live, std::size_t shard);

  /// Puts a trip without a vehicle into its place, or leaves it there.
  void announce(const ScheduledTrip& trip, std::size_t shard);

  void remove(const TripKey& trip);

  /// May be changed but for their number and their links.
  std::map<TripKey, Row>& rows() { return _rows; }

 private:
  Row& row_of(const ScheduledTrip& trip);
  Row* find(const std::optional<TripKey>& trip);

  std::map<TripKey, Row> _rows;
};

}  // namespace qiv
