#pragma once

#include <string_view>

#include "feed/position_batch.h"

namespace qiv {

/// Reads the vehicle activities of a SIRI vehicle-monitoring document (XML), whatever namespaces
/// its elements carry and whatever envelope is around them; nothing is thrown for what the bytes
/// hold. A document that is no XML, too large, or without any VehicleMonitoringDelivery is one
/// rejection; otherwise each MonitoredVehicleJourney is a position or a rejection, and so is an
/// activity without any.
///
/// | SIRI | position |
/// |---|---|
/// | ResponseTimestamp, the last one before the activity | received, unless the options state it |
/// | RecordedAtTime | time |
/// | VehicleRef, LineRef | vehicle, route |
/// | DirectionRef, if it is 0 or 1 | direction |
/// | FramedVehicleJourneyRef: DatedVehicleJourneyRef, or else VehicleJourneyRef | trip |
/// | FramedVehicleJourneyRef: DataFrameRef, its first ten characters | start date |
/// | VehicleLocation (degrees), Bearing, Velocity (m/s) | place, bearing, speed |
/// | MonitoredCall: StopPointRef, Order | stop, stop sequence |
/// | MonitoredCall: VehicleAtStop | stopped at, if true; in transit to, if false |
///
/// Times need a zone; one without is treated as implausible.
PositionBatch read_siri_vm(std::string_view bytes, const PositionOptions& options = {});

}  // namespace qiv
