// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "History.h"

#include <algorithm>
#include <cstdlib>
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

}  // namespace

History::History(unsigned int max_size, Replace strategy)
    : _history(), _max_size(max_size), _strategy(strategy), _tiles() {}

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
  if (_history.empty()) _tiles.clear();
  const bool fits = _history.empty() || (!_tiles.empty() && trajectory.size() == length());
  if (size() < _max_size) {
    if (fits && size() % tile_width == 0) add_tile(trajectory.size());
    _history.push_back(trajectory);
    keep_tiles(fits, size() - 1);
    return;
  }
  // The ring starts anew with every call: always the slot after the first.
  const unsigned int index =
      _strategy == random ? static_cast<unsigned int>(std::rand()) % _max_size : 1 % _max_size;
  _history[index] = trajectory;
  keep_tiles(fits, index);
}

// A tile that is there already was made for a trajectory which then found no memory. Memory is
// asked for an eighth more than needed, but for no more than the capacity takes.
void History::add_tile(std::size_t length) {
  const std::size_t cells = tile_cells(length);
  const std::size_t nb_tiles = size() / tile_width + 1;
  if (_tiles.size() >= nb_tiles * cells) return;
  if (_tiles.capacity() < nb_tiles * cells) {
    const std::size_t most = (_max_size - 1) / tile_width + 1;
    _tiles.reserve(std::min(nb_tiles + nb_tiles / 8, most) * cells);
  }
  _tiles.resize(nb_tiles * cells, 0);
}

void History::keep_tiles(bool fits, unsigned int changed) {
  if (!fits) {
    std::vector<int>().swap(_tiles);
    return;
  }
  const std::vector<int>& trajectory = _history[changed];
  int* cell = &_tiles[first_cell(changed, trajectory.size())];
  for (const int time : trajectory) *(cell += tile_width) = time;
}

const std::vector<int>& History::operator[](unsigned int k) const {
  return _history[k];
}

// From the tiles, where the forecast that the time is for will read as well.
double History::interpolate(unsigned int k, unsigned int index, double linear) const {
  if (index == 0) return 0.0;
  if (_tiles.empty()) {
    const std::vector<int>& trajectory = _history[k];
    return between(trajectory[index - 1], trajectory[index], linear);
  }
  const int* const prior = &_tiles[first_cell(k, length())] + index * std::size_t(tile_width);
  return between(prior[0], prior[tile_width], linear);
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
