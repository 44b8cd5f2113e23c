#ifndef QIV_LANES_H
#define QIV_LANES_H

#include <cstddef>
#include <cstdint>

/// @file
/// The sums over the trajectories of a store, several trajectories or several positions at a time.
/// Every set of operations gives the same bits as one trajectory and one position after the other:
/// each lane of a vector does the operations of the plain formula, in its order.

namespace lanes {

/// Trajectories side by side in one tile of a store.
const unsigned int tile_width = 8;

/// The cells of a tile for trajectories of `length` times: a row of zeros, and one for each
/// milestone. An empty trajectory has a row too, so that there are two around every position.
inline std::size_t tile_cells(std::size_t length) {
  return (1 + (length == 0 ? 1 : length)) * tile_width;
}

/// The cell of trajectory `k` in the row of zeros of its tile.
inline std::size_t first_cell(unsigned int k, std::size_t length) {
  return k / tile_width * tile_cells(length) + k % tile_width;
}

/// The positions that one call of an operation takes at most.
const unsigned int batch_size = 8 * tile_width;

/// `count`, raised to a whole number of groups. What stands between them must be places in a tile;
/// nothing comes of it.
inline unsigned int padded(unsigned int count) {
  return (count + tile_width - 1) / tile_width * tile_width;
}

/// A position on the milestone grid, as tiles are read: a tile begins with a row of zeros, and row
/// i + 1 holds the times of `tile_width` trajectories at milestone i.
struct TilePosition {
  TilePosition() = default;
  /// From what `BusRoute::get_interpolation_parameters` gives. Before the first milestone every
  /// time is 0, whatever the fraction is.
  TilePosition(unsigned int index, double fraction)
      : cell(static_cast<std::size_t>(index) * tile_width), linear(index == 0 ? 0.0 : fraction) {}

  std::size_t cell;  ///< of the row before the position; the row behind it follows
  double linear;     ///< fraction of the way from the one to the other
};

/// An update of a vehicle: where it was, and the time since it began the journey.
struct Observation {
  TilePosition position;
  double elapsed;
};

/// The trajectories of a store, tile by tile, in cells of one of two widths; null for the other.
struct Trajectories {
  const std::uint16_t* narrow;
  const int* wide;
  std::size_t length;
  unsigned int count;
};

/// Weighted sums over all trajectories.
struct IncrementSums {
  double mean[batch_size];    ///< of the increments
  double square[batch_size];  ///< of their squares
};

/// Where an increment begins that ends at one of a list of positions.
enum class Increments { from_first, from_previous };

/// The sums by one set of instructions.
struct Operations {
  /// Subtracts from each trajectory's weight its distances from `count` observations, as
  /// `KernelRegression::compute_kernel` states them. `observations` goes on to `padded(count)`.
  void (*subtract_distances)(const Trajectories& trajectories, const Observation* observations,
                             unsigned int count, double bandwidth, double* weights);

  /// Sums the increments that end at `positions` 1 to `count`, for each its own sum. `positions`
  /// goes on to 1 + `padded(count)`.
  void (*sum_increments)(const Trajectories& trajectories, const double* weights,
                         const TilePosition* positions, unsigned int count, Increments increments,
                         IncrementSums& sums);
};

/// The instructions that a set of operations is made of.
enum class Instructions { portable, sse2, avx2, avx512 };

/// The operations by the widest vectors that the processor has, or those of the last `use`.
const Operations& operations();

/// True when the library holds operations by these instructions and the processor has them.
bool has(Instructions instructions);

/// From now on takes these operations. Precondition: `has(instructions)`. For tests and benchmarks;
/// nothing in the library calls it.
void use(Instructions instructions);

/// Each null where the library is compiled for another kind of processor.
const Operations* portable_operations();
const Operations* sse2_operations();
const Operations* avx2_operations();
const Operations* avx512_operations();

}  // namespace lanes

#endif  // QIV_LANES_H
