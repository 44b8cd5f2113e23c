#include <algorithm>
#include <cmath>
#include <ostream>
#include <set>
#include <string>

#include "feed/gtfs.h"
#include "geo/distance.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "network/build_network.h"
#include "network/rejection_reasons.h"

namespace qiv {
namespace {

struct Feed {
  const char* file;
  std::size_t patterns;
  std::size_t trips;       ///< repetitions counted one by one
  double farthest_stop_m;  ///< from its path, rounded up
  const char* time_zone;
  bool has_shapes;

  friend void PrintTo(const Feed& feed, std::ostream* out) { *out << feed.file; }
};

constexpr Feed feeds[] = {
    {"dart-2025/gtfs.zip", 17, 423, 0.1, "Europe/Dublin", true},
    {"austin-2016/gtfs.zip", 246, 5362, 0.1, "America/Chicago", false},
    {"b63-2010/gtfs.zip", 6, 735, 14.0, "America/New_York", true},
    {"samples/raba_gtfs.zip", 28, 282, 34.0, "America/Los_Angeles", true},
    {"samples/bullrunner_gtfs.zip", 6, 1101, 6.0, "America/New_York", true},
};

class RecordedNetwork : public ::testing::TestWithParam<Feed> {
 protected:
  const Network network = build_network(
      read_gtfs(FileBundle::open(std::string(QIV_DATA_DIR "/") + GetParam().file)).timetable);
};

INSTANTIATE_TEST_SUITE_P(Feeds, RecordedNetwork, ::testing::ValuesIn(feeds), [](const auto& feed) {
  std::string name = feed.param.file;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return std::isalnum(c) == 0; }, '_');
  return name;
});

TEST_P(RecordedNetwork, HasAllTripsAndPatterns) {
  EXPECT_EQ(network.patterns().size(), GetParam().patterns);
  EXPECT_EQ(network.trips().size(), GetParam().trips);
  EXPECT_EQ(network.clock().time_zone(), GetParam().time_zone);
  std::set<PatternRef> refs;
  for (const JourneyPattern& pattern : network.patterns()) {
    EXPECT_EQ(pattern.has_shape, GetParam().has_shapes);
    refs.insert(pattern.ref);
  }
  EXPECT_EQ(refs.size(), network.patterns().size());
  EXPECT_EQ(network.rejections().count(rejected::stop_off_shape), 0U);
}

TEST_P(RecordedNetwork, HasStopsInOrderOnTheirPaths) {
  double farthest_m = 0.0;
  for (PatternIndex p = 0; p < network.patterns().size(); ++p) {
    const JourneyPattern& pattern = network.pattern(p);
    double before_m = 0.0;
    for (const PatternStop& stop : pattern.stops) {
      EXPECT_LE(before_m, stop.offset_m) << pattern.ref;
      before_m = stop.offset_m;
      const LatLon on_path = network.polyline(p).point_at(stop.offset_m);
      farthest_m = std::max(farthest_m, distance_m(network.stops()[stop.stop].place, on_path));
    }
    EXPECT_LE(before_m, pattern.length_m());
  }
  EXPECT_LE(farthest_m, GetParam().farthest_stop_m);
}

// A long way between two stops that lie close together would betray a wrong lap or direction.
TEST_P(RecordedNetwork, LeadsFromStopToStopWithoutDetours) {
  for (const JourneyPattern& pattern : network.patterns()) {
    for (std::size_t i = 1; i < pattern.stops.size(); ++i) {
      const PatternStop& from = pattern.stops[i - 1];
      const PatternStop& to = pattern.stops[i];
      const double straight_m =
          distance_m(network.stops()[from.stop].place, network.stops()[to.stop].place);
      EXPECT_LE(to.offset_m - from.offset_m, 4.0 * straight_m + 500.0)
          << pattern.ref << " stop " << i;
    }
  }
}

TEST_P(RecordedNetwork, RunsItsTripsOnSomeDay) {
  const auto days = network.days();
  ASSERT_TRUE(days.has_value());
  std::size_t runs = 0;
  for (ServiceDate day = days->first; day <= days->second; day = day + std::chrono::days(1)) {
    runs += network.trips_on(day).size();
  }
  EXPECT_GE(runs, network.trips().size());
  EXPECT_FALSE(network.trips_on(days->first).empty());
  EXPECT_FALSE(network.trips_on(days->second).empty());
}

// Two feeds state the distances of their stops in metres. Without being told, the stops must come
// to lie there.
class StatedDistance : public ::testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Feeds, StatedDistance,
                         ::testing::Values("dart-2025/gtfs.zip", "samples/raba_gtfs.zip"));

TEST_P(StatedDistance, IsFoundFromTheMapAlone) {
  const Timetable stated =
      read_gtfs(FileBundle::open(std::string(QIV_DATA_DIR "/") + GetParam())).timetable;
  Timetable silent = stated;
  for (Trip& trip : silent.trips) {
    for (StopTime& call : trip.stop_times) call.shape_dist.reset();
  }
  const Network network = build_network(silent);
  std::size_t calls = 0;
  std::size_t elsewhere = 0;
  for (const TripPlan& trip : network.trips()) {
    const Trip& source = stated.trips[trip.source];
    ASSERT_EQ(source.stop_times.size(), trip.size());
    for (std::size_t i = 0; i < trip.size(); ++i) {
      const double stated_m = source.stop_times[i].shape_dist.value();
      const double offset_m = network.pattern(trip.pattern).stops[i].offset_m;
      ++calls;
      if (std::abs(offset_m - stated_m) > 0.005 * stated_m + 20.0) ++elsewhere;
    }
  }
  EXPECT_GT(calls, 7000U);
  EXPECT_LE(elsewhere, 2U);  // RABA puts a first stop at 0 that lies 38 m along its shape
}

}  // namespace
}  // namespace qiv
