#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "history/archive.h"
#include "model/vehicle_position.h"
#include "network/network.h"
#include "track/events.h"

namespace qiv {

/// Gathers what happens in a cycle and brings it into the archive as one transaction. When the
/// archive cannot be written, predictions go on: what waits is kept for the next attempt, up to a
/// limit, and what had to be given up is counted.
class ArchiveWriter {
 public:
  struct Options {
    /// So many rows wait at most; beyond that the oldest are given up.
    std::size_t most_rows = 500'000;
  };
  struct Counts {
    std::uint64_t positions = 0;  ///< stored
    std::uint64_t progress = 0;   ///< stored
    std::uint64_t trips = 0;      ///< finished and stored
    std::uint64_t failures = 0;   ///< attempts that failed
    std::uint64_t losses = 0;     ///< rows that were given up
  };

  /// `archive` must outlive the writer.
  explicit ArchiveWriter(Archive& archive) : ArchiveWriter(archive, Options()) {}
  ArchiveWriter(Archive& archive, Options options) : _archive(archive), _options(options) {}

  void add(const VehiclePosition& position);
  /// Takes what an event says of a trip of `network`.
  void add(const TrackEvent& event, const Network& network);
  /// A trip that has ended. One without progress leaves nothing behind.
  void add_finished(ArchivedRun run);

  /// Brings all that waits into the archive. False, and `last_error` says why, when it could not.
  bool commit();

  const Counts& counts() const { return _counts; }
  const std::string& last_error() const { return _last_error; }
  /// Rows that wait.
  std::size_t waiting() const { return _positions.size() + _changes.size(); }

 private:
  using Change = std::variant<AcceptedProgress, TripRun, ArchivedRun>;

  void write();
  void give_up_beyond_limit();

  Archive& _archive;
  Options _options;
  std::vector<VehiclePosition> _positions;
  std::vector<Change> _changes;  ///< in order; a `TripRun` replaces all progress of its trip
  Counts _counts;
  std::string _last_error;
};

}  // namespace qiv
