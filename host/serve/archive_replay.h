#pragma once

#include <cstddef>
#include <deque>
#include <functional>

#include "engine/tracked_engine.h"
#include "history/archive.h"

namespace qiv {

/// Takes an engine through what an archive holds, second by second, so that it stands where it
/// would if it had been there. The trips that the archive says have ended in this time are learned
/// as they were then, whatever comes of them here, where some began before the replay.
class ArchiveReplay {
 public:
  /// Begins with what was received at `from`. `see` is told of each second before anything happens
  /// in it. Both references must outlive this.
  ArchiveReplay(const Archive& archive, TrackedEngine& tracked, Instant from,
                std::function<void(Instant)> see);

  /// Goes on with what was received until `until`, that second included, or with the next stretch
  /// of it once `enough` positions were taken. Returns whether it was all of it.
  bool go_on(Instant until, std::size_t enough);

  /// Lets time pass until `now`. From here on the engine learns by itself.
  /// Precondition: `go_on(now, ...)` has returned true.
  void finish(Instant now);

 private:
  void read_ends(Instant until);
  void learn_until(Instant until);

  const Archive& _archive;
  TrackedEngine& _tracked;
  Instant _next;                   ///< second to be taken
  Instant _ends_from;              ///< trips that ended earlier have been read
  std::deque<ArchivedRun> _ended;  ///< and not been learned yet
  std::function<void(Instant)> _see;
};

}  // namespace qiv
