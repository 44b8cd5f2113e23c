#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "geo/distance.h"
#include "geo/polyline.h"
#include "model/lat_lon.h"

namespace qiv::test {

/// A map drawn with letters: a column is 10 m wide and a row 20 m high, north is up. The letters
/// name places; all other characters are there for the eye.
class AsciiMap {
 public:
  static constexpr double column_m = 10.0;
  static constexpr double row_m = 20.0;

  explicit AsciiMap(std::string_view drawing, const LatLon& north_west = {53.35, -6.26})
      : _drawing(drawing), _north_west(north_west) {}

  LatLon operator[](char letter) const {
    double row = 0.0;
    double column = 0.0;
    for (const char c : _drawing) {
      if (c == letter) return at(column * column_m, -row * row_m);
      column += 1.0;
      if (c == '\n') {
        row += 1.0;
        column = 0.0;
      }
    }
    throw std::invalid_argument(std::string("no such place on the map: ") + letter);
  }

  std::vector<LatLon> places(std::string_view letters) const {
    std::vector<LatLon> found;
    for (const char letter : letters) found.push_back((*this)[letter]);
    return found;
  }

  std::vector<PathPoint> path(std::string_view letters) const {
    return measure_path(places(letters));
  }

 private:
  LatLon at(double east_m, double north_m) const {
    const MetresPerDegree scale = metres_per_degree(_north_west.lat_deg);
    return {_north_west.lat_deg + north_m / scale.north,
            wrap_180(_north_west.lon_deg + east_m / scale.east)};
  }

  std::string _drawing;
  LatLon _north_west;
};

}  // namespace qiv::test
