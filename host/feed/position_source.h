#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "feed/file_bundle.h"
#include "feed/gtfs_realtime.h"
#include "feed/position_batch.h"

namespace qiv {

/// Takes positions that were received at the same time, in the order of the source.
using PositionSink = std::function<void(const std::vector<VehiclePosition>&)>;

/// What became of a recording.
struct RecordingSummary {
  std::uint64_t files = 0;  ///< that could be read as tables or snapshots
  std::uint64_t read = 0;   ///< rows and entities
  std::uint64_t used = 0;   ///< positions handed on
  Rejections rejections;    ///< rows and entities not used, snapshots malformed, other files
  Rejections remarks;
};

/// Reads recorded positions: one file, a folder, or a zip file of them, gzip'd or not. What a file
/// is tells its extension: .csv is a table, .pb a GTFS-realtime message, .xml a SIRI document (.gz
/// may follow); where it has another one, its content. Files are read one after the other in the
/// order of their names, and the rows of a table are put in the order in which they were received;
/// what was received at the same time in one file makes one call of `sink`.
///
/// A file of a folder or zip file that cannot be read, or that is no recording, is a rejection.
/// Throws std::runtime_error, with file and remedy, when `path` cannot be opened or holds no
/// recording at all.
RecordingSummary read_positions(const std::filesystem::path& path, const PositionSink& sink,
                                const PositionOptions& options = {});
RecordingSummary read_positions(const FileBundle& bundle, const PositionSink& sink,
                                const PositionOptions& options = {});

/// Takes the trip updates of one snapshot.
using TripUpdateSink = std::function<void(const TripUpdateBatch&)>;

/// Reads recorded snapshots of GTFS-realtime trip updates in the same way.
RecordingSummary read_recorded_trip_updates(const std::filesystem::path& path,
                                            const TripUpdateSink& sink,
                                            const PositionOptions& options = {});

}  // namespace qiv
