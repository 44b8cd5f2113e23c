#include "twin/History.h"

#include <cstdlib>
#include <stdexcept>

namespace twin {

History::History(unsigned int max_size, Replace strategy)
    : _max_size(max_size), _strategy(strategy) {}

unsigned int History::size() const {
  return static_cast<unsigned int>(_history.size());
}

unsigned int History::max_size() const {
  return _max_size;
}

unsigned int History::length() const {
  return _history.empty() ? 0 : static_cast<unsigned int>(_history[0].size());
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
  unsigned int index = 0;
  if (_strategy == random) index = static_cast<unsigned int>(std::rand()) % _max_size;
  if (_strategy == ring) index = (index + 1) % _max_size;
  _history[index] = trajectory;
}

const std::vector<int>& History::operator[](unsigned int k) const {
  return _history[k];
}

double History::interpolate(unsigned int k, unsigned int index, double linear) const {
  if (index == 0) return 0.0;
  const double prior = _history[k][index - 1];
  const double item = _history[k][index];
  return (item - prior) * linear + prior;
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
  if (_history.count(category) == 0) {
    _history[category] = std::make_unique<History>(_max_size, _strategy);
  }
  _history[category]->push_back(trajectory);
}

History* AllHistories::operator[](category_t category) {
  const auto found = _history.find(category);
  return found == _history.end() ? nullptr : found->second.get();
}

bool AllHistories::is_initialized() {
  for (const auto& entry : _history) {
    if (entry.second->size() != 0) return true;
  }
  return false;
}

unsigned int AllHistories::length() {
  for (const auto& entry : _history) {
    if (entry.second->size() != 0) return entry.second->length();
  }
  return 0;
}

bool AllHistories::is_compatible(unsigned int length) {
  for (const auto& entry : _history) {
    if (!entry.second->is_compatible(length)) return false;
  }
  return true;
}

void AllHistories::remove_all_histories() {
  _history.clear();
}

}  // namespace twin
