#include "serve/vehicle_views.h"

#include <gtest/gtest.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using testing::fix;

class VehicleViewsTest : public ::testing::Test {
 protected:
  VehicleView view() const {
    return vehicle_views(
               {said}, [this](const VehicleId&) { return seen; }, shown, network)
        .front();
  }

  Network network = testing::straight_network();
  const TripKey out{TripId("out"), testing::monday, Seconds(0)};
  Tracker::VehicleReport said{VehicleId("v"), VehicleStatus::off_route, at("08:01:00"),
                              at("08:02:00"), std::nullopt};
  VehiclePosition report = fix("v", "nowhere", "08:02:00", 500);
  const VehiclePosition* seen = &report;
  std::vector<TripForecast> shown;
};

TEST_F(VehicleViewsTest, OfAVehicleWithoutATripItsLastReportIsShown) {
  report.received = at("08:02:03");
  report.route = RouteId("reported");
  const VehicleView found = view();
  EXPECT_EQ(found.status, VehicleStatus::off_route);
  EXPECT_EQ(found.since, at("08:01:00"));
  EXPECT_EQ(found.last_report, at("08:02:00"));
  EXPECT_EQ(found.last_received, at("08:02:03"));
  EXPECT_EQ(found.place, report.place);
  EXPECT_EQ(found.reported_trip, TripId("nowhere"));
  EXPECT_EQ(found.route, RouteId("reported"));
  EXPECT_FALSE(found.lateness);
}

TEST_F(VehicleViewsTest, OfAVehicleOnATripHowLateItIs) {
  said.trip = out;
  said.confidence = 0.5;
  TripForecast forecast;
  forecast.trip = out;
  forecast.vehicle = VehicleId("v");
  forecast.offset_m = 1234.0;
  std::vector<StopForecast> stops(5);
  stops[0].observed = stops[1].observed = true;
  stops[2].arrival.time = at("08:05:30");
  forecast.stops = stops;
  shown = {forecast};
  const VehicleView found = view();
  EXPECT_EQ(found.trip, out);
  EXPECT_EQ(found.confidence, 0.5);
  EXPECT_EQ(found.route, RouteId("r")) << "of the trip, whatever the report says";
  EXPECT_EQ(found.offset_m, 1234.0);
  EXPECT_EQ(found.lateness, Seconds(90));
  shown.clear();
  EXPECT_FALSE(view().lateness);
}

TEST_F(VehicleViewsTest, AVehicleWhoseReportIsNotKnownIsShownAllTheSame) {
  seen = nullptr;
  const VehicleView found = view();
  EXPECT_EQ(found.vehicle, VehicleId("v"));
  EXPECT_FALSE(found.place);
  EXPECT_EQ(found.last_received, Instant());
}

TEST_F(VehicleViewsTest, TheSameReportMayBeReceivedTwice) {
  VehiclePosition again = report;
  again.received += Seconds(30);
  EXPECT_TRUE(is_same_report(report, again));
  again.time += Seconds(1);
  EXPECT_FALSE(is_same_report(report, again));
}

}  // namespace
}  // namespace qiv
