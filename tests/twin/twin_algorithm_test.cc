// Hand-computed values of the twin's forecasts: the frame and the kernel regression.

#include <cmath>
#include <limits>
#include <utility>

#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "twin/Journey.h"
#include "twin/Log.h"

namespace twin {
namespace {

const long long latest = std::numeric_limits<long long>::max();

/// Everything protected, in the open.
class Algorithm : public KernelRegression {
 public:
  using KernelRegression::compute_kernel;
  using KernelRegression::forecast_arrival_times;
  using KernelRegression::forecast_travel_times;
  using KernelRegression::initialize_arrival_times;
  using KernelRegression::initialize_travel_times;
  using KernelRegression::KernelRegression;
  using KernelRegression::round;
};

struct TwinAlgorithm : testing::Test {
  TwinAlgorithm()
      : journey("KernelRegression", {}, {1.0}, "arrival", 10, "ring"),
        route(journey),
        vehicle("V"),
        history(10, History::ring),
        algorithm(&forecast, &route, {}, {4.0}) {
    Log::clear();
  }

  void configure(const char* mode, const std::vector<double>& stops) {
    route.read_bus_stops(stops, {"A", "B", "C", "D"});
    forecast.initialize(mode);
    forecast.initialize(route);
  }

  void report(double offset, long long time) {
    vehicle.update_position(VehicleJourneyRef(), offset, time, 0.0);
  }

  std::vector<long long> times() {
    std::vector<long long> result;
    for (unsigned int j = 0; j < forecast.size(); ++j) result.push_back(forecast[j].get_time());
    return result;
  }

  Journey journey;
  BusRoute route;
  Forecast forecast;
  Vehicle vehicle;
  History history;
  Algorithm algorithm;
};

using testing::ElementsAre;

TEST_F(TwinAlgorithm, RoundsHalvesUp) {
  EXPECT_EQ(algorithm.round(1049.5), 1050);
  EXPECT_EQ(algorithm.round(-2.5), -2);
  EXPECT_EQ(algorithm.round(std::nan("")), std::numeric_limits<long long>::min());
}

TEST_F(TwinAlgorithm, StartTimeIsTheShiftToTheMeanTrajectory) {
  report(150, 1100);
  EXPECT_EQ(algorithm.compute_start_time(&vehicle, &history, 0), 1100);
  EXPECT_EQ(algorithm.compute_start_time(&vehicle, nullptr, 0), 1100);
  history.push_back({0, 100, 200});
  history.push_back({0, 101, 204});
  EXPECT_EQ(algorithm.compute_start_time(&vehicle, &history, 0), 1100);
  route.read_milestones({0, 100, 200});
  // (150 + 152.5) / 2 = 151.25, truncated.
  EXPECT_EQ(algorithm.compute_start_time(&vehicle, &history, 0), 949);
}

TEST_F(TwinAlgorithm, PassedStops) {
  configure("arrival", {0, 50, 200, 250});
  vehicle.set_start_time(900);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 1u);
  report(100, 1000);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 2u);
  report(300, 1100);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 4u);
  EXPECT_THAT(times(), ElementsAre(900, 950, 1050, 1075));
  EXPECT_EQ(forecast[2].get_lower_confidence_bound(), 1050);
  EXPECT_EQ(forecast[2].get_upper_confidence_bound(), 1050);
}

TEST_F(TwinAlgorithm, BeforeTheFirstStop) {
  configure("arrival", {10, 20});
  report(9, 5);
  forecast.set_first_index(7);
  EXPECT_EQ(algorithm.initialize_arrival_times(&vehicle), 0u);
  EXPECT_EQ(forecast.get_first_index(), 0u);
  EXPECT_THAT(times(), ElementsAre(0, 0));
}

TEST_F(TwinAlgorithm, CompletedLegs) {
  configure("travel", {50, 200, 250, 400});
  vehicle.set_start_time(900);
  report(100, 1000);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 1u);
  EXPECT_THAT(times(), ElementsAre(0, 0, 0));
  report(300, 1101);
  // Stop A at 950, B at 1050.5, C at 1075.75, unrounded.
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 3u);
  EXPECT_THAT(times(), ElementsAre(101, 25, 0));
}

TEST_F(TwinAlgorithm, TravelModeOnFewerThanTwoStops) {
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 0u);
  route.read_bus_stops({1}, {"A"});
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 1u);
}

TEST_F(TwinAlgorithm, StopsBeyondAllReportsTakeTheStartTime) {
  configure("travel", {100, std::nan("")});
  vehicle.set_start_time(7);
  report(50, 1000);
  EXPECT_EQ(algorithm.initialize_travel_times(&vehicle), 2u);
  EXPECT_THAT(times(), ElementsAre(0));
}

TEST_F(TwinAlgorithm, FallBackArrivals) {
  configure("arrival", {0, 50, 200});
  report(100, 1000);
  algorithm.forecast_arrival_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(times(), ElementsAre(0, 500, 0));
  EXPECT_EQ(forecast[2].get_upper_confidence_bound(), latest);
  EXPECT_EQ(forecast[1].get_upper_confidence_bound(), 500);
}

TEST_F(TwinAlgorithm, FallBackTravelTimesStayWithinTheRows) {
  configure("travel", {10, 50, 200});
  algorithm.forecast_travel_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 4294967295u);
  EXPECT_EQ(forecast[0].get_upper_confidence_bound(), latest);
  report(300, 3000);
  algorithm.forecast_travel_times(&vehicle);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(times(), ElementsAre(100, 500));
}

TEST_F(TwinAlgorithm, GuardsOfTheFrame) {
  configure("arrival", {0, 100});
  report(50, 50);
  forecast.set_first_index(1);
  algorithm.compute_forecast(&vehicle, nullptr, 0);
  EXPECT_EQ(forecast.get_first_index(), 1u);
  EXPECT_EQ(Log::entries().back().message_id, "KWXBN0028I");
  route.read_milestones({0, 100});
  for (const History* missing : {static_cast<const History*>(nullptr), &std::as_const(history)}) {
    Log::clear();
    forecast.set_quality(0.0);
    forecast.set_confidence(0.5);
    forecast.set_first_index(1);
    algorithm.compute_forecast(&vehicle, missing, 0);
    ASSERT_EQ(Log::entries().size(), 1u);
    EXPECT_EQ(Log::entries()[0].kind, support::LogKind::info_message);
    EXPECT_EQ(Log::entries()[0].function_name, "ForecastAlgorithm::compute_forecast");
    EXPECT_EQ(Log::entries()[0].message_id, "KWXBN0027I");
    EXPECT_EQ(forecast.get_first_index(), 4294967295u);
    EXPECT_EQ(forecast.get_quality(), 1.0);
    EXPECT_EQ(forecast.get_confidence(), 0.0);
  }
}

TEST_F(TwinAlgorithm, KernelWithoutUpdatesIsEven) {
  history.push_back({0, 1});
  history.push_back({0, 2});
  Kernel kernel(2, 0.0);
  algorithm.compute_kernel(kernel, &vehicle, &history, 0);
  EXPECT_THAT(kernel._data, ElementsAre(1.0, 1.0));
  EXPECT_EQ(kernel._normalizer, 2.0);
}

TEST_F(TwinAlgorithm, KernelOfAnEmptyHistoryStays) {
  Kernel kernel(0, 0.0);
  algorithm.compute_kernel(kernel, &vehicle, &history, 0);
  EXPECT_EQ(kernel._normalizer, 1.0);
}

TEST_F(TwinAlgorithm, OneTrajectory) {
  configure("arrival", {0, 100, 200});
  route.read_milestones({0, 100, 200});
  history.push_back({0, 60, 150});
  report(100, 1000);
  vehicle.set_start_time(940);
  algorithm.compute_forecast(&vehicle, &history, 0);
  EXPECT_THAT(times(), ElementsAre(940, 1000, 1090));
  EXPECT_EQ(forecast[2].get_lower_confidence_bound(), 1090);
  EXPECT_EQ(forecast[2].get_upper_confidence_bound(), 1090);
  EXPECT_EQ(forecast[2].get_conditional_var(), 0.0);
  EXPECT_EQ(forecast.get_first_index(), 2u);
}

TEST_F(TwinAlgorithm, EvenWeights) {
  configure("arrival", {0, 100, 200});
  route.read_milestones({0, 100, 200});
  history.push_back({0, 100, 200});
  history.push_back({0, 100, 220});
  report(100, 1100);
  vehicle.set_start_time(1000);
  algorithm.compute_forecast(&vehicle, &history, 0);
  EXPECT_THAT(times(), ElementsAre(1000, 1100, 1210));
  EXPECT_EQ(forecast[2].get_lower_confidence_bound(), 1200);
  EXPECT_EQ(forecast[2].get_upper_confidence_bound(), 1220);
  EXPECT_EQ(forecast[2].get_conditional_mean(), 110.0);
  EXPECT_EQ(forecast[2].get_conditional_var(), 100.0);
  EXPECT_EQ(forecast.get_confidence(), 1.0 - 1.0 / std::sqrt(3.0));
}

/// Two trajectories that agree at offset 100 and differ by 40 at 200, where the spread is 400.
/// With bandwidth 4 the second one weighs exp(-40 * 40 / (400 * 4)) = exp(-1).
struct TwinWeights : TwinAlgorithm {
  TwinWeights() {
    route.read_milestones({0, 100, 200, 300});
    history.push_back({0, 100, 200, 300});
    history.push_back({0, 100, 240, 400});
    report(100, 1100);
    report(200, 1200);
    vehicle.set_start_time(1000);
  }

  const double e = std::exp(-1.0);
  const double mean = (100 + 160 * e) / (1 + e);
};

TEST_F(TwinWeights, Kernel) {
  Kernel kernel(2, 0.0);
  algorithm.compute_kernel(kernel, &vehicle, &history, 0);
  EXPECT_EQ(kernel[0], 1.0);
  EXPECT_EQ(kernel[1], e);
  EXPECT_EQ(kernel._normalizer, 1.0 + e);
}

TEST_F(TwinWeights, Arrivals) {
  configure("arrival", {0, 100, 200, 300});
  algorithm.compute_forecast(&vehicle, &history, 0);
  EXPECT_THAT(times(), ElementsAre(1000, 1100, 1200, 1316));
  EXPECT_DOUBLE_EQ(forecast[3].get_conditional_mean(), mean);
  EXPECT_NEAR(forecast[3].get_conditional_var(), 60 * 60 * e / ((1 + e) * (1 + e)), 1e-9);
  EXPECT_EQ(forecast[3].get_lower_confidence_bound(), 1290);
  EXPECT_EQ(forecast[3].get_upper_confidence_bound(), 1343);
}

TEST_F(TwinWeights, TravelTimes) {
  configure("travel", {0, 100, 200, 300});
  algorithm.compute_forecast(&vehicle, &history, 0);
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(times(), ElementsAre(100, 100, 116));
  EXPECT_EQ(forecast[2].get_lower_confidence_bound(), 90);
  EXPECT_EQ(forecast[2].get_upper_confidence_bound(), 143);
}

TEST_F(TwinAlgorithm, BoundsThatAreRaised) {
  configure("arrival", {0, 200});
  route.read_milestones({0, 100, 200});
  history.push_back({0, 0, 0});
  history.push_back({0, 0, 40});
  report(100, 1000);
  vehicle.set_start_time(1000);
  algorithm.compute_forecast(&vehicle, &history, 0);
  EXPECT_EQ(forecast[1].get_time(), 1020);
  EXPECT_EQ(forecast[1].get_lower_confidence_bound(), 1000);
  history.push_back({0, 0, 100});
  history.push_back({0, 0, 0});
  algorithm.compute_forecast(&vehicle, &history, 0);
  // Mean 35, variance 2900 - 1225 = 1675, deviation 40.93.
  EXPECT_EQ(forecast[1].get_time(), 1035);
  EXPECT_EQ(forecast[1].get_lower_confidence_bound(), 1000);
  EXPECT_EQ(forecast[1].get_upper_confidence_bound(), 1076);

  configure("travel", {100, 200});
  algorithm.compute_forecast(&vehicle, &history, 0);
  EXPECT_EQ(forecast[0].get_time(), 35);
  EXPECT_EQ(forecast[0].get_lower_confidence_bound(), 0);
}

}  // namespace
}  // namespace twin
