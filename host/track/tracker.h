#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "model/rejections.h"
#include "model/vehicle_position.h"
#include "network/network.h"
#include "track/events.h"
#include "track/options.h"

namespace qiv {

/// Follows vehicles: from reports, in the order of receipt, to places along the journey patterns.
/// Each vehicle is followed alone: what is said of it depends on its own reports only, and two
/// vehicles may be on one trip. Deterministic; reads no clock: time comes in with the reports.
class Tracker {
 public:
  /// `network` must outlive the tracker.
  explicit Tracker(const Network& network, TrackOptions options = {});
  Tracker(Tracker&&) noexcept;
  Tracker& operator=(Tracker&&) noexcept;
  ~Tracker();

  /// Takes one report and appends what follows from it to `events`. Reports that are not used are
  /// counted.
  void update(const VehiclePosition& report, std::vector<TrackEvent>& events);

  /// Lets time pass until `now`, by the clock of receipt: vehicles that have been silent for too
  /// long leave their trips, each at the moment at which its time was up, however late this is
  /// called; the earliest first, ties by vehicle. They are forgotten in the end.
  void advance(Instant now, std::vector<TrackEvent>& events);

  /// Ends the trip of one vehicle, if it is on one, as if it had begun another.
  void release(const VehicleId& vehicle, Instant now, std::vector<TrackEvent>& events);

  /// Ends every trip, as at the end of a recording.
  void finish(std::vector<TrackEvent>& events);

  /// What is said of each vehicle, in the order of their identifiers.
  struct VehicleReport {
    VehicleId vehicle;
    VehicleStatus status = VehicleStatus::no_trip;
    Instant since{};              ///< of this status
    Instant last_report{};        ///< time of the vehicle's last report
    std::optional<TripKey> trip;  ///< that it is followed on
    /// How sure the assignment of `trip` by the vehicle's course is, 0 to 1; nothing where its
    /// reports name it.
    std::optional<double> confidence = std::nullopt;
  };
  std::vector<VehicleReport> vehicles() const;
  /// The same of one vehicle; nothing when it has not reported lately.
  std::optional<VehicleReport> vehicle(const VehicleId& id) const;

  const Rejections& rejections() const;

 private:
  struct State;
  std::unique_ptr<State> _state;
};

}  // namespace qiv
