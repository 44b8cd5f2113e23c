#pragma once

#include "model/lat_lon.h"

namespace qiv {

/// Length of one degree on the WGS 84 ellipsoid.
struct MetresPerDegree {
  double north = 0.0;  ///< of latitude, along the meridian
  double east = 0.0;   ///< of longitude, along the parallel
};

/// From the radii of curvature M (meridian) and N (prime vertical) at `lat_deg`:
/// M = a(1-e²)/(1-e²sin²φ)^1.5, N = a/(1-e²sin²φ)^0.5; north = πM/180, east = πN·cosφ/180.
MetresPerDegree metres_per_degree(double lat_deg);

/// `degrees` turned by whole turns into [-180, 180): the short way round from one longitude or
/// bearing to another when given their difference. NaN and infinity give NaN.
double wrap_180(double degrees);

/// Distance in metres in the plane that touches the ellipsoid at the middle latitude. Within 0.1 %
/// of the geodesic up to 50 km, at latitudes up to 80°; the antimeridian is no obstacle.
double distance_m(const LatLon& from, const LatLon& to);

/// Direction from one place to another in the same plane: degrees clockwise from north, in
/// [0, 360). 0 between equal places.
double bearing_deg(const LatLon& from, const LatLon& to);

/// Angle between two directions, in [0, 180].
double angle_between_deg(double bearing_a_deg, double bearing_b_deg);

}  // namespace qiv
