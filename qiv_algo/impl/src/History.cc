// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "History.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

History::History(unsigned int max_size, Replace strategy)
    : _history(), _max_size(max_size), _strategy(strategy) {}

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
  if (size() < _max_size) {
    _history.push_back(trajectory);
    return;
  }
  // The ring starts anew with every call: always the slot after the first.
  const unsigned int index =
      _strategy == random ? static_cast<unsigned int>(std::rand()) % _max_size : 1 % _max_size;
  _history[index] = trajectory;
}

const std::vector<int>& History::operator[](unsigned int k) const {
  return _history[k];
}

double History::interpolate(unsigned int k, unsigned int index, double linear) const {
  if (index == 0) return 0.0;
  const std::vector<int>& trajectory = _history[k];
  const double prior = trajectory[index - 1];
  const double item = trajectory[index];
  return product(item - prior, linear) + prior;
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
