#ifndef QIV_PREFETCH_H
#define QIV_PREFETCH_H

#include <cstddef>

#include "BusRoute.h"
#include "Forecast.h"
#include "TileReader.h"

/// Asks the processor for memory that an update is going to need, all of it at once, so that it
/// comes while the vehicle is looked up. Among thousands of journeys none of it is near.
class Prefetch {
 public:
  static void read(const History& history) {
    const lanes::Trajectories tiles = TileReader::read(history);
    const std::size_t nb_tiles = (tiles.count + lanes::tile_width - 1) / lanes::tile_width;
    const std::size_t nb_cells = nb_tiles * lanes::tile_cells(tiles.length);
    if (tiles.narrow != nullptr) {
      read(tiles.narrow, nb_cells * sizeof(*tiles.narrow));
    } else {
      read(tiles.wide, nb_cells * sizeof(*tiles.wide));
    }
  }

  static void read(const BusRoute& route) {
    read(route._offset.data(), route._offset.size() * sizeof(double));
  }

  static void write(const Forecast& forecast) {
    const char* const rows = reinterpret_cast<const char*>(forecast._forecast.data());
    const std::size_t size = forecast._forecast.size() * sizeof(Time);
    for (std::size_t i = 0; i < size && i < most; i += sizeof(Time)) {
      __builtin_prefetch(rows + i, 1);
    }
  }

 private:
  /// More than this would only drive out what came first.
  static const std::size_t most = 16384;
  static const std::size_t line = 64;

  static void read(const void* begin, std::size_t size) {
    const char* const memory = static_cast<const char*>(begin);
    for (std::size_t i = 0; i < size && i < most; i += line) __builtin_prefetch(memory + i);
  }
};

#endif  // QIV_PREFETCH_H
