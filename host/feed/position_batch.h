#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model/rejections.h"
#include "model/time.h"
#include "model/vehicle_position.h"

namespace qiv {

/// What one snapshot or table of positions says.
struct PositionBatch {
  /// Time of the feed's header, where it has one.
  std::optional<Instant> time;
  std::vector<VehiclePosition> positions;  ///< in the order of the source
  /// How many rows or entities there were: `positions` plus what `rejections` counts.
  std::uint64_t read = 0;
  Rejections rejections;  ///< rows, entities, or the whole source, that were not used
  Rejections remarks;     ///< what was left out of positions that were used otherwise
};

/// How positions are read from bytes.
struct PositionOptions {
  std::string name = "feed";  ///< to quote
  /// When the bytes came in; without it a position is received at the time in the feed's header, or
  /// else at its own time.
  std::optional<Instant> received;
  /// Taken off the front of every identifier of a SIRI document that begins with it, the first that
  /// fits: {"MTA NYCT_"} makes "B63" of "MTA NYCT_B63". Otherwise identifiers stay as they are.
  std::vector<std::string> strip_prefixes;
  /// Larger snapshots are rejected (GTFS-realtime and SIRI; what is parsed takes several times the
  /// memory).
  std::uint64_t max_snapshot_bytes = std::uint64_t{32} << 20U;
};

}  // namespace qiv
