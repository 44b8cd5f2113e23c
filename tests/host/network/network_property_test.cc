#include <algorithm>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "geo/distance.h"
#include "gtest/gtest.h"
#include "network/build_network.h"
#include "network/shape_table.h"
#include "network/shape_version.h"

namespace qiv {
namespace {

/// A made-up town: streets that wander, run back on themselves and cross; stops beside them, some
/// far away; trips with and without shapes, with holes in their times.
class Town {
 public:
  explicit Town(std::uint64_t seed) : _random(seed) {}

  Timetable timetable() {
    Timetable timetable;
    timetable.agencies.push_back({AgencyId("A"), "Agency", "Europe/Dublin"});
    timetable.services[ServiceId("S")].added.insert(*ServiceDate::parse("20251006"));
    for (int route = 0; route < 4; ++route) add_route(timetable, route);
    return timetable;
  }

 private:
  double uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(_random);
  }
  bool chance(double share) { return uniform(0.0, 1.0) < share; }

  void add_route(Timetable& timetable, int number) {
    const std::string name = std::to_string(number);
    timetable.routes.push_back({RouteId("r" + name), name, "", 3, ""});
    std::vector<ShapePoint> shape{{{53.35, -6.26}, std::nullopt}};
    for (int i = 0; i < 40; ++i) {
      LatLon place = shape.back().place;
      place.lat_deg += uniform(-0.002, 0.002);
      place.lon_deg += uniform(-0.002, 0.002);
      shape.push_back({place, std::nullopt});
    }
    if (chance(0.5)) {
      for (std::size_t i = shape.size() - 1; i-- > 0;) shape.push_back(shape[i]);
    }
    timetable.shapes[ShapeId("s" + name)] = shape;
    for (int trip = 0; trip < 3; ++trip) add_trip(timetable, number, trip, shape);
  }

  void add_trip(Timetable& timetable, int route, int number, const std::vector<ShapePoint>& shape) {
    Trip trip;
    trip.id = TripId("t" + std::to_string(route) + "-" + std::to_string(number));
    trip.route = static_cast<std::uint32_t>(route);
    trip.service = ServiceId("S");
    if (number > 0) trip.shape = ShapeId("s" + std::to_string(route));
    if (chance(0.5)) trip.direction = number % 2;
    long long time_s = 8 * 3600;
    for (std::size_t i = 0; i < shape.size(); i += 1 + _random() % 5) {
      StopTime call;
      call.stop = static_cast<std::uint32_t>(timetable.stops.size());
      call.sequence = static_cast<std::uint32_t>(i);
      const bool is_end = trip.stop_times.empty() || i + 5 >= shape.size();
      if (is_end || chance(0.7)) call.arrival = call.departure = Seconds(time_s);
      time_s += static_cast<long long>(uniform(0.0, 200.0));
      trip.stop_times.push_back(call);
      const double far = chance(0.05) ? 0.01 : 0.0002;
      timetable.stops.push_back({StopId("p" + std::to_string(timetable.stops.size())),
                                 "",
                                 {shape[i].place.lat_deg + uniform(-far, far),
                                  shape[i].place.lon_deg + uniform(-far, far)}});
    }
    timetable.trips.push_back(trip);
  }

  std::mt19937_64 _random;
};

/// The same feed with its rows in another order, and other names of trips and shapes.
Timetable rearranged(const Timetable& timetable, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  Timetable other = timetable;
  std::vector<std::uint32_t> place_of(timetable.stops.size());
  std::iota(place_of.begin(), place_of.end(), 0U);
  std::shuffle(place_of.begin(), place_of.end(), random);
  for (std::size_t i = 0; i < place_of.size(); ++i) {
    other.stops[place_of[i]] = timetable.stops[i];
  }
  std::reverse(other.routes.begin(), other.routes.end());
  other.shapes.clear();
  for (const auto& [id, shape] : timetable.shapes) other.shapes[ShapeId("x" + id.text())] = shape;
  for (Trip& trip : other.trips) {
    trip.id = TripId("renamed " + std::to_string(random()));
    trip.route = static_cast<std::uint32_t>(other.routes.size() - 1 - trip.route);
    if (!trip.shape.empty()) trip.shape = ShapeId("x" + trip.shape.text());
    for (StopTime& call : trip.stop_times) call.stop = place_of[call.stop];
  }
  std::shuffle(other.trips.begin(), other.trips.end(), random);
  return other;
}

bool is_no_gap_or_wide(double gap_m) {
  return gap_m == 0.0 || gap_m >= least_gap_m - 1e-6;
}

class AnyTown : public ::testing::TestWithParam<std::uint64_t> {};

INSTANTIATE_TEST_SUITE_P(Seeds, AnyTown, ::testing::Range<std::uint64_t>(1, 41));

TEST_P(AnyTown, HasStopsInOrderOnTheirPaths) {
  const Network network = build_network(Town(GetParam()).timetable());
  EXPECT_FALSE(network.patterns().empty());
  for (PatternIndex p = 0; p < network.patterns().size(); ++p) {
    const JourneyPattern& pattern = network.pattern(p);
    double before_m = 0.0;
    for (const PatternStop& stop : pattern.stops) {
      EXPECT_LE(before_m, stop.offset_m);
      EXPECT_LE(stop.offset_m, pattern.length_m());
      EXPECT_TRUE(is_no_gap_or_wide(stop.offset_m - before_m)) << stop.offset_m;
      EXPECT_TRUE(is_no_gap_or_wide(pattern.length_m() - stop.offset_m)) << stop.offset_m;
      const LatLon on_path = network.polyline(p).point_at(stop.offset_m);
      EXPECT_LE(distance_m(network.stops()[stop.stop].place, on_path), 200.0);
      before_m = stop.offset_m;
    }
    for (std::size_t i = 1; i < pattern.path.size(); ++i) {
      EXPECT_LE(pattern.path[i - 1].offset_m, pattern.path[i].offset_m);
    }
  }
}

TEST_P(AnyTown, HasTimesThatNeverGoBack) {
  const Network network = build_network(Town(GetParam()).timetable());
  for (const TripPlan& trip : network.trips()) {
    EXPECT_EQ(trip.size(), network.pattern(trip.pattern).stops.size());
    Seconds before = trip.departure();
    for (std::size_t i = 0; i < trip.size(); ++i) {
      EXPECT_LE(before, trip.call(i).arrival);
      EXPECT_LE(trip.call(i).arrival, trip.call(i).departure);
      before = trip.call(i).departure;
    }
  }
}

TEST_P(AnyTown, KeepsItsPatternsWhateverTheOrderAndTheNamesOfTrips) {
  const Timetable timetable = Town(GetParam()).timetable();
  const Network network = build_network(timetable);
  const Network other = build_network(rearranged(timetable, GetParam()));
  ASSERT_EQ(network.patterns().size(), other.patterns().size());
  for (PatternIndex p = 0; p < network.patterns().size(); ++p) {
    const JourneyPattern& a = network.pattern(p);
    const JourneyPattern& b = other.pattern(p);
    EXPECT_EQ(a.ref, b.ref);
    ASSERT_EQ(a.stops.size(), b.stops.size());
    for (std::size_t i = 0; i < a.stops.size(); ++i) {
      EXPECT_EQ(a.stops[i].offset_m, b.stops[i].offset_m);
    }
    EXPECT_EQ(a.length_m(), b.length_m());
    const std::vector<double> ends_m = {0.0, a.length_m()};
    EXPECT_EQ(shape_version_id(a, ends_m), shape_version_id(b, ends_m));
  }
}

TEST_P(AnyTown, GivesEveryPatternItsOwnReference) {
  const Network network = build_network(Town(GetParam()).timetable());
  std::set<PatternRef> refs;
  for (const JourneyPattern& pattern : network.patterns()) refs.insert(pattern.ref);
  EXPECT_EQ(refs.size(), network.patterns().size());
}

}  // namespace
}  // namespace qiv
