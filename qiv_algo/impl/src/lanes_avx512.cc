// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "lanes.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <immintrin.h>

#if defined(__GNUC__) && !defined(__clang__)
// g++ 12 warns of the undefined lanes inside of its own intrinsics.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx512f"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx512f")
#endif

namespace lanes {
namespace {

/// Eight doubles, by AVX-512.
struct Eight {
  static const unsigned int lanes = 8;
  static const bool fuses = true;

  static Eight all(double value) { return {_mm512_set1_pd(value)}; }
  static Eight convert(const int* times) {
    return {_mm512_cvtepi32_pd(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(times)))};
  }
  static Eight convert(const std::uint16_t* times) {
    const __m128i narrow = _mm_loadu_si128(reinterpret_cast<const __m128i*>(times));
    return {_mm512_cvtepi32_pd(_mm256_cvtepu16_epi32(narrow))};
  }
  static Eight load(const double* from) { return {_mm512_loadu_pd(from)}; }
  void store(double* to) const { _mm512_storeu_pd(to, value); }

  __m512d value;
};

inline Eight operator+(Eight a, Eight b) {
  return {_mm512_add_pd(a.value, b.value)};
}

inline Eight operator-(Eight a, Eight b) {
  return {_mm512_sub_pd(a.value, b.value)};
}

inline Eight operator/(Eight a, Eight b) {
  return {_mm512_div_pd(a.value, b.value)};
}

inline Eight product(Eight a, Eight b) {
  Eight result = {_mm512_mul_pd(a.value, b.value)};
  // As QIV_ROUND_HERE, with all 32 registers.
  __asm__("" : "+v"(result.value));
  return result;
}

inline Eight at_least(double limit, Eight a) {
  // Of a NaN and a number the instruction takes the second.
  return {_mm512_max_pd(_mm512_set1_pd(limit), a.value)};
}

/// `a` divided by `b`, rounded, given the rounded reciprocal of `b`: a first quotient, its exact
/// remainder, the quotient corrected by it (docs/decisions/0002). Precondition:
/// `reciprocal_serves`.
inline Eight quotient(Eight a, Eight b, Eight reciprocal) {
  const Eight first = product(a, reciprocal);
  const __m512d remainder = _mm512_fnmadd_pd(first.value, b.value, a.value);
  return {_mm512_fmadd_pd(remainder, reciprocal.value, first.value)};
}

/// Pairs of doubles 0 and 2, or 1 and 3, of both.
inline __m512d even_pairs(__m512d a, __m512d b) {
  return _mm512_shuffle_f64x2(a, b, 0x88);
}
inline __m512d odd_pairs(__m512d a, __m512d b) {
  return _mm512_shuffle_f64x2(a, b, 0xdd);
}

/// Every second column, the first one into `columns`[0], from four pairs of interleaved rows.
inline void take_columns(Eight* columns, __m512d rows01, __m512d rows23, __m512d rows45,
                         __m512d rows67) {
  const __m512d even_low = even_pairs(rows01, rows23);
  const __m512d odd_low = odd_pairs(rows01, rows23);
  const __m512d even_high = even_pairs(rows45, rows67);
  const __m512d odd_high = odd_pairs(rows45, rows67);
  columns[0].value = even_pairs(even_low, even_high);
  columns[2].value = even_pairs(odd_low, odd_high);
  columns[4].value = odd_pairs(even_low, even_high);
  columns[6].value = odd_pairs(odd_low, odd_high);
}

inline __m512d low_halves(Eight a, Eight b) {
  return _mm512_unpacklo_pd(a.value, b.value);
}
inline __m512d high_halves(Eight a, Eight b) {
  return _mm512_unpackhi_pd(a.value, b.value);
}

inline void transpose(Eight (&rows)[Eight::lanes]) {
  const __m512d odd01 = high_halves(rows[0], rows[1]);
  const __m512d odd23 = high_halves(rows[2], rows[3]);
  const __m512d odd45 = high_halves(rows[4], rows[5]);
  const __m512d odd67 = high_halves(rows[6], rows[7]);
  take_columns(rows, low_halves(rows[0], rows[1]), low_halves(rows[2], rows[3]),
               low_halves(rows[4], rows[5]), low_halves(rows[6], rows[7]));
  take_columns(rows + 1, odd01, odd23, odd45, odd67);
}

}  // namespace
}  // namespace lanes

#include "lane_blocks.h"

namespace lanes {
namespace {

const Operations by_avx512 = {subtract_distances<Eight>, sum_increments<Eight>};

}  // namespace
}  // namespace lanes

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

const lanes::Operations* lanes::avx512_operations() {
  return &by_avx512;
}

#else

const lanes::Operations* lanes::avx512_operations() {
  return nullptr;
}

#endif
