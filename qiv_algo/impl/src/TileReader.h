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
};

#endif  // QIV_TILE_READER_H
