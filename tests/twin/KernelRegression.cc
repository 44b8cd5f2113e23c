#include "twin/KernelRegression.h"

#include <cmath>
#include <exception>
#include <iostream>

#include "twin/Numbers.h"

namespace twin {

namespace {

/// An offset in terms of the milestones.
struct Place {
  Place(const BusRoute& bus_route, double offset) {
    bus_route.get_interpolation_parameters(offset, index, linear);
  }

  unsigned int index = 0;
  double linear = 0.0;
};

/// The variance of all trajectories' times at one place, not less than 1.
double spread(const History& history, const Place& place) {
  const unsigned int n = history.size();
  double mean = 0.0;
  double var = 0.0;
  for (unsigned int k = 0; k < n; ++k) {
    const double time = history.interpolate(k, place.index, place.linear);
    mean += time;
    var += time * time;
  }
  const double n_squared = static_cast<double>(n * n);
  var = var / static_cast<double>(n) - mean * mean / n_squared;
  return var < 1.0 ? 1.0 : var;
}

}  // namespace

KernelRegression::KernelRegression(Forecast* forecast, const BusRoute* bus_route,
                                   const std::vector<std::string>& string_parameter,
                                   const std::vector<double>& double_parameter)
    : ForecastAlgorithm(forecast, bus_route, string_parameter, double_parameter) {
  if (double_parameter.empty() || double_parameter[0] <= 0.0) {
    std::cerr << "parameter 'bandwidth' of KernelRegression needs to be strictly positive."
              << std::endl;
    throw std::exception();
  }
  _bandwidth = double_parameter[0];
}

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
  _forecast->set_first_index(next_stop - 1u);
  for (unsigned int j = next_stop; j < _bus_route->get_nb_bus_stops(); ++j) {
    compute_travel_time(vehicle, history, category, j, kernel);
  }
}

void KernelRegression::compute_kernel(Kernel& kernel, const Vehicle* vehicle,
                                      const History* history, category_t) {
  const unsigned int n = history->size();
  if (n == 0) return;

  for (unsigned int j = 0; j < vehicle->size(); ++j) {
    const Place place(*_bus_route, vehicle->get_offset(j));
    const double var = spread(*history, place);
    const double observed =
        static_cast<double>(difference(vehicle->get_time(j), vehicle->get_start_time()));
    for (unsigned int k = 0; k < n; ++k) {
      const double temp = history->interpolate(k, place.index, place.linear) - observed;
      kernel[k] = kernel[k] - temp / (var * _bandwidth) * temp;
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
  const Place current(*_bus_route, vehicle->get_last_offset());
  const Place forecast(*_bus_route, _bus_route->get_offset(j));
  double conditional_mean = 0.0;
  double conditional_var = 0.0;
  for (unsigned int k = 0; k < history->size(); ++k) {
    const double i_current = history->interpolate(k, current.index, current.linear);
    const double i_forecast = history->interpolate(k, forecast.index, forecast.linear);
    const double i_delta = i_forecast - i_current;
    const double tmp = kernel[k] * i_delta;
    conditional_mean += tmp;
    conditional_var += i_delta * tmp;
  }
  conditional_mean = kernel.normalize(conditional_mean);
  conditional_var = kernel.normalize(conditional_var) - conditional_mean * conditional_mean;
  if (conditional_var < 0.0) conditional_var = 0.0;
  const double conditional_std = std::sqrt(conditional_var);

  const long long last_time = vehicle->get_last_time();
  const double arrival_time = static_cast<double>(last_time) + conditional_mean;
  if (j >= _forecast->size()) return;
  Time& row = (*_forecast)[j];
  row.set_time(round(arrival_time));
  row.set_upper_confidence_bound(round(arrival_time + conditional_std));
  row.set_lower_confidence_bound(round(arrival_time - conditional_std));
  row.set_conditional_var(conditional_var);
  row.set_conditional_mean(conditional_mean);
  if (last_time > row.get_lower_confidence_bound()) row.set_lower_confidence_bound(last_time);
}

void KernelRegression::compute_travel_time(const Vehicle*, const History* history, category_t,
                                           unsigned int j, const Kernel& kernel) {
  const Place previous(*_bus_route, _bus_route->get_offset(j - 1u));
  const Place next(*_bus_route, _bus_route->get_offset(j));
  double conditional_mean = 0.0;
  double conditional_var = 0.0;
  for (unsigned int k = 0; k < history->size(); ++k) {
    const double i_previous = history->interpolate(k, previous.index, previous.linear);
    const double i_next = history->interpolate(k, next.index, next.linear);
    const double i_delta = i_next - i_previous;
    const double tmp = kernel[k] * i_delta;
    conditional_mean += tmp;
    conditional_var += i_delta * tmp;
  }
  conditional_mean = kernel.normalize(conditional_mean);
  conditional_var = kernel.normalize(conditional_var);
  conditional_var -= conditional_mean * conditional_mean;
  double conditional_std = 0.0;
  if (0.0 > conditional_var) {
    conditional_var = 0.0;
  } else {
    conditional_std = std::sqrt(conditional_var);
  }

  if (j - 1u >= _forecast->size()) return;
  Time& row = (*_forecast)[j - 1u];
  row.set_time(round(conditional_mean));
  row.set_upper_confidence_bound(round(conditional_mean + conditional_std));
  row.set_lower_confidence_bound(round(conditional_mean - conditional_std));
  row.set_conditional_var(conditional_var);
  row.set_conditional_mean(conditional_mean);
  if (row.get_lower_confidence_bound() < 0) row.set_lower_confidence_bound(0);
}

}  // namespace twin
