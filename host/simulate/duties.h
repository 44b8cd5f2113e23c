#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "network/network.h"
#include "simulate/drive.h"
#include "simulate/fleet_options.h"

namespace qiv {

/// A trip as a simulated vehicle runs it. Times are seconds since 1970.
struct DutyTrip {
  TripIndex trip = 0;
  double departs_s = 0.0;
  double arrives_s = 0.0;
};

/// Which vehicle runs which trips of a day of service, and when it departs and arrives.
///
/// Trips of a block share a vehicle. Other trips are given to a vehicle that has come to their
/// first stop, else to a new one, else to one that has been free for ten minutes; a trip that finds
/// none is not run. A vehicle that arrives late departs late.
class Duties {
 public:
  Duties(const Network& network, ServiceDate day, const FleetOptions& options,
         const Driver& driver);

  ServiceDate day() const { return _day; }
  Instant zero() const { return _zero; }
  std::size_t vehicles() const { return _first.size() - 1; }
  /// The trips of a vehicle in order.
  std::span<const DutyTrip> trips_of(std::size_t vehicle) const {
    return std::span(_trips).subspan(_first[vehicle], _first[vehicle + 1] - _first[vehicle]);
  }

 private:
  ServiceDate _day;
  Instant _zero;
  std::vector<DutyTrip> _trips;     ///< vehicle by vehicle
  std::vector<std::size_t> _first;  ///< of each vehicle, and the end
};

}  // namespace qiv
