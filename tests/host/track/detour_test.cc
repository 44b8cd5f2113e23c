#include "track/detour.h"

#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;

class DetourTest : public ::testing::Test {
 protected:
  /// A vehicle that was last on its path at 1,000 m, at 08:02.
  bool beside_after(const std::vector<VehiclePosition>& reports) {
    Progress last;
    last.time = at("08:02:00");
    last.offset_m = 1000.0;
    const Polyline& path = network.polyline(network.find_trip(TripId("out"))->pattern);
    Detour detour;
    for (const VehiclePosition& report : reports) detour.take(report, last, path, options);
    return detour.beside();
  }

  Network network = testing::straight_network();
  TrackOptions options;
};

TEST_F(DetourTest, GoingOnBesideThePath) {
  EXPECT_TRUE(beside_after(
      {fix("v", "out", "08:03:00", 1300, 400), fix("v", "out", "08:04:00", 1600, 400)}));
}

TEST_F(DetourTest, OneReportTellsNothing) {
  EXPECT_FALSE(beside_after({fix("v", "out", "08:03:00", 1300, 400)}));
}

TEST_F(DetourTest, LeavingSidewaysIsNone) {
  EXPECT_FALSE(
      beside_after({fix("v", "out", "08:03:00", 1300, 300), fix("v", "out", "08:04:00", 1310, 700),
                    fix("v", "out", "08:05:00", 1320, 900)}));
}

TEST_F(DetourTest, GoingBackIsNone) {
  EXPECT_FALSE(
      beside_after({fix("v", "out", "08:03:00", 1900, 300), fix("v", "out", "08:04:00", 1600, 300),
                    fix("v", "out", "08:05:00", 1300, 300)}));
}

TEST_F(DetourTest, TooFarAwayIsNone) {
  EXPECT_FALSE(
      beside_after({fix("v", "out", "08:03:00", 1300, 400), fix("v", "out", "08:04:00", 1600, 400),
                    fix("v", "out", "08:05:00", 1900, 1100)}));
}

TEST_F(DetourTest, EndsWhenTheVehicleDoesNotGoOn) {
  EXPECT_TRUE(
      beside_after({fix("v", "out", "08:03:00", 1300, 400), fix("v", "out", "08:04:00", 1600, 400),
                    fix("v", "out", "08:14:00", 1600, 400)}));
  EXPECT_FALSE(
      beside_after({fix("v", "out", "08:03:00", 1300, 400), fix("v", "out", "08:04:00", 1600, 400),
                    fix("v", "out", "08:14:01", 1600, 400)}));
}

TEST_F(DetourTest, AReportWithoutPlaceTellsNothing) {
  VehiclePosition nowhere = fix("v", "out", "08:05:00", 0);
  nowhere.place.reset();
  EXPECT_FALSE(beside_after(
      {fix("v", "out", "08:03:00", 1300, 400), fix("v", "out", "08:04:00", 1600, 400), nowhere}));
}

}  // namespace
}  // namespace qiv
