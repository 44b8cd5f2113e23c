#include "engine/trip_roster.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::monday;

class TripRosterTest : public ::testing::Test {
 protected:
  void assign(const char* vehicle, const char* time,
              std::optional<double> confidence = std::nullopt) {
    roster.apply(TripAssigned{VehicleId(vehicle), out, 0, at(time), confidence});
  }
  void end(const char* vehicle, TripEnded::Reason reason) {
    roster.apply(TripEnded{{VehicleId(vehicle), out, PatternRef(), {}}, reason, at("08:10:00")});
  }
  std::string leader() const {
    const VehicleId* const vehicle = roster.leader(out);
    return vehicle == nullptr ? "nobody" : vehicle->text();
  }
  /// The announced trips, followed by what is said to have changed.
  std::set<std::string> announced(Instant now) {
    for (const TripKey& trip : roster.changed(now)) {
      if (roster.announced(trip, now)) {
        followed.insert(to_string(trip));
      } else {
        followed.erase(to_string(trip));
      }
    }
    return followed;
  }

  Network network = testing::straight_network();
  TripRoster roster{network, Seconds(3600), Seconds(600)};
  TripKey out{TripId("out"), monday, Seconds(0)};
  std::set<std::string> followed;
};

TEST_F(TripRosterTest, TheFirstAssignedLeadsTiesByName) {
  EXPECT_EQ(leader(), "nobody");
  assign("v", "08:00:00");
  assign("w", "07:59:00");
  assign("a", "08:00:00");
  EXPECT_EQ(leader(), "w");
  EXPECT_TRUE(roster.leads(VehicleId("w"), out));
  EXPECT_FALSE(roster.leads(VehicleId("v"), out));
  end("w", TripEnded::Reason::silent);
  EXPECT_EQ(leader(), "a");
  end("a", TripEnded::Reason::next_trip);
  EXPECT_EQ(leader(), "v");
}

TEST_F(TripRosterTest, AVehicleThatStatesTheTripGoesBeforeOneThatWasAssignedByItsCourse) {
  assign("guessed", "07:50:00", 0.99);
  EXPECT_EQ(leader(), "guessed");
  assign("stated", "08:00:00");
  EXPECT_EQ(leader(), "stated");
}

TEST_F(TripRosterTest, WhenTheLeaderHasFinishedTheTripIsOver) {
  assign("v", "08:00:00");
  assign("w", "08:01:00");
  end("w", TripEnded::Reason::finished);
  EXPECT_EQ(leader(), "v") << "who does not lead ends nothing";
  end("v", TripEnded::Reason::finished);
  EXPECT_EQ(leader(), "nobody");
  assign("x", "08:20:00");
  EXPECT_EQ(leader(), "nobody");
}

TEST_F(TripRosterTest, TripsWithoutAVehicleAreAnnouncedUntilOneHasBegunThem) {
  EXPECT_THAT(announced(at("07:50:00")), ElementsAre("out@20250303"));
  assign("v", "07:51:00");
  EXPECT_THAT(announced(at("07:52:00")), ElementsAre());
  end("v", TripEnded::Reason::next_trip);
  EXPECT_THAT(announced(at("07:53:00")), ElementsAre("out@20250303")) << "not begun";
  assign("v", "08:00:00");
  Progress progress;
  progress.vehicle = VehicleId("v");
  progress.trip = out;
  roster.apply(progress);
  end("v", TripEnded::Reason::silent);
  EXPECT_THAT(announced(at("08:05:00")), ElementsAre("later@20250303")) << "begun and lost";
}

TEST_F(TripRosterTest, TimeAnnouncesTripsAndTakesThemOff) {
  EXPECT_THAT(announced(at("06:59:59")), ElementsAre());
  EXPECT_THAT(announced(at("07:00:00")), ElementsAre("out@20250303"));
  EXPECT_THAT(roster.changed(at("07:00:01")), ElementsAre()) << "nothing has changed";
  EXPECT_THAT(announced(at("08:05:00")), ElementsAre("later@20250303", "out@20250303"));
  EXPECT_THAT(announced(at("08:10:00")), ElementsAre("later@20250303", "out@20250303"));
  EXPECT_THAT(announced(at("08:10:01")), ElementsAre("later@20250303"));
  EXPECT_THAT(announced(at("07:00:00")), ElementsAre("out@20250303")) << "a clock set back";
  EXPECT_THAT(announced(at("07:00:00") + std::chrono::days(30)), ElementsAre("out@20250402"));
}

TEST_F(TripRosterTest, WhatIsLongOverIsForgotten) {
  assign("v", "08:00:00");
  end("v", TripEnded::Reason::finished);
  announced(at("08:05:00"));
  announced(at("08:05:00") + std::chrono::days(5));
  assign("w", "08:06:00");
  EXPECT_EQ(leader(), "w");
}

}  // namespace
}  // namespace qiv
