#pragma once

#include <functional>
#include <stop_token>
#include <vector>

#include "model/vehicle_position.h"
#include "serve/snapshot.h"

namespace qiv {

/// Takes the positions of one answer, in the order of the feed. May be called by any thread.
using TakePositions = std::function<void(std::vector<VehiclePosition>&& positions)>;

/// Where positions come from: an address that is polled, a broker, a folder. Each runs in a thread
/// of its own and never throws; what goes wrong is told by `view`.
class Source {
 public:
  virtual ~Source() = default;

  /// Hands positions to `take` until it is asked to stop.
  virtual void run(std::stop_token stop, const TakePositions& take) = 0;

  /// How it fares, as of `now` by the service's clock. May be called by any thread.
  virtual SourceView view(Instant now) const = 0;
};

}  // namespace qiv
