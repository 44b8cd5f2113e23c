#include "simulate/fleet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "geo/distance.h"
#include "host/simulate/small_town.h"

namespace qiv {
namespace {

using testing::at;
using testing::small_town_network;

/// A fleet that reports without a fault.
FleetOptions faultless() {
  FleetOptions options;
  options.noise_m = 0.0;
  options.gap_share = 0.0;
  options.late_share = 0.0;
  options.doubled_share = 0.0;
  options.detour_share = 0.0;
  options.without_trip_share = 0.0;
  return options;
}

class FleetTest : public ::testing::Test {
 protected:
  const Network network = small_town_network();

  std::vector<VehiclePosition> reports(const FleetOptions& options, const char* time) const {
    return Fleet(network, options).reports(at(time));
  }

  /// How far a report is from the path of its trip.
  double from_path_m(const VehiclePosition& report) const {
    const TripPlan* const trip = network.find_trip(report.trip);
    return network.polyline(trip->pattern).project(*report.place).distance_m;
  }
};

std::vector<std::pair<VehicleId, double>> places(const std::vector<VehiclePosition>& reports) {
  std::vector<std::pair<VehicleId, double>> places;
  for (const VehiclePosition& report : reports) {
    places.emplace_back(report.vehicle, report.place->lat_deg);
  }
  return places;
}

TEST_F(FleetTest, TheSameSeedGivesTheSameFleetWhateverWasAskedBefore) {
  Fleet other(network, {});
  other.reports(at("09:40:00"));
  EXPECT_EQ(places(other.reports(at("08:30:00"))), places(reports({}, "08:30:00")));
}

TEST_F(FleetTest, AnotherSeedGivesAnotherFleet) {
  FleetOptions options;
  options.seed = 2;
  EXPECT_NE(places(reports(options, "08:30:00")), places(reports({}, "08:30:00")));
}

TEST_F(FleetTest, EveryTripUnderWayHasAVehicle) {
  std::set<TripId> named;
  for (const VehiclePosition& report : reports(faultless(), "08:30:00")) named.insert(report.trip);
  EXPECT_GE(named.size(), 60u);
}

TEST_F(FleetTest, VehiclesReportAsOftenAsTheyShould) {
  Fleet fleet(network, faultless());
  for (const VehiclePosition& report : fleet.reports(at("08:30:00"))) {
    EXPECT_LE(at("08:30:00") - report.time, Seconds(9));
    EXPECT_GE(at("08:30:00") - report.time, Seconds(0));
  }
  std::size_t changed = 0;
  const auto before = fleet.reports(at("08:30:00"));
  const auto after = fleet.reports(at("08:30:01"));
  for (std::size_t i = 0; i < std::min(before.size(), after.size()); ++i) {
    if (before[i].time != after[i].time) ++changed;
  }
  EXPECT_LT(changed, before.size() / 3);
}

TEST_F(FleetTest, VehiclesKeepToTheirPathAtAPlausibleSpeed) {
  Fleet fleet(network, faultless());
  std::map<VehicleId, VehiclePosition> last;
  for (Instant now = at("08:00:00"); now < at("09:00:00"); now += Seconds(10)) {
    for (const VehiclePosition& report : fleet.reports(now)) {
      ASSERT_LT(from_path_m(report), 1.0);
      const auto [before, is_new] = last.try_emplace(report.vehicle, report);
      if (!is_new && before->second.trip == report.trip) {
        const double moved_m = distance_m(*before->second.place, *report.place);
        const auto passed_s = static_cast<double>((report.time - before->second.time).count());
        ASSERT_LE(moved_m, 34.0 * passed_s);
      }
      before->second = report;
    }
  }
}

TEST_F(FleetTest, VehiclesReachEveryStopOfTheirTrip) {
  Fleet fleet(network, faultless());
  const VehicleId vehicle = fleet.reports(at("08:30:00")).front().vehicle;
  const auto place = fleet.place_of(vehicle, at("08:30:00"));
  ASSERT_TRUE(place);
  const JourneyPattern& pattern = network.pattern(place->pattern);
  for (std::size_t i = 1; i + 1 < pattern.stops.size(); ++i) {
    const auto there = fleet.place_of(
        vehicle, from_unix_seconds(static_cast<long long>(place->times.departure_s[i])));
    ASSERT_TRUE(there) << i;
    EXPECT_EQ(there->trip, place->trip) << i;
    EXPECT_NEAR(there->offset_m, pattern.stops[i].offset_m, 1.0) << i;
  }
}

TEST_F(FleetTest, NoiseIsAsLargeAsAsked) {
  FleetOptions options = faultless();
  options.noise_m = 10.0;
  double sum = 0.0;
  std::size_t count = 0;
  Fleet fleet(network, options);
  for (Instant now = at("08:00:00"); now < at("08:10:00"); now += Seconds(10)) {
    for (const VehiclePosition& report : fleet.reports(now)) {
      sum += from_path_m(report);
      ++count;
    }
  }
  // Mean distance of a normal deviation of 10 m: 10 * sqrt(2 / pi), a little less near corners.
  EXPECT_NEAR(sum / static_cast<double>(count), 7.9, 1.0);
}

TEST_F(FleetTest, ShareOfVehiclesWithoutTripIsAsAsked) {
  FleetOptions options = faultless();
  options.without_trip_share = 0.3;
  const auto all = reports(options, "08:30:00");
  const auto without =
      std::count_if(all.begin(), all.end(), [](const auto& report) { return report.trip.empty(); });
  EXPECT_NEAR(static_cast<double>(without) / static_cast<double>(all.size()), 0.3, 0.15);
}

TEST_F(FleetTest, ShareOfDoubledReportsIsAsAsked) {
  FleetOptions options = faultless();
  options.doubled_share = 0.25;
  Fleet fleet(network, options);
  std::size_t doubled = 0;
  std::size_t single = 0;
  for (Instant now = at("08:00:00"); now < at("08:10:00"); now += Seconds(10)) {
    std::map<VehicleId, int> times;
    for (const VehiclePosition& report : fleet.reports(now)) ++times[report.vehicle];
    for (const auto& [vehicle, count] : times) ++(count == 2 ? doubled : single);
  }
  EXPECT_NEAR(static_cast<double>(doubled) / static_cast<double>(doubled + single), 0.25, 0.04);
}

TEST_F(FleetTest, GapsAndLateReportsMakeOldOnes) {
  FleetOptions options = faultless();
  options.gap_share = 0.3;
  const auto all = reports(options, "08:31:30");
  const auto old = std::count_if(all.begin(), all.end(), [](const auto& report) {
    return at("08:31:30") - report.time >= Seconds(10);
  });
  EXPECT_NEAR(static_cast<double>(old) / static_cast<double>(all.size()), 0.3, 0.15);
}

TEST_F(FleetTest, ALateReportComesAfterANewerOne) {
  FleetOptions options = faultless();
  options.late_share = 0.2;
  Fleet fleet(network, options);
  std::map<VehicleId, Instant> last;
  int back = 0;
  for (Instant now = at("08:30:00"); now < at("08:35:00"); now += Seconds(1)) {
    for (const VehiclePosition& report : fleet.reports(now)) {
      Instant& before = last[report.vehicle];
      if (report.time < before) ++back;
      before = report.time;
    }
  }
  EXPECT_GT(back, 0);
}

TEST_F(FleetTest, DetoursLeaveThePath) {
  FleetOptions options = faultless();
  options.detour_share = 1.0;
  const auto all = reports(options, "08:30:00");
  const auto away = std::count_if(all.begin(), all.end(),
                                  [&](const auto& report) { return from_path_m(report) > 150.0; });
  EXPECT_GT(away, 0);
  EXPECT_LT(away, static_cast<std::ptrdiff_t>(all.size() / 3));
}

TEST_F(FleetTest, OutsideOfServiceNobodyIsOnTheRoad) {
  EXPECT_TRUE(reports({}, "03:00:00").empty());
  EXPECT_EQ(Fleet(network, {}).on_road(at("03:00:00")), 0u);
}

}  // namespace
}  // namespace qiv
