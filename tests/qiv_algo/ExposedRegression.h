#ifndef QIV_TESTS_QIV_ALGO_EXPOSED_REGRESSION_H
#define QIV_TESTS_QIV_ALGO_EXPOSED_REGRESSION_H

#include <string>
#include <vector>

#include "ExposedAlgorithm.h"

/// Kernel regression with its protected operations made public.
class ExposedRegression : public Exposed<KernelRegression> {
 public:
  using Exposed<KernelRegression>::Exposed;
  using KernelRegression::compute_arrival_time;
  using KernelRegression::compute_kernel;
  using KernelRegression::compute_travel_time;
};

/// Answers itself for the passed stops, with the next stop 2, and tells when it is asked.
class OwnPassedStops : public ExposedRegression {
 public:
  using ExposedRegression::ExposedRegression;
  unsigned int initialize_arrival_times(const Vehicle*) override {
    calls.push_back("arrival");
    _forecast->set_first_index(55);
    return 2;
  }
  unsigned int initialize_travel_times(const Vehicle*) override {
    calls.push_back("travel");
    _forecast->set_first_index(55);
    return 2;
  }

  std::vector<std::string> calls;
};

class RegressionTest : public AlgorithmTest {
 protected:
  ExposedRegression method(double bandwidth) { return {&forecast, &route, {}, {bandwidth}}; }

  void read_history(const std::vector<std::vector<int>>& trajectories) {
    for (const std::vector<int>& trajectory : trajectories) history.push_back(trajectory);
  }

  /// The whole computation, as the journey asks for it.
  void compute(double bandwidth) {
    ExposedRegression algorithm = method(bandwidth);
    ForecastAlgorithm& base = algorithm;
    base.compute_forecast(&vehicle, &history, 3);
  }
};

#endif  // QIV_TESTS_QIV_ALGO_EXPOSED_REGRESSION_H
