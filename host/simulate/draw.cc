#include "simulate/draw.h"

namespace qiv {
namespace {

std::uint64_t mixed(std::uint64_t bits) {
  bits += 0x9e3779b97f4a7c15ULL;
  bits = (bits ^ (bits >> 30U)) * 0xbf58476d1ce4e5b9ULL;
  bits = (bits ^ (bits >> 27U)) * 0x94d049bb133111ebULL;
  return bits ^ (bits >> 31U);
}

}  // namespace

std::uint64_t Draw::bits(Chance chance, std::initializer_list<std::uint64_t> keys) const {
  std::uint64_t state = mixed(_seed ^ mixed(static_cast<std::uint64_t>(chance)));
  for (const std::uint64_t key : keys) state = mixed(state ^ key);
  return state;
}

double Draw::share(Chance chance, std::initializer_list<std::uint64_t> keys) const {
  return static_cast<double>(bits(chance, keys) >> 11U) * 0x1p-53;
}

double Draw::swing(Chance chance, std::initializer_list<std::uint64_t> keys) const {
  return 2.0 * share(chance, keys) - 1.0;
}

double Draw::normal(Chance chance, std::initializer_list<std::uint64_t> keys) const {
  const std::uint64_t four = bits(chance, keys);
  double sum = 0.0;
  for (unsigned i = 0; i < 4; ++i) {
    sum += static_cast<double>((four >> (16U * i)) & 0xffffU) * 0x1p-16;
  }
  // The sum of four has mean 2 and variance 1/3.
  return (sum - 2.0) * 1.7320508075688772;
}

}  // namespace qiv
