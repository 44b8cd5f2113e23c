#pragma once

#include <cmath>

namespace qiv {

/// A place on earth, WGS 84, in degrees.
struct LatLon {
  double lat_deg = 0.0;
  double lon_deg = 0.0;

  friend bool operator==(const LatLon&, const LatLon&) = default;
};

/// False for NaN, for coordinates off the globe, and for (0, 0), which feeds use for "unknown".
inline bool is_plausible(const LatLon& place) {
  return std::abs(place.lat_deg) <= 90.0 && std::abs(place.lon_deg) <= 180.0 &&
         !(place.lat_deg == 0.0 && place.lon_deg == 0.0);
}

}  // namespace qiv
