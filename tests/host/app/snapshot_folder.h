#pragma once

#include <filesystem>
#include <string>

#include "model/vehicle_position.h"

namespace qiv::testing {

/// Puts a report into a folder of snapshots as file `name`, as if it came now: a message of its
/// own, which is there whole or not at all.
void put_snapshot(const std::filesystem::path& folder, const std::string& name,
                  const VehiclePosition& report);

/// What is in a file; nothing where there is none.
std::string bytes_of(const std::filesystem::path& file);

}  // namespace qiv::testing
