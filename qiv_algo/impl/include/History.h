#ifndef QIV_HISTORY_H
#define QIV_HISTORY_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "AlgoConfig.h"

/// Names a history category: the class of day or period that a trip belongs to.
typedef std::int16_t category_t;

/// A bounded store of the historical trajectories of one category. A trajectory holds, for one
/// earlier trip, the time at which it passed each milestone of the route, in the host's time unit.
class QIV_ALGO_API History {
 public:
  QIV_CONTRACT_BEGIN
  /// What a full store overwrites.
  enum Replace : int {
    random = 0,  ///< the slot drawn by the C library's `rand()`, which the library never seeds
    ring = 1     ///< slot 1, always (slot 0 when the capacity is 1): no position is remembered
  };
  QIV_CONTRACT_END

  /// An empty store that keeps at most `max_size` trajectories; with 0 it keeps nothing.
  History(unsigned int max_size, Replace strategy);

  /// Number of stored trajectories.
  unsigned int size() const;

  /// The capacity.
  unsigned int max_size() const;

  /// Number of times in a stored trajectory, taken from slot 0; 0 for an empty store.
  unsigned int length() const;

  /// True when every stored trajectory has `length` times; true for an empty store.
  bool is_compatible(unsigned int length) const;

  /// Stores a copy of `trajectory`: behind the others while there is room, afterwards in place of
  /// the one that the replacement strategy names. Its length is the caller's concern.
  void push_back(const std::vector<int>& trajectory);

  /// The trajectory in slot `k`. Precondition: `k` < `size()`.
  const std::vector<int>& operator[](unsigned int k) const;

  /// The time at which trajectory `k` passed the position (`index`, `linear`) that
  /// `BusRoute::get_interpolation_parameters` gave: linear between milestones `index` - 1 and
  /// `index`, not rounded; 0.0 for `index` 0.
  /// Preconditions: `k` < `size()`, `index` < length of the trajectory.
  double interpolate(unsigned int k, unsigned int index, double linear) const;

 private:
  friend class TileReader;

  QIV_ALGO_LOCAL bool has_tiles() const { return !_narrow.empty() || !_wide.empty(); }
  QIV_ALGO_LOCAL void make_room(unsigned int slot, const std::vector<int>& trajectory);
  QIV_ALGO_LOCAL void keep_tiles(bool fits, unsigned int changed);

  std::deque<std::vector<int> > _history;
  unsigned int _max_size;
  Replace _strategy;

  // The same times milestone by milestone, for sums over many trajectories at once: tiles of eight
  // trajectories, each a row of zeros and then a row for each milestone. In narrow cells, which are
  // half the memory to fetch, until a time does not fit into one. None when trajectories differ in
  // length.
  std::vector<std::uint16_t> _narrow;
  std::vector<int> _wide;
};

/// The trajectories of one journey: one `History` for each category, made when the category's first
/// trajectory arrives, and owned here.
class QIV_ALGO_API AllHistories {
 public:
  AllHistories();
  ~AllHistories();
  AllHistories(const AllHistories&) = delete;
  AllHistories& operator=(const AllHistories&) = delete;

  /// Sets capacity and replacement strategy ("random" or "ring") of the stores made from now on.
  /// Throws `std::invalid_argument` for any other name; the capacity is then changed already.
  void initialize(unsigned int max_size, const std::string& strategy);

  /// Stores a copy of `trajectory` under `category`.
  void push_back(category_t category, const std::vector<int>& trajectory);

  /// The store of `category`, or null when it has none. Never makes one.
  History* operator[](category_t category);

  /// True when any store holds a trajectory.
  bool is_initialized();

  /// Length of the stored trajectories, asked of the lowest category that holds any; 0 when none.
  unsigned int length();

  /// True when every stored trajectory of every category has `length` times.
  bool is_compatible(unsigned int length);

  /// Deletes all stores; capacity and strategy stay.
  void remove_all_histories();

 private:
  friend class JourneyMemory;

  std::map<category_t, History*> _history;
  unsigned int _max_size;
  History::Replace _strategy;
};

#endif  // QIV_HISTORY_H
