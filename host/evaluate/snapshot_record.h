#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "feed/file_bundle.h"
#include "feed/gtfs_realtime.h"
#include "model/rejections.h"

namespace qiv {

/// Recorded snapshots of GTFS-realtime trip updates (a file, a folder, or a zip file of them), as
/// they were on display one after the other. Opening reads no more than their times; a snapshot is
/// decoded when it is asked for, so that memory holds one of them, however long the recording is.
class SnapshotRecord {
 public:
  /// A snapshot counts from the time of its header; without one, from the newest of its updates. Of
  /// several with one time the last by name counts. Other files are rejections. Throws
  /// std::runtime_error, with file and remedy, when `path` cannot be opened or holds no snapshot.
  SnapshotRecord(const std::filesystem::path& path, Seconds longest_age);

  /// The last snapshot that is not later than `now`; null when there is none, or when it is older
  /// than the longest age. Valid until the next call.
  const TripUpdateBatch* at(Instant now);

  /// How many snapshots the recording holds.
  std::size_t size() const { return _snapshots.size(); }
  /// How many times `at` brought another one on display.
  std::uint64_t shown() const { return _shown; }
  /// Files that are no snapshots, and what was not used of those that were on display.
  const Rejections& rejections() const { return _rejections; }

 private:
  struct Snapshot {
    Instant time{};
    std::string entry;
  };

  std::optional<Instant> time_of(const std::string& entry);
  void load(std::size_t snapshot);

  FileBundle _bundle;
  Seconds _longest_age;
  std::vector<Snapshot> _snapshots;  ///< in order of time, one for each
  std::optional<std::size_t> _current;
  TripUpdateBatch _batch;
  std::uint64_t _shown = 0;
  Rejections _rejections;
};

}  // namespace qiv
