// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "lanes.h"

namespace lanes {
namespace {

/// One double, for every kind of processor.
struct Single {
  static const unsigned int lanes = 1;
  static const bool fuses = false;

  static Single all(double value) { return {value}; }
  static Single convert(const int* times) { return {static_cast<double>(*times)}; }
  static Single convert(const std::uint16_t* times) { return {static_cast<double>(*times)}; }
  static Single load(const double* from) { return {*from}; }
  void store(double* to) const { *to = value; }

  double value;
};

inline Single operator+(Single a, Single b) {
  return {a.value + b.value};
}

inline Single operator-(Single a, Single b) {
  return {a.value - b.value};
}

inline Single operator/(Single a, Single b) {
  return {a.value / b.value};
}

inline Single product(Single a, Single b) {
  return {::product(a.value, b.value)};
}

inline Single at_least(double limit, Single a) {
  return {a.value < limit ? limit : a.value};
}

inline Single quotient(Single a, Single b, Single) {
  return a / b;
}

inline void transpose(Single (&)[Single::lanes]) {}

}  // namespace
}  // namespace lanes

#include "lane_blocks.h"

namespace lanes {
namespace {

const Operations by_portable = {subtract_distances<Single>, sum_increments<Single>};

}  // namespace
}  // namespace lanes

const lanes::Operations* lanes::portable_operations() {
  return &by_portable;
}
