#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "feed/position_batch.h"

namespace qiv {

/// True from 2000 to 2099: beyond, a time in a feed is a mistake (milliseconds, a clock not set).
bool is_plausible_time(Instant time);
/// Seconds since 1970 as a time, if it is plausible.
std::optional<Instant> plausible_instant(long long unix_seconds);

/// One position as a source states it, before anything is checked. Views need only live as long as
/// the call.
struct StatedPosition {
  VehiclePosition position;  ///< identifiers, status and sequence; the rest is in the fields below
  std::optional<Instant> received;
  bool has_time = false;  ///< the source states a time; `time` is empty if it is not usable
  std::optional<Instant> time;
  std::optional<double> lat_deg;
  std::optional<double> lon_deg;
  bool has_place = false;
  std::optional<double> bearing_deg;
  std::optional<double> speed_mps;
  std::string_view start_date;
  std::string_view start_time;
  std::string_view entity;  ///< name of the entity, the vehicle's if all else is missing
};

/// Checks stated positions the same way for every source and adds them to a batch.
///
/// - Without a usable time of its own a position takes the time it was received, and says so;
///   without that either it is rejected.
/// - Without a usable place it is kept if it names a stop (by id or sequence number).
/// - Without a vehicle it gets one: "trip <trip>@<start date>" (one vehicle runs a trip, and
///   entities are often numbered anew in each snapshot), or else "entity <entity>"; without either
///   it is rejected.
/// - Bearings are brought into [0, 360) from [-360, 360]; other bearings, speeds below 0 and above
///   150 m/s, dates and times that cannot be read are left out with a remark.
class PositionCollector {
 public:
  using Quote = std::function<std::string()>;

  explicit PositionCollector(PositionBatch& batch) : _batch(batch) {}

  /// Adds the position, or counts it under the reason; counts it as read in either case.
  void add(StatedPosition&& stated, const Quote& quote);
  /// Counts a row or entity that cannot even be stated.
  void reject(std::string_view reason, const Quote& quote);

 private:
  void add_motion(const StatedPosition& stated, VehiclePosition& position, const Quote& quote);
  void add_start(const StatedPosition& stated, VehiclePosition& position, const Quote& quote);

  PositionBatch& _batch;
};

}  // namespace qiv
