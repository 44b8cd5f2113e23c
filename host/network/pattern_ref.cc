#include "network/pattern_ref.h"

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>

namespace qiv {

void StableHash::add_byte(unsigned char byte) {
  constexpr std::uint64_t prime = 1099511628211U;
  _value = (_value ^ byte) * prime;
}

void StableHash::add(std::int64_t number) {
  auto rest = static_cast<std::uint64_t>(number);
  for (int i = 0; i < 8; ++i) {
    add_byte(static_cast<unsigned char>(rest & 0xff));
    rest >>= 8;
  }
}

void StableHash::add(std::string_view text) {
  add(static_cast<std::int64_t>(text.size()));
  for (const char c : text) add_byte(static_cast<unsigned char>(c));
}

std::vector<std::int64_t> rounded(std::span<const LatLon> places) {
  constexpr double units_per_degree = 1e5;
  std::vector<std::int64_t> numbers;
  numbers.reserve(2 * places.size());
  for (const LatLon& place : places) {
    numbers.push_back(std::llround(place.lat_deg * units_per_degree));
    numbers.push_back(std::llround(place.lon_deg * units_per_degree));
  }
  return numbers;
}

PatternRef pattern_ref(const RouteId& route, std::optional<int> direction,
                       std::span<const StopId> stops, std::span<const std::int64_t> path) {
  StableHash hash;
  hash.add(static_cast<std::int64_t>(stops.size()));
  for (const StopId& stop : stops) hash.add(stop.text());
  for (const std::int64_t number : path) hash.add(number);
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash.value()));
  return PatternRef(route.text() + "/" + (direction ? std::to_string(*direction) : "-") + "/" +
                    stops.front().text() + "-" + stops.back().text() + "/" + digits);
}

void tell_apart(std::span<JourneyPattern> patterns) {
  for (std::size_t first = 0, next = 0; first < patterns.size(); first = next) {
    const PatternRef ref = patterns[first].ref;
    for (next = first + 1; next < patterns.size() && patterns[next].ref == ref; ++next) {
      patterns[next].ref = PatternRef(ref.text() + "~" + std::to_string(next - first + 1));
    }
  }
}

}  // namespace qiv
