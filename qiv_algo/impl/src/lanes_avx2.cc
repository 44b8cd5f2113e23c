// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "lanes.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2,fma"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,fma")
#endif

namespace lanes {
namespace {

/// Four doubles, by AVX2 and FMA.
struct Four {
  static const unsigned int lanes = 4;
  static const bool fuses = true;

  static Four all(double value) { return {_mm256_set1_pd(value)}; }
  static Four convert(const int* times) {
    return {_mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(times)))};
  }
  static Four convert(const std::uint16_t* times) {
    const __m128i narrow = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(times));
    return {_mm256_cvtepi32_pd(_mm_cvtepu16_epi32(narrow))};
  }
  static Four load(const double* from) { return {_mm256_loadu_pd(from)}; }
  void store(double* to) const { _mm256_storeu_pd(to, value); }

  __m256d value;
};

inline Four operator+(Four a, Four b) {
  return {_mm256_add_pd(a.value, b.value)};
}

inline Four operator-(Four a, Four b) {
  return {_mm256_sub_pd(a.value, b.value)};
}

inline Four operator/(Four a, Four b) {
  return {_mm256_div_pd(a.value, b.value)};
}

inline Four product(Four a, Four b) {
  Four result = {_mm256_mul_pd(a.value, b.value)};
  QIV_ROUND_HERE(result.value);
  return result;
}

inline Four at_least(double limit, Four a) {
  // Of a NaN and a number the instruction takes the second.
  return {_mm256_max_pd(_mm256_set1_pd(limit), a.value)};
}

/// `a` divided by `b`, rounded, given the rounded reciprocal of `b`: a first quotient, its exact
/// remainder, the quotient corrected by it (docs/decisions/0002). Precondition:
/// `reciprocal_serves`.
inline Four quotient(Four a, Four b, Four reciprocal) {
  const Four first = product(a, reciprocal);
  const __m256d remainder = _mm256_fnmadd_pd(first.value, b.value, a.value);
  return {_mm256_fmadd_pd(remainder, reciprocal.value, first.value)};
}

inline void transpose(Four (&rows)[Four::lanes]) {
  const __m256d even_low = _mm256_unpacklo_pd(rows[0].value, rows[1].value);
  const __m256d odd_low = _mm256_unpackhi_pd(rows[0].value, rows[1].value);
  const __m256d even_high = _mm256_unpacklo_pd(rows[2].value, rows[3].value);
  const __m256d odd_high = _mm256_unpackhi_pd(rows[2].value, rows[3].value);
  rows[0].value = _mm256_permute2f128_pd(even_low, even_high, 0x20);
  rows[1].value = _mm256_permute2f128_pd(odd_low, odd_high, 0x20);
  rows[2].value = _mm256_permute2f128_pd(even_low, even_high, 0x31);
  rows[3].value = _mm256_permute2f128_pd(odd_low, odd_high, 0x31);
}

}  // namespace
}  // namespace lanes

#include "lane_blocks.h"

namespace lanes {
namespace {

const Operations by_avx2 = {subtract_distances<Four>, sum_increments<Four>};

}  // namespace
}  // namespace lanes

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

const lanes::Operations* lanes::avx2_operations() {
  return &by_avx2;
}

#else

const lanes::Operations* lanes::avx2_operations() {
  return nullptr;
}

#endif
