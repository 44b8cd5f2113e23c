#pragma once

#include <map>
#include <string>
#include <string_view>

#include "feed/position_batch.h"

namespace qiv {

/// Where the fields of a position are in a JSON message: JSON pointers (RFC 6901) by field, such as
/// {"vehicle", "/VP/veh"}. Known fields: vehicle, trip, route, direction, start_date, start_time,
/// time, lat, lon, bearing, speed, stop, stop_sequence, status.
///
/// Times are Unix seconds, Unix milliseconds, or ISO 8601 with a zone; `status` is a status of
/// GTFS-realtime by name ("STOPPED_AT") or number; dates are YYYYMMDD or YYYY-MM-DD.
struct JsonFields {
  std::map<std::string, std::string> pointers;
  /// Pointer to the list of positions; empty: the whole message is one position, or a list of them.
  std::string list;
};

/// The first mistake in `fields` (an unknown field, a pointer that is none, no field for a place or
/// stop), with the remedy; empty when there is none.
std::string mistake_in(const JsonFields& fields);

/// Reads the positions of a JSON message; nothing is thrown for what the bytes hold. A message that
/// is no JSON or too large is one rejection. What is said of checks in `PositionCollector` holds.
/// Precondition: `mistake_in(fields)` is empty.
PositionBatch read_json_positions(std::string_view bytes, const JsonFields& fields,
                                  const PositionOptions& options = {});

}  // namespace qiv
