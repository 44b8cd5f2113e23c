#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "model/vehicle_position.h"
#include "network/network.h"
#include "simulate/duties.h"

namespace qiv {

/// A synthetic fleet that runs a timetable: what its feed says at any time. The answer depends on
/// network, options and time alone, in whatever order times are asked for. One thread at a time.
class Fleet {
 public:
  /// `network` must outlive the fleet.
  Fleet(const Network& network, const FleetOptions& options);
  ~Fleet();

  /// The entities of the feed at `now`: for each vehicle on the road the report that came in last,
  /// which may be older than one that came before it; some twice. A vehicle is on the road from
  /// five minutes before the departure of a trip until a minute after its arrival, and it stays in
  /// the feed for five minutes after its last report. `received` is `now`.
  std::vector<VehiclePosition> reports(Instant now);

  /// How many vehicles are on the road at `now`, whether they report or not.
  std::size_t on_road(Instant now);

  /// What the vehicle does at `time`: its trip, and where along its path it is. For tests and for
  /// comparing with forecasts. Nothing when it is not on the road.
  struct Place {
    TripKey trip;
    PatternIndex pattern = 0;
    double offset_m = 0.0;
    DrivenTimes times;
  };
  std::optional<Place> place_of(const VehicleId& vehicle, Instant time);

 private:
  struct Vehicle;

  const std::vector<std::unique_ptr<Duties>>& duties_at(Instant now);
  std::optional<Instant> last_report(const Vehicle& vehicle, Instant now) const;
  bool is_on_road(const Vehicle& vehicle, double time_s, const DutyTrip*& trip) const;
  std::optional<VehiclePosition> report(const Vehicle& vehicle, Instant time);
  void write_motion(const Vehicle& vehicle, const DutyTrip& duty, Instant time,
                    VehiclePosition& position);

  const Network& _network;
  FleetOptions _options;
  Draw _draw;
  Driver _driver;
  std::vector<std::unique_ptr<Duties>> _duties;  ///< of the days under way when last asked
  DrivenTimes _times;                            ///< of the vehicle that is being written
};

}  // namespace qiv
