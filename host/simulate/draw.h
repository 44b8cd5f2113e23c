#pragma once

#include <cstdint>
#include <initializer_list>

namespace qiv {

/// What a number is drawn for. Every kind of chance has its own, so that they do not depend on each
/// other.
enum class Chance : std::uint64_t {
  city_traffic,
  pattern_traffic,
  driver,
  leg,
  dwell,
  late_start,
  phase,
  noise_north,
  noise_east,
  gap,
  late,
  late_by,
  doubled,
  detour,
  detour_place,
  without_trip,
};

/// Draws numbers that look like chance and are the same for the same seed and keys, in whatever
/// order they are asked for: nothing is remembered between two draws.
class Draw {
 public:
  explicit Draw(std::uint64_t seed) : _seed(seed) {}

  /// 64 bits: the keys one by one through the finalizer of SplitMix64 (Steele, Lea, Flood 2014).
  std::uint64_t bits(Chance chance, std::initializer_list<std::uint64_t> keys) const;
  /// In [0, 1).
  double share(Chance chance, std::initializer_list<std::uint64_t> keys) const;
  /// In [-1, 1).
  double swing(Chance chance, std::initializer_list<std::uint64_t> keys) const;
  /// Near to the normal distribution with mean 0 and deviation 1: a sum of four uniform numbers,
  /// never beyond ±3.5.
  double normal(Chance chance, std::initializer_list<std::uint64_t> keys) const;

 private:
  std::uint64_t _seed;
};

}  // namespace qiv
