#include "track/standing.h"

#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;

class StandingTest : public ::testing::Test {
 protected:
  Seconds standing(const std::string& since, double offset_m, Evidence evidence,
                   const std::string& now) {
    const ScheduledTrip trip =
        *network.schedule(TripKey{TripId("out"), testing::monday, Seconds(0)});
    Progress last;
    last.time = at(since);
    last.offset_m = offset_m;
    last.evidence = evidence;
    return time_standing(last, trip, network.pattern(trip.pattern()), at(now), options);
  }

  Network network = testing::straight_network();
  TrackOptions options;
};

TEST_F(StandingTest, CountsFromTheLastProgress) {
  EXPECT_EQ(standing("08:03:00", 1500, Evidence::fix, "08:13:00"), Seconds(600));
  EXPECT_EQ(standing("08:03:00", 1500, Evidence::fix, "08:02:00"), Seconds(0));
}

TEST_F(StandingTest, AtAStopOnlyFromTheScheduledDeparture) {
  // Stop C at 2,000 m, 08:04.
  EXPECT_EQ(standing("07:50:00", 1990, Evidence::fix, "08:03:00"), Seconds(0));
  EXPECT_EQ(standing("07:50:00", 1990, Evidence::fix, "08:05:00"), Seconds(60));
  EXPECT_EQ(standing("08:06:00", 2000, Evidence::arrival, "08:08:00"), Seconds(120));
}

TEST_F(StandingTest, AVehicleThatHasLeftAStopOfAStationLevelFeedIsOnItsWay) {
  EXPECT_EQ(standing("08:04:00", 2002, Evidence::departure, "08:40:00"), Seconds(0));
}

}  // namespace
}  // namespace qiv
