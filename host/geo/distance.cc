#include "geo/distance.h"

#include <cmath>
#include <numbers>

namespace qiv {
namespace {

constexpr double radians_per_degree = std::numbers::pi / 180.0;
constexpr double semi_major_axis_m = 6378137.0;
constexpr double flattening = 1.0 / 298.257223563;
constexpr double eccentricity2 = flattening * (2.0 - flattening);

struct Displacement {
  double north_m;
  double east_m;
};

Displacement displacement(const LatLon& from, const LatLon& to) {
  const MetresPerDegree scale = metres_per_degree(0.5 * (from.lat_deg + to.lat_deg));
  return {(to.lat_deg - from.lat_deg) * scale.north,
          wrap_180(to.lon_deg - from.lon_deg) * scale.east};
}

}  // namespace

MetresPerDegree metres_per_degree(double lat_deg) {
  const double latitude = lat_deg * radians_per_degree;
  const double sine = std::sin(latitude);
  const double w2 = 1.0 - eccentricity2 * sine * sine;
  const double prime_vertical_m = semi_major_axis_m / std::sqrt(w2);
  const double meridian_m = prime_vertical_m * (1.0 - eccentricity2) / w2;
  return {meridian_m * radians_per_degree,
          prime_vertical_m * std::cos(latitude) * radians_per_degree};
}

double wrap_180(double degrees) {
  if (degrees >= -180.0 && degrees < 180.0) return degrees;
  const double wrapped = std::remainder(degrees, 360.0);
  return wrapped == 180.0 ? -180.0 : wrapped;
}

double distance_m(const LatLon& from, const LatLon& to) {
  const Displacement d = displacement(from, to);
  return std::sqrt(d.north_m * d.north_m + d.east_m * d.east_m);
}

double bearing_deg(const LatLon& from, const LatLon& to) {
  const Displacement d = displacement(from, to);
  const double bearing = std::atan2(d.east_m, d.north_m) / radians_per_degree;
  if (bearing >= 0.0) return bearing;
  const double turned = bearing + 360.0;
  return turned < 360.0 ? turned : 0.0;
}

double angle_between_deg(double bearing_a_deg, double bearing_b_deg) {
  return std::abs(wrap_180(bearing_a_deg - bearing_b_deg));
}

}  // namespace qiv
