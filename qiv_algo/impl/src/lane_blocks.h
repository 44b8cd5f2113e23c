#ifndef QIV_LANE_BLOCKS_H
#define QIV_LANE_BLOCKS_H

#include "lanes.h"

// The operations over vectors `V` of `V::lanes` doubles, a power of two up to `tile_width`. A
// vector is loaded with the times of that many trajectories at one position. For sums over the
// trajectories a block of as many positions is transposed: then each lane is a position, and adds
// up trajectory after trajectory.
//
// Included where the functions are compiled for the instructions of `V`. Each `V` is of an unnamed
// namespace, so that no other source can come to call what is made of it here.

// A loop over the vectors of a block, which are to stay in registers; clang unrolls it unasked.
#if defined(__GNUC__) && !defined(__clang__)
#define QIV_UNROLL _Pragma("GCC unroll 8")
#else
#define QIV_UNROLL
#endif

namespace lanes {

/// The trajectories of a store, in cells of one width.
template <class V, class Cell>
struct Tiles {
  /// The cells of trajectories `k` and following in the row of zeros, up to the end of a tile.
  const Cell* cells(unsigned int k) const { return first + first_cell(k, length); }

  const Cell* first;
  std::size_t length;
  unsigned int count;
};

/// The times of the trajectories of a block at the milestone before a position, and from there to
/// the milestone behind it.
template <class V>
struct Segment {
  template <class Cell>
  Segment(const Cell* cells, const TilePosition& position)
      : prior(V::convert(cells + position.cell)),
        rise(V::convert(cells + position.cell + tile_width) - prior) {}

  V at(const TilePosition& position) const {
    return product(rise, V::all(position.linear)) + prior;
  }

  V prior;
  V rise;
};

/// The times at which the trajectories of a block passed the position.
template <class V, class Cell>
inline V times(const Cell* cells, const TilePosition& position) {
  return Segment<V>(cells, position).at(position);
}

/// Whether quotients by `scale` of the distances at `position` may be computed by `quotient`.
/// A distance is then 0 or, as times and elapsed times are made of integers, between 1e-150 and
/// 1e20, and nothing on the way to the quotient leaves the range of normal numbers.
static inline bool reciprocal_serves(const TilePosition& position, double scale) {
  const bool tame_fraction =
      position.linear == 0.0 || (position.linear >= 1e-150 && position.linear <= 1.0);
  return tame_fraction && scale >= 1e-120 && scale <= 1e120;
}

/// What the distances at a group of observations are divided by.
template <class V>
struct Scales {
  double scale[V::lanes];
  double reciprocal[V::lanes];
};

template <class V, class Cell>
inline void add_times(const Cell* cells, const Observation* group, unsigned int nb_trajectories,
                      V& sum, V& squares) {
  V time[V::lanes];
  Segment<V> segment(cells, group[0].position);
  QIV_UNROLL
  for (unsigned int j = 0; j < V::lanes; ++j) {
    const TilePosition& position = group[j].position;
    if (j > 0 && position.cell != group[j - 1].position.cell) segment = Segment<V>(cells, position);
    time[j] = segment.at(position);
  }
  transpose(time);
  QIV_UNROLL
  for (unsigned int i = 0; i < V::lanes; ++i) {
    if (i >= nb_trajectories) break;
    sum = sum + time[i];
    squares = squares + product(time[i], time[i]);
  }
}

/// The variance of all times at each observation of the group, at least 1, times the bandwidth.
template <class V, class Cell>
inline V common_scales(const Tiles<V, Cell>& tiles, const Observation* group, double bandwidth) {
  V sum = V::all(0.0);
  V squares = V::all(0.0);
  unsigned int k = 0;
  for (; k + V::lanes <= tiles.count; k += V::lanes) {
    add_times<V>(tiles.cells(k), group, V::lanes, sum, squares);
  }
  if (k < tiles.count) {
    add_times<V>(tiles.cells(k), group, tiles.count - k, sum, squares);
  }
  const V n = V::all(tiles.count);
  // The product of the counts wraps from 65536 trajectories on.
  const V n_squared = V::all(tiles.count * tiles.count);
  const V variance = squares / n - product(sum, sum) / n_squared;
  return product(at_least(1.0, variance), V::all(bandwidth));
}

template <class V, bool by_reciprocal, class Cell>
inline V subtract_group(V weight, const Cell* cells, const Observation* group, unsigned int count,
                        const Scales<V>& scales) {
  Segment<V> segment(cells, group[0].position);
  for (unsigned int j = 0; j < count; ++j) {
    const TilePosition& position = group[j].position;
    if (j > 0 && position.cell != group[j - 1].position.cell) segment = Segment<V>(cells, position);
    const V distance = segment.at(position) - V::all(group[j].elapsed);
    const V scale = V::all(scales.scale[j]);
    const V scaled =
        by_reciprocal ? quotient(distance, scale, V::all(scales.reciprocal[j])) : distance / scale;
    weight = weight - product(scaled, distance);
  }
  return weight;
}

template <class V, bool by_reciprocal, class Cell>
inline void subtract_from_all(const Tiles<V, Cell>& tiles, const Observation* group,
                              unsigned int count, const Scales<V>& scales, double* weights) {
  unsigned int k = 0;
  for (; k + V::lanes <= tiles.count; k += V::lanes) {
    const V weight = V::load(weights + k);
    subtract_group<V, by_reciprocal>(weight, tiles.cells(k), group, count, scales)
        .store(weights + k);
  }
  if (k == tiles.count) return;
  double rest[V::lanes] = {};
  for (unsigned int i = 0; k + i < tiles.count; ++i) rest[i] = weights[k + i];
  subtract_group<V, by_reciprocal>(V::load(rest), tiles.cells(k), group, count, scales).store(rest);
  for (unsigned int i = 0; k + i < tiles.count; ++i) weights[k + i] = rest[i];
}

template <class V, class Cell>
inline void subtract_distances(const Tiles<V, Cell>& tiles, const Observation* observations,
                               unsigned int count, double bandwidth, double* weights) {
  for (unsigned int j = 0; j < count; j += V::lanes) {
    const Observation* const group = observations + j;
    const unsigned int group_size = count - j < V::lanes ? count - j : V::lanes;
    const V scale = common_scales(tiles, group, bandwidth);
    Scales<V> scales;
    scale.store(scales.scale);
    (V::all(1.0) / scale).store(scales.reciprocal);
    bool by_reciprocal = V::fuses;
    for (unsigned int i = 0; i < group_size; ++i) {
      by_reciprocal = by_reciprocal && reciprocal_serves(group[i].position, scales.scale[i]);
    }
    if (by_reciprocal) {
      subtract_from_all<V, V::fuses>(tiles, group, group_size, scales, weights);
    } else {
      subtract_from_all<V, false>(tiles, group, group_size, scales, weights);
    }
  }
}

template <class V>
void subtract_distances(const Trajectories& trajectories, const Observation* observations,
                        unsigned int count, double bandwidth, double* weights) {
  if (trajectories.narrow != nullptr) {
    const Tiles<V, std::uint16_t> tiles = {trajectories.narrow, trajectories.length,
                                           trajectories.count};
    subtract_distances(tiles, observations, count, bandwidth, weights);
  } else {
    const Tiles<V, int> tiles = {trajectories.wide, trajectories.length, trajectories.count};
    subtract_distances(tiles, observations, count, bandwidth, weights);
  }
}

template <class V, Increments increments, class Cell>
inline void add_increments(const Cell* cells, const double* weights, unsigned int nb_trajectories,
                           const TilePosition& first, const TilePosition* ends, V& mean,
                           V& square) {
  V increment[V::lanes];
  V from = times<V>(cells, first);
  QIV_UNROLL
  for (unsigned int j = 0; j < V::lanes; ++j) {
    const V to = times<V>(cells, ends[j]);
    increment[j] = to - from;
    if (increments == Increments::from_previous) from = to;
  }
  transpose(increment);
  QIV_UNROLL
  for (unsigned int i = 0; i < V::lanes; ++i) {
    if (i >= nb_trajectories) break;
    const V weighted = product(V::all(weights[i]), increment[i]);
    mean = mean + weighted;
    square = square + product(increment[i], weighted);
  }
}

template <Increments increments, class V, class Cell>
inline void sum_group(const Tiles<V, Cell>& tiles, const double* weights, const TilePosition& first,
                      const TilePosition* ends, double* means, double* squares) {
  V mean = V::all(0.0);
  V square = V::all(0.0);
  unsigned int k = 0;
  for (; k + V::lanes <= tiles.count; k += V::lanes) {
    add_increments<V, increments>(tiles.cells(k), weights + k, V::lanes, first, ends, mean, square);
  }
  if (k < tiles.count) {
    add_increments<V, increments>(tiles.cells(k), weights + k, tiles.count - k, first, ends, mean,
                                  square);
  }
  mean.store(means);
  square.store(squares);
}

template <class V, class Cell>
inline void sum_increments(const Tiles<V, Cell>& tiles, const double* weights,
                           const TilePosition* positions, unsigned int count, Increments increments,
                           IncrementSums& sums) {
  for (unsigned int j = 0; j < count; j += V::lanes) {
    const TilePosition* const ends = positions + j + 1;
    if (increments == Increments::from_first) {
      sum_group<Increments::from_first>(tiles, weights, positions[0], ends, sums.mean + j,
                                        sums.square + j);
    } else {
      sum_group<Increments::from_previous>(tiles, weights, positions[j], ends, sums.mean + j,
                                           sums.square + j);
    }
  }
}

template <class V>
void sum_increments(const Trajectories& trajectories, const double* weights,
                    const TilePosition* positions, unsigned int count, Increments increments,
                    IncrementSums& sums) {
  if (trajectories.narrow != nullptr) {
    const Tiles<V, std::uint16_t> tiles = {trajectories.narrow, trajectories.length,
                                           trajectories.count};
    sum_increments(tiles, weights, positions, count, increments, sums);
  } else {
    const Tiles<V, int> tiles = {trajectories.wide, trajectories.length, trajectories.count};
    sum_increments(tiles, weights, positions, count, increments, sums);
  }
}

}  // namespace lanes

#undef QIV_UNROLL

#endif  // QIV_LANE_BLOCKS_H
