// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "KernelRegression.h"

#include <cmath>
#include <exception>
#include <iostream>

#include "BusRoute.h"
#include "Forecast.h"
#include "MilestoneWalk.h"
#include "TileReader.h"
#include "Vehicle.h"
#include "lanes.h"

namespace {

using lanes::Increments;
using lanes::IncrementSums;
using lanes::Observation;
using lanes::TilePosition;

unsigned int milestone_index(const TilePosition& position) {
  return static_cast<unsigned int>(position.cell / lanes::tile_width);
}

/// Null for no weights.
const double* weights_of(const Kernel& kernel) {
  return kernel.size() == 0 ? nullptr : &kernel[0];
}

double time_at(const History& history, unsigned int k, const TilePosition& position) {
  return history.interpolate(k, milestone_index(position), position.linear);
}

/// As `lanes::Operations::subtract_distances`, for trajectories of several lengths.
void subtract_distances_one_by_one(const History& history, const Observation* observations,
                                   unsigned int count, double bandwidth, double* weights) {
  const unsigned int n = history.size();
  // The product wraps from 65536 trajectories on.
  const double n_squared = static_cast<double>(n * n);
  for (unsigned int j = 0; j < count; ++j) {
    const Observation& observation = observations[j];
    double mean = 0.0;
    double var = 0.0;
    for (unsigned int k = 0; k < n; ++k) {
      const double time = time_at(history, k, observation.position);
      mean += time;
      var += product(time, time);
    }
    var = var / n - product(mean, mean) / n_squared;
    if (var < 1.0) var = 1.0;
    const double scale = product(var, bandwidth);
    for (unsigned int k = 0; k < n; ++k) {
      const double temp = time_at(history, k, observation.position) - observation.elapsed;
      weights[k] -= product(temp / scale, temp);
    }
  }
}

/// As `lanes::Operations::sum_increments`, for trajectories of several lengths.
void sum_increments_one_by_one(const History& history, const double* weights,
                               const TilePosition* positions, unsigned int count,
                               Increments increments, IncrementSums& sums) {
  for (unsigned int j = 0; j < count; ++j) {
    const TilePosition& from = positions[increments == Increments::from_first ? 0 : j];
    const TilePosition& to = positions[j + 1];
    double mean = 0.0;
    double square = 0.0;
    for (unsigned int k = 0; k < history.size(); ++k) {
      const double i_delta = time_at(history, k, to) - time_at(history, k, from);
      const double weighted = product(weights[k], i_delta);
      mean += weighted;
      square += product(i_delta, weighted);
    }
    sums.mean[j] = mean;
    sums.square[j] = square;
  }
}

void subtract_distances(const History& history, const Observation* observations, unsigned int count,
                        double bandwidth, double* weights) {
  if (TileReader::has_tiles(history)) {
    lanes::operations().subtract_distances(TileReader::read(history), observations, count,
                                           bandwidth, weights);
  } else {
    subtract_distances_one_by_one(history, observations, count, bandwidth, weights);
  }
}

void sum_increments(const History& history, const double* weights, const TilePosition* positions,
                    unsigned int count, Increments increments, IncrementSums& sums) {
  if (TileReader::has_tiles(history)) {
    lanes::operations().sum_increments(TileReader::read(history), weights, positions, count,
                                       increments, sums);
  } else {
    sum_increments_one_by_one(history, weights, positions, count, increments, sums);
  }
}

/// Sums the increments to the stops from `first` to `last` - 1, and gives each stop's weighted sums
/// to `fill`. They begin at the offset `start` or, from the previous stop, at the offset of stop
/// `first` - 1. An offset that the route refuses throws after the stops before it are filled.
template <class Fill>
void for_each_increment(const BusRoute& bus_route, const History& history, const double* weights,
                        Increments increments, double start, unsigned int first, unsigned int last,
                        Fill fill) {
  MilestoneWalk walk(bus_route);
  TilePosition positions[1 + lanes::batch_size];
  IncrementSums sums;
  while (first < last) {
    positions[0] = walk.locate(start);
    unsigned int count = 0;
    double end = start;
    for (; count < lanes::batch_size && first + count < last; ++count) {
      end = bus_route.get_offset(first + count);
      if (!walk.accepts(end)) break;
      positions[count + 1] = walk.locate(end);
    }
    if (count == 0) walk.locate(end);
    for (unsigned int i = count; i < lanes::padded(count); ++i) {
      positions[i + 1] = TilePosition(0, 0.0);
    }
    sum_increments(history, weights, positions, count, increments, sums);
    for (unsigned int i = 0; i < count; ++i) fill(first + i, sums.mean[i], sums.square[i]);
    first += count;
    if (increments == Increments::from_previous && first < last)
      start = bus_route.get_offset(first - 1);
  }
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
  compute_arrival_times(vehicle, history, next_stop, _bus_route->get_nb_bus_stops(), kernel);
}

void KernelRegression::forecast_travel_times(const Vehicle* vehicle, const History* history,
                                             category_t category) {
  Kernel kernel(history->size(), 0.0);
  compute_kernel(kernel, vehicle, history, category);
  const unsigned int next_stop = initialize_travel_times(vehicle);
  _forecast->set_first_index(next_stop - 1);
  compute_travel_times(history, next_stop, _bus_route->get_nb_bus_stops(), kernel);
}

void KernelRegression::compute_kernel(Kernel& kernel, const Vehicle* vehicle,
                                      const History* history, category_t) {
  const unsigned int n = history->size();
  if (n == 0) return;
  double* const weights = &kernel[0];
  MilestoneWalk walk(*_bus_route);
  Observation observations[lanes::batch_size];
  for (unsigned int j = 0; j < vehicle->size();) {
    unsigned int count = 0;
    for (; count < lanes::batch_size && j < vehicle->size(); ++count, ++j) {
      const double offset = vehicle->get_offset(j);
      if (!walk.accepts(offset)) break;
      observations[count].position = walk.locate(offset);
      observations[count].elapsed =
          static_cast<double>(difference(vehicle->get_time(j), vehicle->get_start_time()));
    }
    // Throws for an offset that the route refuses, after those before it have had their effect.
    if (count == 0) walk.locate(vehicle->get_offset(j));
    for (unsigned int i = count; i < lanes::padded(count); ++i) {
      observations[i] = {TilePosition(0, 0.0), 0.0};
    }
    subtract_distances(*history, observations, count, _bandwidth, weights);
  }

  double max_kernel = weights[0];
  for (unsigned int k = 1; k < n; ++k) {
    if (weights[k] > max_kernel) max_kernel = weights[k];
  }
  double norm = 0.0;
  for (unsigned int k = 0; k < n; ++k) {
    weights[k] = std::exp(weights[k] - max_kernel);
    norm += weights[k];
  }
  kernel.set_normalizer(norm);
}

void KernelRegression::compute_arrival_time(const Vehicle* vehicle, const History* history,
                                            category_t, unsigned int j, const Kernel& kernel) {
  compute_arrival_times(vehicle, history, j, j + 1, kernel);
}

void KernelRegression::compute_arrival_times(const Vehicle* vehicle, const History* history,
                                             unsigned int first, unsigned int last,
                                             const Kernel& kernel) {
  const long long last_time = vehicle->get_last_time();
  const auto fill = [&](unsigned int j, double mean, double square) {
    const double conditional_mean = kernel.normalize(mean);
    double conditional_var = kernel.normalize(square) - product(conditional_mean, conditional_mean);
    if (conditional_var < 0.0) conditional_var = 0.0;
    if (j >= _forecast->size()) return;

    const double arrival_time = static_cast<double>(last_time) + conditional_mean;
    const double conditional_std = std::sqrt(conditional_var);
    const long long lower_bound = nearest_integer(arrival_time - conditional_std);
    Time& row = (*_forecast)[j];
    row.set_time(nearest_integer(arrival_time));
    row.set_upper_confidence_bound(nearest_integer(arrival_time + conditional_std));
    row.set_lower_confidence_bound(last_time > lower_bound ? last_time : lower_bound);
    row.set_conditional_var(conditional_var);
    row.set_conditional_mean(conditional_mean);
  };
  for_each_increment(*_bus_route, *history, weights_of(kernel), Increments::from_first,
                     vehicle->get_last_offset(), first, last, fill);
}

void KernelRegression::compute_travel_time(const Vehicle*, const History* history, category_t,
                                           unsigned int j, const Kernel& kernel) {
  compute_travel_times(history, j, j + 1, kernel);
}

void KernelRegression::compute_travel_times(const History* history, unsigned int first,
                                            unsigned int last, const Kernel& kernel) {
  const auto fill = [&](unsigned int j, double mean, double square) {
    const double conditional_mean = kernel.normalize(mean);
    double conditional_var = kernel.normalize(square) - product(conditional_mean, conditional_mean);
    if (0.0 > conditional_var) conditional_var = 0.0;
    if (j - 1 >= _forecast->size()) return;

    const double conditional_std = std::sqrt(conditional_var);
    const long long lower_bound = nearest_integer(conditional_mean - conditional_std);
    Time& row = (*_forecast)[j - 1];
    row.set_time(nearest_integer(conditional_mean));
    row.set_upper_confidence_bound(nearest_integer(conditional_mean + conditional_std));
    row.set_lower_confidence_bound(lower_bound < 0 ? 0 : lower_bound);
    row.set_conditional_var(conditional_var);
    row.set_conditional_mean(conditional_mean);
  };
  if (first >= last) return;
  for_each_increment(*_bus_route, *history, weights_of(kernel), Increments::from_previous,
                     _bus_route->get_offset(first - 1), first, last, fill);
}
