#ifndef QIV_EXACT_H
#define QIV_EXACT_H

// Every result of the library is reproducible to the last bit: each operation is rounded to double,
// in the order in which it is written. Included by every source that computes.

#if defined(__FAST_MATH__) || defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__) || \
    defined(__NO_SIGNED_ZEROS__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__)
#error "Results must be exact to the last bit: compile without -ffast-math and its parts."
#endif
#if defined(__FLT_EVAL_METHOD__) && __FLT_EVAL_METHOD__ != 0
#error "Results must be exact to the last bit: compile for arithmetic in double (-mfpmath=sse)."
#endif
#if defined(__clang__)
#pragma float_control(precise, on)
#pragma clang fp contract(off)
#endif

#include "AlgoConfig.h"

/// `a` times `b`, rounded: no compiler flag fuses the product with the sum that it enters.
inline double product(double a, double b) {
  double result = a * b;
  QIV_ROUND_HERE(result);
  return result;
}

/// The difference of two time stamps, wrapping in two's complement.
inline long long difference(long long a, long long b) {
  return static_cast<long long>(static_cast<unsigned long long>(a) -
                                static_cast<unsigned long long>(b));
}

/// `x` truncated towards zero; the smallest `long long` for NaN and for values out of range.
inline long long truncate(double x) {
  const double limit = 9223372036854775808.0;
  if (x >= -limit && x < limit) return static_cast<long long>(x);
  return -9223372036854775807LL - 1;
}

/// The greatest integer that is not above `x`; the smallest `long long` where `truncate` gives it.
inline long long floor_to_integer(double x) {
  const long long whole = truncate(x);
  return static_cast<double>(whole) > x && x >= -9223372036854775808.0 ? whole - 1 : whole;
}

/// floor(`x` + 0.5): halves go up. The smallest `long long` where `truncate` gives it.
inline long long nearest_integer(double x) {
  return floor_to_integer(x + 0.5);
}

#endif  // QIV_EXACT_H
