// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "lanes.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

#include <cstring>

namespace lanes {
namespace {

/// Two doubles; every processor of the kind has the instructions.
struct Pair {
  static const unsigned int lanes = 2;
  static const bool fuses = false;

  static Pair all(double value) { return {_mm_set1_pd(value)}; }
  static Pair convert(const int* times) {
    return {_mm_cvtepi32_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(times)))};
  }
  static Pair convert(const std::uint16_t* times) {
    int both = 0;
    std::memcpy(&both, times, sizeof both);
    const __m128i narrow = _mm_unpacklo_epi16(_mm_cvtsi32_si128(both), _mm_setzero_si128());
    return {_mm_cvtepi32_pd(narrow)};
  }
  static Pair load(const double* from) { return {_mm_loadu_pd(from)}; }
  void store(double* to) const { _mm_storeu_pd(to, value); }

  __m128d value;
};

inline Pair operator+(Pair a, Pair b) {
  return {_mm_add_pd(a.value, b.value)};
}

inline Pair operator-(Pair a, Pair b) {
  return {_mm_sub_pd(a.value, b.value)};
}

inline Pair operator/(Pair a, Pair b) {
  return {_mm_div_pd(a.value, b.value)};
}

inline Pair product(Pair a, Pair b) {
  Pair result = {_mm_mul_pd(a.value, b.value)};
  QIV_ROUND_HERE(result.value);
  return result;
}

inline Pair at_least(double limit, Pair a) {
  // Of a NaN and a number the instruction takes the second.
  return {_mm_max_pd(_mm_set1_pd(limit), a.value)};
}

inline Pair quotient(Pair a, Pair b, Pair) {
  return a / b;
}

inline void transpose(Pair (&rows)[Pair::lanes]) {
  const __m128d first = _mm_unpacklo_pd(rows[0].value, rows[1].value);
  rows[1].value = _mm_unpackhi_pd(rows[0].value, rows[1].value);
  rows[0].value = first;
}

}  // namespace
}  // namespace lanes

#include "lane_blocks.h"

namespace lanes {
namespace {

const Operations by_sse2 = {subtract_distances<Pair>, sum_increments<Pair>};

}  // namespace
}  // namespace lanes

const lanes::Operations* lanes::sse2_operations() {
  return &by_sse2;
}

#else

const lanes::Operations* lanes::sse2_operations() {
  return nullptr;
}

#endif
