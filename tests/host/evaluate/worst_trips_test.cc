#include "evaluate/worst_trips.h"

#include <gmock/gmock.h>

#include "host/support/straight_line.h"

namespace qiv {
namespace {

using testing::at;
using ::testing::ElementsAre;
using testing::monday;
using ::testing::SizeIs;

class WorstTripsTest : public ::testing::Test {
 protected:
  ScheduledTrip trip(const char* id, int days = 0) const {
    return *network.schedule(TripKey{TripId(id), monday + std::chrono::days(days), Seconds(0)});
  }

  /// Arrives everywhere `late` behind the timetable.
  static TripTruth seen(const ScheduledTrip& trip, Seconds late) {
    TripTruth truth;
    truth.vehicle = VehicleId("v");
    truth.arrivals.resize(trip.plan->size());
    for (std::size_t i = 1; i < trip.plan->size(); ++i) {
      truth.arrivals[i] = ObservedArrival{trip.arrival(i) + late, Seconds(30), false};
    }
    return truth;
  }

  /// The timetable as a forecast, the vehicle being at `offset_m`.
  static TripForecast forecast(const ScheduledTrip& trip, double offset_m) {
    TripForecast forecast;
    forecast.trip = trip.key;
    forecast.offset_m = offset_m;
    for (std::size_t i = 0; i < trip.plan->size(); ++i) {
      StopForecast stop;
      stop.observed = offset_m > 1000.0 * static_cast<double>(i);
      stop.arrival.time = trip.arrival(i);
      stop.departure = trip.departure(i);
      forecast.stops.edit().push_back(stop);
    }
    return forecast;
  }

  /// A trip on which every forecast was off by `error_s`.
  void run(const ScheduledTrip& trip, long long error_s) {
    const TripTruth truth = seen(trip, Seconds(error_s));
    worst.show(trip, truth, forecast(trip, 0.0), trip.first_departure());
    worst.add_error(trip.key, truth.vehicle, error_s);
    worst.add_error(trip.key, truth.vehicle, -error_s);
    worst.settle(trip, truth);
  }

  std::vector<std::string> titles() const {
    std::vector<std::string> titles;
    for (const TripPlot& plot : worst.plots()) titles.push_back(plot.title);
    return titles;
  }

  Network network = testing::straight_network();
  WorstTrips worst{network, 2};
};

TEST_F(WorstTripsTest, ListsByMeanErrorAndDrawsOnlyTheWorst) {
  run(trip("out", 0), 100);
  run(trip("out", 1), 300);
  run(trip("out", 2), 200);
  run(trip("out", 3), 50);
  const std::vector<WorstTrip> list = worst.list(3);
  ASSERT_THAT(list, SizeIs(3));
  EXPECT_EQ(list[0].trip.day, monday + std::chrono::days(1));
  EXPECT_DOUBLE_EQ(list[0].mae_s, 300.0);
  EXPECT_EQ(list[0].n, 2U);
  EXPECT_EQ(list[2].trip.day, monday);
  EXPECT_THAT(titles(), ElementsAre("R to E, 08:00, 2025-03-04", "R to E, 08:00, 2025-03-05"));
}

TEST_F(WorstTripsTest, EqualErrorsAreInTheOrderOfTheTrips) {
  run(trip("out", 1), 100);
  run(trip("later", 1), 100);
  run(trip("later", 0), 100);
  EXPECT_THAT(titles(), ElementsAre("R to E, 09:00, 2025-03-03", "R to E, 09:00, 2025-03-04"));
  EXPECT_EQ(worst.list(1)[0].trip, trip("later", 0).key);
}

TEST_F(WorstTripsTest, FourMomentsFromTheDepartureToTheLastArrival) {
  const ScheduledTrip out = trip("out");
  const TripTruth truth = seen(out, Seconds(480));  // to 08:16
  for (Seconds after(-600); after < Seconds(960); after += Seconds(30)) {
    const double offset_m = after < Seconds(480) ? 0.0 : 2500.0;
    worst.show(out, truth, forecast(out, offset_m), out.first_departure() + after);
  }
  worst.add_error(out.key, truth.vehicle, 480);
  worst.report({truth.vehicle, out.key, 0, at("08:07:30"), at("08:07:40"), 20.0});
  worst.report({truth.vehicle, out.key, 0, at("08:09:30"), at("08:09:40"), 700.0});
  worst.settle(out, truth);
  ASSERT_THAT(worst.plots(), SizeIs(1));
  const TripPlot plot = worst.plots()[0];
  EXPECT_EQ(plot.note, "Trip out@20250303, vehicle v: off by 480 s on the mean of 1 forecasts");
  ASSERT_THAT(plot.moments, SizeIs(4));
  EXPECT_EQ(plot.moments[0].made, at("08:00:00"));
  EXPECT_EQ(plot.moments[1].made, at("08:04:00"));
  EXPECT_EQ(plot.moments[2].made, at("08:08:00"));
  EXPECT_EQ(plot.moments[3].made, at("08:12:00"));
  EXPECT_THAT(plot.moments[0].ahead, SizeIs(5)) << "the departure, too";
  EXPECT_THAT(plot.moments[2].ahead, SizeIs(2)) << "what lies behind 2500 m";
  EXPECT_DOUBLE_EQ(plot.moments[2].offset_m, 2500.0);
  ASSERT_THAT(plot.observed, SizeIs(5)) << "where it set out, and four arrivals";
  EXPECT_EQ(plot.observed[0].time, at("08:07:30"));
  EXPECT_EQ(plot.observed[1].time, at("08:10:00"));
  EXPECT_THAT(plot.scheduled, SizeIs(8));
  EXPECT_THAT(plot.stops, SizeIs(5));
}

TEST_F(WorstTripsTest, ATripThatWasNeverShownIsNotDrawn) {
  worst.settle(trip("out"), seen(trip("out"), Seconds(60)));
  EXPECT_THAT(worst.plots(), SizeIs(0));
  EXPECT_THAT(worst.list(5), SizeIs(0));
}

}  // namespace
}  // namespace qiv
