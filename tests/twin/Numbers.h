#ifndef QIV_TESTS_TWIN_NUMBERS_H
#define QIV_TESTS_TWIN_NUMBERS_H

#include <cstring>
#include <limits>

namespace twin {

/// Truncates towards zero; NaN and values out of range give the smallest `long long`.
inline long long to_long_long(double value) {
  const double two_to_63 = 9223372036854775808.0;
  if (value >= -two_to_63 && value < two_to_63) return static_cast<long long>(value);
  return std::numeric_limits<long long>::min();
}

/// `left` - `right`, wrapping around in two's complement.
inline long long difference(long long left, long long right) {
  const unsigned long long wrapped =
      static_cast<unsigned long long>(left) - static_cast<unsigned long long>(right);
  long long result = 0;
  std::memcpy(&result, &wrapped, sizeof result);
  return result;
}

}  // namespace twin

#endif  // QIV_TESTS_TWIN_NUMBERS_H
