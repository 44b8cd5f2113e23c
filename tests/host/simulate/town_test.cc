#include "simulate/town.h"

#include <gtest/gtest.h>

#include "host/simulate/small_town.h"
#include "network/build_network.h"

namespace qiv {
namespace {

std::size_t under_way(const Network& network, Instant instant) {
  std::size_t count = 0;
  for (const ServiceDate day : network.service_days(instant)) {
    for (const TripIndex index : network.trips_on(day)) {
      const ScheduledTrip trip = network.schedule(network.trip(index), day);
      if (trip.first_departure() <= instant && instant <= trip.last_arrival()) ++count;
    }
  }
  return count;
}

TEST(Town, HasItsTripsUnderWayAtAnyTimeOfTheStretch) {
  const Network network = testing::small_town_network();
  EXPECT_TRUE(network.rejections().empty());
  for (const char* const time : {"08:00:00", "08:31:17", "09:59:59", "10:00:00"}) {
    const std::size_t count = under_way(network, testing::at(time));
    EXPECT_GE(count, 60u) << time;
    EXPECT_LT(count, 90u) << time;
  }
}

TEST(Town, AStretchThatBeginsAtMidnightBelongsToTheDayBefore) {
  TownOptions options = testing::small_town_options();
  options.from = Seconds(0);
  const Network network = build_network(make_town(options));
  EXPECT_GE(under_way(network, testing::at("00:00:00")), 60u);
}

TEST(Town, TripsHaveThirtyToFortyStops) {
  TownOptions options = testing::small_town_options();
  options.vehicles = 400;
  for (const Trip& trip : make_town(options).trips) {
    EXPECT_GE(trip.stop_times.size(), 30u);
    EXPECT_LE(trip.stop_times.size(), 40u);
  }
}

}  // namespace
}  // namespace qiv
