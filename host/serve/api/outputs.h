#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "serve/api/feed_guard.h"
#include "serve/api/lazy.h"
#include "serve/api/network_index.h"
#include "serve/api/stop_board.h"
#include "serve/http/blob.h"
#include "serve/snapshot.h"

namespace qiv {

/// How many there are of each kind, by name.
using Tally = std::map<std::string, std::uint64_t>;

/// All that is served of one snapshot. Whatever is derived from it is made when first asked for,
/// once, and shared by all readers. Immutable but for that; safe to share between threads.
class Outputs {
 public:
  /// Without a network in the snapshot `index` is null and `feed` without bytes.
  Outputs(std::shared_ptr<const Snapshot> snapshot, std::shared_ptr<const NetworkIndex> index,
          GuardedFeed feed);

  const Snapshot& snapshot() const { return *_snapshot; }
  /// Throws `HttpError` (not_ready) while there is no timetable.
  const NetworkIndex& index() const;
  bool has_network() const { return _index != nullptr; }
  const GuardedFeed& feed() const { return _feed; }

  /// Precondition of these: there is a network.
  const StopBoard& board() const;

  /// On display; null if it is not.
  const TripForecast* find_trip(const TripKey& key) const;
  const VehicleView* find_vehicle(const VehicleId& id) const;

  /// How sure it is that the trip's vehicle runs it, 0 to 1, where the service has assigned it by
  /// the vehicle's course; nothing where the feed names it, or no vehicle runs it.
  std::optional<double> trip_confidence(const TripForecast& trip) const;
  /// Vehicles that are followed on a trip which they do not name.
  std::size_t assigned_vehicles() const { return assigned().size(); }
  /// Trips on display whose vehicle is one of these.
  std::size_t assigned_trips() const;

  /// All of them are there, with 0 for those that do not occur.
  const Tally& vehicles_by_status() const;
  const Tally& trips_by_state() const;

  /// What `make` gives, made once for each name. Beyond `most_kept` names nothing is kept.
  BlobPtr cached(const std::string& name, const std::function<BlobPtr()>& make) const;
  static constexpr std::size_t most_kept = 2000;

 private:
  using AssignedVehicles = std::unordered_map<VehicleId, const VehicleView*>;
  const AssignedVehicles& assigned() const;

  std::shared_ptr<const Snapshot> _snapshot;
  std::shared_ptr<const NetworkIndex> _index;
  GuardedFeed _feed;
  Lazy<StopBoard> _board;
  Lazy<AssignedVehicles> _assigned;
  Lazy<Tally> _vehicles_by_status;
  Lazy<Tally> _trips_by_state;
  mutable std::mutex _kept_mutex;
  mutable std::map<std::string, std::shared_ptr<Lazy<BlobPtr>>> _kept;
};

using OutputsPtr = std::shared_ptr<const Outputs>;

}  // namespace qiv
