#ifndef QIV_TESTS_QIV_ALGO_EXPOSED_ALGORITHM_H
#define QIV_TESTS_QIV_ALGO_EXPOSED_ALGORITHM_H

#include <gmock/gmock.h>

#include <ostream>
#include <vector>

#include "Forecast.h"
#include "History.h"
#include "KernelRegression.h"
#include "RouteOnJourney.h"
#include "Vehicle.h"

/// `Algorithm` with its protected operations made public.
template <class Algorithm>
class Exposed : public Algorithm {
 public:
  using Algorithm::Algorithm;
  using Algorithm::forecast_arrival_times;
  using Algorithm::forecast_travel_times;
  using Algorithm::initialize_arrival_times;
  using Algorithm::initialize_travel_times;
  using Algorithm::round;
};

/// What a forecast row says: time, lower bound, upper bound.
struct Row {
  long long time;
  long long lower;
  long long upper;
};

inline bool operator==(const Row& l, const Row& r) {
  return l.time == r.time && l.lower == r.lower && l.upper == r.upper;
}

inline std::ostream& operator<<(std::ostream& out, const Row& row) {
  return out << "{" << row.time << ", " << row.lower << ", " << row.upper << "}";
}

/// What an observed row says.
inline Row observed(long long time) {
  return {time, time, time};
}

/// Everything that an algorithm works on. The trip is the empty one, so that nothing is logged.
class AlgorithmTest : public ::testing::Test {
 protected:
  /// What `read_stops` writes into every row, to be found again where nothing was written.
  static Row untouched() { return {-7, -8, -9}; }

  void read_stops(const std::vector<double>& offsets) {
    route.read_bus_stops(offsets, std::vector<std::string>(offsets.size(), "stop"));
    forecast.initialize(route);
    for (unsigned int j = 0; j < forecast.size(); ++j) {
      forecast[j].set_time(untouched().time);
      forecast[j].set_lower_confidence_bound(untouched().lower);
      forecast[j].set_upper_confidence_bound(untouched().upper);
      forecast[j].set_conditional_var(0.125);
      forecast[j].set_conditional_mean(0.375);
    }
    forecast.set_first_index(99);
  }

  void report(double offset, long long time) {
    vehicle.update_position(VehicleJourneyRef(), offset, time, 0.0);
  }

  std::vector<Row> rows() {
    std::vector<Row> result;
    for (unsigned int j = 0; j < forecast.size(); ++j) {
      result.push_back({forecast[j].get_time(), forecast[j].get_lower_confidence_bound(),
                        forecast[j].get_upper_confidence_bound()});
    }
    return result;
  }

  RouteOnJourney owner;
  BusRoute& route = owner.route;
  Forecast forecast;
  Vehicle vehicle{"V1"};
  History history{100000, History::ring};
};

#endif  // QIV_TESTS_QIV_ALGO_EXPOSED_ALGORITHM_H
