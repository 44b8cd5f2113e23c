#ifndef QIV_TILE_READER_H
#define QIV_TILE_READER_H

#include "History.h"
#include "lanes.h"

/// The one way to the tiles of a store.
class TileReader {
 public:
  /// False for a store whose trajectories differ, or have differed, in length.
  static bool has_tiles(const History& history) { return history.has_tiles(); }

  /// Precondition: `has_tiles(history)`.
  static lanes::Trajectories read(const History& history) {
    return {history._narrow.empty() ? nullptr : history._narrow.data(),
            history._wide.empty() ? nullptr : history._wide.data(), history.length(),
            history.size()};
  }

  /// Where the tiles lie, and how many bytes they are; none for a store without.
  static void locate(const History& history, const void*& begin, std::size_t& size) {
    if (history._wide.empty()) {
      begin = history._narrow.data();
      size = history._narrow.size() * sizeof(history._narrow[0]);
    } else {
      begin = history._wide.data();
      size = history._wide.size() * sizeof(history._wide[0]);
    }
  }
};

#endif  // QIV_TILE_READER_H
