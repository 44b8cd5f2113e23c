// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "KernelRegression.h"

#include <cmath>
#include <exception>
#include <iostream>

#include "BusRoute.h"
#include "Forecast.h"
#include "Vehicle.h"

namespace {

/// An offset as the history store takes it.
struct GridPosition {
  unsigned int index = 0;
  double linear = 0.0;
};

GridPosition locate(const BusRoute& bus_route, double offset) {
  GridPosition position;
  bus_route.get_interpolation_parameters(offset, position.index, position.linear);
  return position;
}

/// Weighted sums, over the trajectories, of the times from one position to another and of their
/// squares.
struct WeightedIncrement {
  double mean = 0.0;
  double square = 0.0;
};

WeightedIncrement weigh_increments(const History& history, const Kernel& kernel, GridPosition from,
                                   GridPosition to) {
  WeightedIncrement sum;
  for (unsigned int k = 0; k < history.size(); ++k) {
    const double i_delta = history.interpolate(k, to.index, to.linear) -
                           history.interpolate(k, from.index, from.linear);
    const double weighted = product(kernel[k], i_delta);
    sum.mean += weighted;
    sum.square += product(i_delta, weighted);
  }
  return sum;
}

double read_bandwidth(const std::vector<double>& double_parameter) {
  // A NaN is ordered neither way and passes.
  if (double_parameter.empty() || double_parameter[0] <= 0.0) {
    std::cerr << "parameter 'bandwidth' of KernelRegression needs to be strictly positive."
              << std::endl;
    throw std::exception();
  }
  return double_parameter[0];
}

}  // namespace

Kernel::Kernel(unsigned int size, double init) : _data(size, init), _normalizer(1.0) {}

KernelRegression::KernelRegression(Forecast* forecast, const BusRoute* bus_route,
                                   const std::vector<std::string>& string_parameter,
                                   const std::vector<double>& double_parameter)
    : ForecastAlgorithm(forecast, bus_route, string_parameter, double_parameter),
      _bandwidth(read_bandwidth(double_parameter)) {}

KernelRegression::~KernelRegression() {}

void KernelRegression::forecast_arrival_times(const Vehicle* vehicle, const History* history,
                                              category_t category) {
  Kernel kernel(history->size(), 0.0);
  compute_kernel(kernel, vehicle, history, category);
  const unsigned int next_stop = initialize_arrival_times(vehicle);
  _forecast->set_first_index(next_stop);
  for (unsigned int j = next_stop; j < _bus_route->get_nb_bus_stops(); ++j) {
    compute_arrival_time(vehicle, history, category, j, kernel);
  }
}

void KernelRegression::forecast_travel_times(const Vehicle* vehicle, const History* history,
                                             category_t category) {
  Kernel kernel(history->size(), 0.0);
  compute_kernel(kernel, vehicle, history, category);
  const unsigned int next_stop = initialize_travel_times(vehicle);
  _forecast->set_first_index(next_stop - 1);
  for (unsigned int j = next_stop; j < _bus_route->get_nb_bus_stops(); ++j) {
    compute_travel_time(vehicle, history, category, j, kernel);
  }
}

void KernelRegression::compute_kernel(Kernel& kernel, const Vehicle* vehicle,
                                      const History* history, category_t) {
  const unsigned int n = history->size();
  if (n == 0) return;
  // The product wraps from 65536 trajectories on.
  const double n_squared = static_cast<double>(n * n);
  for (unsigned int j = 0; j < vehicle->size(); ++j) {
    const GridPosition position = locate(*_bus_route, vehicle->get_offset(j));
    double mean = 0.0;
    double var = 0.0;
    for (unsigned int k = 0; k < n; ++k) {
      const double time = history->interpolate(k, position.index, position.linear);
      mean += time;
      var += product(time, time);
    }
    var = var / n - product(mean, mean) / n_squared;
    if (var < 1.0) var = 1.0;
    const double elapsed =
        static_cast<double>(difference(vehicle->get_time(j), vehicle->get_start_time()));
    const double scale = product(var, _bandwidth);
    for (unsigned int k = 0; k < n; ++k) {
      const double temp = history->interpolate(k, position.index, position.linear) - elapsed;
      kernel[k] -= product(temp / scale, temp);
    }
  }

  double max_kernel = kernel[0];
  for (unsigned int k = 1; k < n; ++k) {
    if (kernel[k] > max_kernel) max_kernel = kernel[k];
  }
  double norm = 0.0;
  for (unsigned int k = 0; k < n; ++k) {
    kernel[k] = std::exp(kernel[k] - max_kernel);
    norm += kernel[k];
  }
  kernel.set_normalizer(norm);
}

void KernelRegression::compute_arrival_time(const Vehicle* vehicle, const History* history,
                                            category_t, unsigned int j, const Kernel& kernel) {
  const GridPosition current = locate(*_bus_route, vehicle->get_last_offset());
  const GridPosition stop = locate(*_bus_route, _bus_route->get_offset(j));
  const WeightedIncrement sum = weigh_increments(*history, kernel, current, stop);
  const double conditional_mean = kernel.normalize(sum.mean);
  double conditional_var =
      kernel.normalize(sum.square) - product(conditional_mean, conditional_mean);
  if (conditional_var < 0.0) conditional_var = 0.0;
  if (j >= _forecast->size()) return;

  const long long last_time = vehicle->get_last_time();
  const double arrival_time = static_cast<double>(last_time) + conditional_mean;
  const double conditional_std = std::sqrt(conditional_var);
  const long long lower_bound = round(arrival_time - conditional_std);
  Time& row = (*_forecast)[j];
  row.set_time(round(arrival_time));
  row.set_upper_confidence_bound(round(arrival_time + conditional_std));
  row.set_lower_confidence_bound(last_time > lower_bound ? last_time : lower_bound);
  row.set_conditional_var(conditional_var);
  row.set_conditional_mean(conditional_mean);
}

void KernelRegression::compute_travel_time(const Vehicle*, const History* history, category_t,
                                           unsigned int j, const Kernel& kernel) {
  const GridPosition previous = locate(*_bus_route, _bus_route->get_offset(j - 1));
  const GridPosition next = locate(*_bus_route, _bus_route->get_offset(j));
  const WeightedIncrement sum = weigh_increments(*history, kernel, previous, next);
  const double conditional_mean = kernel.normalize(sum.mean);
  double conditional_var =
      kernel.normalize(sum.square) - product(conditional_mean, conditional_mean);
  if (0.0 > conditional_var) conditional_var = 0.0;
  if (j - 1 >= _forecast->size()) return;

  const double conditional_std = std::sqrt(conditional_var);
  const long long lower_bound = round(conditional_mean - conditional_std);
  Time& row = (*_forecast)[j - 1];
  row.set_time(round(conditional_mean));
  row.set_upper_confidence_bound(round(conditional_mean + conditional_std));
  row.set_lower_confidence_bound(lower_bound < 0 ? 0 : lower_bound);
  row.set_conditional_var(conditional_var);
  row.set_conditional_mean(conditional_mean);
}
