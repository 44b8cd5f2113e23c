#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "model/identifier.h"
#include "model/journey_pattern.h"
#include "model/lat_lon.h"

namespace qiv {

/// FNV-1a of 64 bits, the same on every machine. Texts are hashed with their length before them and
/// integers in 8 bytes, lowest first, so that different sequences are different bytes.
/// http://www.isthe.com/chongo/tech/comp/fnv/
class StableHash {
 public:
  void add(std::string_view text);
  void add(std::int64_t number);
  std::uint64_t value() const { return _value; }

 private:
  void add_byte(unsigned char byte);

  std::uint64_t _value = 14695981039346656037U;
};

/// Latitude and longitude of each place in units of 0.00001°, about a metre: two paths that round
/// to the same numbers are one.
std::vector<std::int64_t> rounded(std::span<const LatLon> places);

/// "<route>/<direction or ->/<first stop>-<last stop>/<16 hex digits>", the digits being the
/// `StableHash` of the number of stops, their identifiers and the rounded path. Precondition: at
/// least one stop.
PatternRef pattern_ref(const RouteId& route, std::optional<int> direction,
                       std::span<const StopId> stops, std::span<const std::int64_t> path);

/// Where several patterns have one reference, adds "~2", "~3", ... to that of all but the first.
/// Precondition: patterns of one reference follow one another.
void tell_apart(std::span<JourneyPattern> patterns);

}  // namespace qiv
