#pragma once

#include <string_view>

#include "feed/position_batch.h"

namespace qiv {

/// Reads a table of recorded positions (CSV), unpacked or gzip'd; nothing is thrown for what the
/// bytes hold. Columns are found by name, others are not seen, and any may be missing or empty:
///
/// | column | meaning |
/// |---|---|
/// | feed_timestamp | received: Unix seconds, or ISO 8601 with a zone |
/// | timestamp | time of the vehicle's own report, in the same forms |
/// | vehicle_id, trip_id, route_id, stop_id | identifiers |
/// | direction_id | 0 or 1 |
/// | start_date, start_time | service day, YYYYMMDD; HH:MM:SS, may exceed 24 h |
/// | lat, lon | degrees, WGS 84 |
/// | bearing, speed | degrees clockwise from north; m/s |
/// | current_stop_sequence | number from 0 |
/// | current_status | INCOMING_AT, STOPPED_AT or IN_TRANSIT_TO |
///
/// A table with neither feed_timestamp nor timestamp, or that is damaged, is one rejection;
/// otherwise each row is a position or a rejection. `PositionOptions::max_snapshot_bytes` does not
/// apply: a table holds a day or more. It may unpack to 1 GiB.
PositionBatch read_position_table(std::string_view bytes, const PositionOptions& options = {});

}  // namespace qiv
