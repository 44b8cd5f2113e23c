#pragma once

#include "check.h"
#include "feed/position_batch.h"
#include "feed/position_collector.h"

namespace fuzz {

/// What must hold for every position that a reader hands on.
inline void check_position(const qiv::VehiclePosition& position) {
  check(!position.vehicle.empty(), "a position has a vehicle");
  check(qiv::is_plausible_time(position.time), "the time is plausible");
  check(qiv::is_plausible_time(position.received), "the time of receipt is plausible");
  check(!position.time_is_received || position.time == position.received,
        "a position without time has that of its receipt");
  check(position.place || !position.stop.empty() || position.stop_sequence,
        "a position has a place or a stop");
  check(!position.place || is_plausible(*position.place), "the place is on the globe");
  check(!position.bearing_deg || (*position.bearing_deg >= 0.0 && *position.bearing_deg < 360.0),
        "the bearing is within one turn");
  check(!position.speed_mps || (*position.speed_mps >= 0.0 && *position.speed_mps <= 150.0),
        "the speed is plausible");
  check(!position.direction || *position.direction == 0 || *position.direction == 1,
        "the direction is 0 or 1");
  check(!position.start_time || *position.start_time >= qiv::Seconds(0),
        "the start time is not before the day");
  check(!position.start_date || qiv::is_plausible_time(qiv::Instant(position.start_date->days())),
        "the start date is plausible");
}

inline bool same(const qiv::VehiclePosition& a, const qiv::VehiclePosition& b) {
  return a.received == b.received && a.time == b.time && a.vehicle == b.vehicle &&
         a.trip == b.trip && a.route == b.route && a.direction == b.direction &&
         a.start_date == b.start_date && a.start_time == b.start_time && a.place == b.place &&
         a.bearing_deg == b.bearing_deg && a.speed_mps == b.speed_mps && a.stop == b.stop &&
         a.stop_sequence == b.stop_sequence && a.status == b.status;
}

/// What must hold for a batch read from `bytes` bytes, and for a second reading of the same bytes.
inline void check_batch(const qiv::PositionBatch& batch, const qiv::PositionBatch& again,
                        std::size_t bytes) {
  check(batch.read == batch.positions.size() + batch.rejections.total(),
        "what is read is used or rejected");
  check(batch.read <= bytes + 1, "there are no more positions than bytes");
  for (const qiv::VehiclePosition& position : batch.positions) check_position(position);
  check(batch.positions.size() == again.positions.size(), "reading twice gives as many");
  for (std::size_t i = 0; i < batch.positions.size(); ++i)
    check(same(batch.positions[i], again.positions[i]), "reading twice gives the same");
  for (const auto& [reason, entry] : batch.rejections.entries())
    check(entry.first.size() < 1000, "a quotation is short");
}

}  // namespace fuzz
