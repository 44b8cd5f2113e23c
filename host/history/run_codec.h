#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/trip_run.h"
#include "network/trip_plan.h"

namespace qiv {

/// The progress of a run in few bytes, exactly; docs/store-format.md gives the layout. Vehicle,
/// trip and pattern are not part of it.
std::string encode_progress(std::span<const Progress> progress);

/// Reads what `encode_progress` wrote, `vehicle` and `trip` filled in; nothing for any other bytes.
std::optional<std::vector<Progress>> decode_progress(std::string_view bytes,
                                                     const VehicleId& vehicle, const TripKey& trip);

/// The calls of a trip in few bytes.
std::string encode_calls(std::span<const Call> calls);

/// Reads what `encode_calls` wrote; nothing for any other bytes.
std::optional<std::vector<Call>> decode_calls(std::string_view bytes);

}  // namespace qiv
