#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/identifier.h"
#include "model/lat_lon.h"
#include "model/time.h"

namespace qiv {

struct Agency {
  AgencyId id;
  std::string name;
  std::string time_zone;  ///< IANA name, "Europe/Dublin"
};

struct Stop {
  StopId id;
  std::string name;
  LatLon place;
};

struct Route {
  RouteId id;
  std::string short_name;
  std::string long_name;
  int type = 3;       ///< as in GTFS: 2 rail, 3 bus, ...
  std::string color;  ///< "RRGGBB", or empty
};

/// A call of a trip at a stop. Times count from noon minus twelve hours of the service day; where
/// the feed states neither, both are empty (`network` interpolates them).
struct StopTime {
  std::uint32_t stop = 0;      ///< index into `Timetable::stops`
  std::uint32_t sequence = 0;  ///< stop_sequence of the feed
  std::optional<Seconds> arrival;
  std::optional<Seconds> departure;
  std::optional<double> shape_dist;  ///< in the feed's unit
};

struct Trip {
  TripId id;
  std::uint32_t route = 0;  ///< index into `Timetable::routes`
  ServiceId service;
  ShapeId shape;  ///< empty: none
  BlockId block;  ///< empty: none
  std::optional<int> direction;
  std::string headsign;
  std::string short_name;
  std::vector<StopTime> stop_times;  ///< in the order of `sequence`
};

struct ShapePoint {
  LatLon place;
  std::optional<double> dist;  ///< in the feed's unit
};

/// The days of one service: a weekly calendar, and single days added or removed.
struct Service {
  std::array<bool, 7> weekdays{};  ///< Monday first; all false without a weekly calendar
  std::optional<ServiceDate> first;
  std::optional<ServiceDate> last;
  std::set<ServiceDate> added;
  std::set<ServiceDate> removed;

  bool runs_on(ServiceDate day) const;
};

/// A trip that is repeated: `trip` leaves every `headway` from `first` until before `end`.
struct Frequency {
  std::uint32_t trip = 0;  ///< index into `Timetable::trips`
  Seconds first{0};
  Seconds end{0};
  Seconds headway{0};
};

/// What a GTFS feed says, checked and linked, in the order of the feed.
struct Timetable {
  std::vector<Agency> agencies;
  std::vector<Stop> stops;
  std::vector<Route> routes;
  std::vector<Trip> trips;
  std::vector<Frequency> frequencies;
  std::map<ShapeId, std::vector<ShapePoint>> shapes;
  std::map<ServiceId, Service> services;
  std::string version;               ///< feed_version, or empty
  std::optional<ServiceDate> first;  ///< feed_start_date
  std::optional<ServiceDate> last;   ///< feed_end_date
};

}  // namespace qiv
