// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "History.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>

#include "lanes.h"

using lanes::first_cell;
using lanes::tile_cells;
using lanes::tile_width;

namespace {

double between(double prior, double item, double linear) {
  return product(item - prior, linear) + prior;
}

bool fits_narrow(const std::vector<int>& trajectory) {
  for (const int time : trajectory) {
    if (time < 0 || time > std::numeric_limits<std::uint16_t>::max()) return false;
  }
  return true;
}

/// Makes `tiles` at least `nb_tiles` long. Memory is asked for an eighth more than needed, but for
/// no more than `most` tiles take.
template <class Cell>
void add_tiles(std::vector<Cell>& tiles, std::size_t nb_tiles, std::size_t most,
               std::size_t cells) {
  if (tiles.size() >= nb_tiles * cells) return;
  if (tiles.capacity() < nb_tiles * cells) {
    tiles.reserve(std::min(nb_tiles + nb_tiles / 8, most) * cells);
  }
  tiles.resize(nb_tiles * cells, 0);
}

/// Writes a trajectory into its cells, of which `cell` is the one in the row of zeros.
template <class Cell>
void write(const std::vector<int>& trajectory, Cell* cell) {
  for (const int time : trajectory) *(cell += tile_width) = static_cast<Cell>(time);
}

}  // namespace

History::History(unsigned int max_size, Replace strategy)
    : _history(), _max_size(max_size), _strategy(strategy), _narrow(), _wide() {}

unsigned int History::size() const {
  return static_cast<unsigned int>(_history.size());
}

unsigned int History::max_size() const {
  return _max_size;
}

unsigned int History::length() const {
  return _history.empty() ? 0 : static_cast<unsigned int>(_history.front().size());
}

bool History::is_compatible(unsigned int length) const {
  for (const std::vector<int>& trajectory : _history) {
    if (trajectory.size() != length) return false;
  }
  return true;
}

void History::push_back(const std::vector<int>& trajectory) {
  if (_max_size == 0) return;
  if (_history.empty()) {
    _narrow.clear();
    _wide.clear();
  }
  const bool fits = _history.empty() || (has_tiles() && trajectory.size() == length());
  if (size() < _max_size) {
    if (fits) make_room(size(), trajectory);
    _history.push_back(trajectory);
    keep_tiles(fits, size() - 1);
    return;
  }
  // The ring starts anew with every call: always the slot after the first.
  const unsigned int index =
      _strategy == random ? static_cast<unsigned int>(std::rand()) % _max_size : 1 % _max_size;
  if (fits) make_room(index, trajectory);
  _history[index] = trajectory;
  keep_tiles(fits, index);
}

// A tile that is there already was made for a trajectory which then found no memory, and so may be
// the width of the cells.
void History::make_room(unsigned int slot, const std::vector<int>& trajectory) {
  const std::size_t nb_tiles = slot / tile_width + 1;
  const std::size_t most = (_max_size - 1) / tile_width + 1;
  const std::size_t cells = tile_cells(trajectory.size());
  if (_wide.empty() && fits_narrow(trajectory)) {
    add_tiles(_narrow, nb_tiles, most, cells);
    return;
  }
  if (!_narrow.empty()) {
    std::vector<int>(_narrow.begin(), _narrow.end()).swap(_wide);
    std::vector<std::uint16_t>().swap(_narrow);
  }
  add_tiles(_wide, nb_tiles, most, cells);
}

void History::keep_tiles(bool fits, unsigned int changed) {
  if (!fits) {
    std::vector<std::uint16_t>().swap(_narrow);
    std::vector<int>().swap(_wide);
    return;
  }
  const std::vector<int>& trajectory = _history[changed];
  const std::size_t cell = first_cell(changed, trajectory.size());
  if (_wide.empty()) {
    write(trajectory, &_narrow[cell]);
  } else {
    write(trajectory, &_wide[cell]);
  }
}

const std::vector<int>& History::operator[](unsigned int k) const {
  return _history[k];
}

// From the tiles, where the forecast that the time is for will read as well.
double History::interpolate(unsigned int k, unsigned int index, double linear) const {
  if (index == 0) return 0.0;
  const std::size_t cell = first_cell(k, length()) + index * std::size_t(tile_width);
  if (!_narrow.empty()) return between(_narrow[cell], _narrow[cell + tile_width], linear);
  if (!_wide.empty()) return between(_wide[cell], _wide[cell + tile_width], linear);
  const std::vector<int>& trajectory = _history[k];
  return between(trajectory[index - 1], trajectory[index], linear);
}

AllHistories::AllHistories() : _history(), _max_size(0), _strategy(History::random) {}

AllHistories::~AllHistories() {
  remove_all_histories();
}

void AllHistories::initialize(unsigned int max_size, const std::string& strategy) {
  _max_size = max_size;
  if (strategy == "random") {
    _strategy = History::random;
  } else if (strategy == "ring") {
    _strategy = History::ring;
  } else {
    throw std::invalid_argument("Replacement strategy " + strategy +
                                " hasn't been implemented yet.");
  }
}

void AllHistories::push_back(category_t category, const std::vector<int>& trajectory) {
  std::map<category_t, History*>::iterator store = _history.lower_bound(category);
  if (store == _history.end() || store->first != category) {
    std::unique_ptr<History> created(new History(_max_size, _strategy));
    store = _history.emplace_hint(store, category, nullptr);
    store->second = created.release();
  }
  store->second->push_back(trajectory);
}

History* AllHistories::operator[](category_t category) {
  const std::map<category_t, History*>::iterator store = _history.find(category);
  return store == _history.end() ? nullptr : store->second;
}

bool AllHistories::is_initialized() {
  for (const auto& store : _history) {
    if (store.second->size() != 0) return true;
  }
  return false;
}

unsigned int AllHistories::length() {
  for (const auto& store : _history) {
    if (store.second->size() != 0) return store.second->length();
  }
  return 0;
}

bool AllHistories::is_compatible(unsigned int length) {
  for (const auto& store : _history) {
    if (!store.second->is_compatible(length)) return false;
  }
  return true;
}

void AllHistories::remove_all_histories() {
  for (const auto& store : _history) delete store.second;
  _history.clear();
}
