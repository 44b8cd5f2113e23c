#pragma once

#include <vector>

#include "serve/api/event_topic.h"
#include "serve/api/lazy.h"
#include "serve/api/outputs.h"

namespace qiv {

/// Finds out which topics may read differently now than before, without writing any of them: trips
/// and vehicles are compared one by one, a stop by whether a trip that changed calls there. What is
/// shared between the snapshots costs nothing.
class TopicChanges {
 public:
  /// Both must outlive this. Precondition: both have a network.
  TopicChanges(const Outputs& before, const Outputs& now) : _before(before), _now(now) {}

  /// False only where `event_content` is the same for both but for the time at which a forecast was
  /// made, which moves on with every snapshot. Not for all vehicles, of which
  /// `vehicle_moves` tells what has changed.
  bool may_touch(const EventTopic& topic) const;

 private:
  bool is_trip_same(const TripKey& key) const;
  bool is_vehicle_same(const VehicleId& id) const;
  bool may_touch_stop(const StopId& id) const;
  std::vector<bool> changed_stops() const;

  const Outputs& _before;
  const Outputs& _now;
  Lazy<std::vector<bool>> _changed_stops;  ///< of the network's
};

}  // namespace qiv
