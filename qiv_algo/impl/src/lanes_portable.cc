// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include <utility>

#include "lanes.h"

namespace lanes {
namespace {

/// Two doubles one after the other, for every kind of processor: neither waits for the other.
struct Both {
  static const unsigned int lanes = 2;
  static const bool fuses = false;

  static Both all(double value) { return {value, value}; }
  template <class Cell>
  static Both convert(const Cell* times) {
    return {static_cast<double>(times[0]), static_cast<double>(times[1])};
  }
  static Both load(const double* from) { return {from[0], from[1]}; }
  void store(double* to) const {
    to[0] = first;
    to[1] = second;
  }

  double first;
  double second;
};

inline Both operator+(Both a, Both b) {
  return {a.first + b.first, a.second + b.second};
}

inline Both operator-(Both a, Both b) {
  return {a.first - b.first, a.second - b.second};
}

inline Both operator/(Both a, Both b) {
  return {a.first / b.first, a.second / b.second};
}

inline Both product(Both a, Both b) {
  return {::product(a.first, b.first), ::product(a.second, b.second)};
}

inline Both at_least(double limit, Both a) {
  return {a.first < limit ? limit : a.first, a.second < limit ? limit : a.second};
}

inline Both quotient(Both a, Both b, Both) {
  return a / b;
}

inline void transpose(Both (&rows)[Both::lanes]) {
  std::swap(rows[0].second, rows[1].first);
}

}  // namespace
}  // namespace lanes

#include "lane_blocks.h"

namespace lanes {
namespace {

const Operations by_portable = {subtract_distances<Both>, sum_increments<Both>};

}  // namespace
}  // namespace lanes

const lanes::Operations* lanes::portable_operations() {
  return &by_portable;
}
