#include "simulate/duties.h"

#include <gtest/gtest.h>

#include <set>

#include "host/simulate/small_town.h"
#include "network/build_network.h"

namespace qiv {
namespace {

using testing::small_town;
using testing::small_town_network;

const ServiceDate day = *ServiceDate::parse("2025-05-05");
const Driver driver(Draw(1), Traffic(Draw(1), 0.12));

std::multiset<TripIndex> all_trips(const Duties& duties) {
  std::multiset<TripIndex> trips;
  for (std::size_t i = 0; i < duties.vehicles(); ++i) {
    for (const DutyTrip& trip : duties.trips_of(i)) trips.insert(trip.trip);
  }
  return trips;
}

TEST(Duties, WithoutLimitEveryTripIsRunOnce) {
  const Network network = small_town_network();
  const Duties duties(network, day, {}, driver);
  const auto trips = all_trips(duties);
  EXPECT_EQ(trips.size(), network.trips().size());
  EXPECT_EQ(std::set(trips.begin(), trips.end()).size(), trips.size());
}

TEST(Duties, AVehicleRunsOneTripAfterTheOther) {
  const Network network = small_town_network();
  const Duties duties(network, day, {}, driver);
  bool some_run_several = false;
  for (std::size_t i = 0; i < duties.vehicles(); ++i) {
    const auto trips = duties.trips_of(i);
    for (std::size_t j = 0; j + 1 < trips.size(); ++j) {
      EXPECT_GE(trips[j + 1].departs_s, trips[j].arrives_s + 60.0);
      some_run_several = true;
    }
  }
  EXPECT_TRUE(some_run_several);
}

TEST(Duties, ThereAreNoMoreVehiclesThanAskedFor) {
  const Network network = small_town_network();
  FleetOptions options;
  options.vehicles = 10;
  const Duties duties(network, day, options, driver);
  EXPECT_EQ(duties.vehicles(), 10u);
  EXPECT_LT(all_trips(duties).size(), network.trips().size());
}

TEST(Duties, TripsOfABlockShareAVehicle) {
  Timetable town = small_town();
  town.trips[3].block = BlockId("one");
  town.trips[town.trips.size() - 2].block = BlockId("one");
  const std::set<TripId> wanted = {town.trips[3].id, town.trips[town.trips.size() - 2].id};
  const Network network = build_network(town);
  const Duties duties(network, day, {}, driver);
  for (std::size_t i = 0; i < duties.vehicles(); ++i) {
    std::set<TripId> blocked;
    for (const DutyTrip& trip : duties.trips_of(i)) {
      if (!network.trip(trip.trip).block.empty()) blocked.insert(network.trip(trip.trip).id);
    }
    EXPECT_TRUE(blocked.empty() || blocked == wanted);
  }
}

}  // namespace
}  // namespace qiv
