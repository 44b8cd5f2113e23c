#include "twin/ForecastAlgorithm.h"

#include <cmath>
#include <limits>

#include "twin/Log.h"
#include "twin/Numbers.h"

namespace twin {

ForecastAlgorithm::ForecastAlgorithm(Forecast* forecast, const BusRoute* bus_route,
                                     const std::vector<std::string>&, const std::vector<double>&)
    : _forecast(forecast), _bus_route(bus_route) {}

long long ForecastAlgorithm::round(double x) {
  return to_long_long(std::floor(x + 0.5));
}

long long ForecastAlgorithm::compute_start_time(const Vehicle* vehicle, const History* history,
                                                category_t) const {
  if (!_bus_route->is_initialized() || history == nullptr || history->size() == 0) {
    return vehicle->get_time(0);
  }
  unsigned int index = 0;
  double linear = 0.0;
  _bus_route->get_interpolation_parameters(vehicle->get_offset(0), index, linear);
  const unsigned int historySize = history->size();
  double average = 0.0;
  for (unsigned int k = 0; k < historySize; ++k) average += history->interpolate(k, index, linear);
  const long long elapsed = to_long_long(average / static_cast<double>(historySize));
  return difference(vehicle->get_time(0), elapsed);
}

void ForecastAlgorithm::compute_forecast(const Vehicle* vehicle, const History* history,
                                         category_t category) {
  _forecast->set_quality(1.0);
  if (!_bus_route->milestones_is_initialized()) {
    RQLogger::InfoMessage("ForecastAlgorithm::compute_forecast", "KWXBN0028I");
    _forecast->set_confidence(0.0);
    return;
  }
  if (history == nullptr || history->size() == 0) {
    RQLogger::InfoMessage("ForecastAlgorithm::compute_forecast", "KWXBN0027I");
    _forecast->reset();
    _forecast->set_confidence(0.0);
    return;
  }
  if (_forecast->get_mode() == Forecast::arrival) {
    forecast_arrival_times(vehicle, history, category);
  }
  if (_forecast->get_mode() == Forecast::travel) {
    forecast_travel_times(vehicle, history, category);
  }
  const double n_plus_1 = static_cast<double>(history->size() + 1u);
  _forecast->set_confidence(1.0 + (-1.0 / std::sqrt(n_plus_1)));
}

/// The unrounded time at which the vehicle passed `x`. `p_index` is where the search begins, and
/// where it ended. Only stops in disorder, with NaN among them, lie beyond all updates: the start
/// time then.
double ForecastAlgorithm::passing_time(const Vehicle* vehicle, double x,
                                       unsigned int& p_index) const {
  while (p_index < vehicle->size() && x > vehicle->get_offset(p_index)) p_index += 1;
  if (p_index == vehicle->size()) return static_cast<double>(vehicle->get_start_time());
  const double o1 = vehicle->get_offset(p_index);
  const long long t1 = vehicle->get_time(p_index);
  if (p_index > 0) {
    const double o0 = vehicle->get_offset(p_index - 1);
    const long long t0 = vehicle->get_time(p_index - 1);
    const double p_linear = (x - o0) / (o1 - o0);
    return static_cast<double>(t0) + p_linear * static_cast<double>(difference(t1, t0));
  }
  const long long s = vehicle->get_start_time();
  const double p_linear = x / o1;
  return static_cast<double>(s) + p_linear * static_cast<double>(difference(t1, s));
}

void ForecastAlgorithm::write_observed(unsigned int row, long long time) {
  if (row >= _forecast->size()) return;
  (*_forecast)[row].set_time(time);
  (*_forecast)[row].set_lower_confidence_bound(time);
  (*_forecast)[row].set_upper_confidence_bound(time);
}

void ForecastAlgorithm::write_unknown(unsigned int row) {
  if (row >= _forecast->size()) return;
  (*_forecast)[row].set_time(0);
  (*_forecast)[row].set_lower_confidence_bound(0);
  (*_forecast)[row].set_upper_confidence_bound(std::numeric_limits<long long>::max());
}

unsigned int ForecastAlgorithm::initialize_arrival_times(const Vehicle* vehicle) {
  _forecast->set_first_index(0);
  const unsigned int nb_bus_stops = _bus_route->get_nb_bus_stops();
  unsigned int p_index = 0;
  for (unsigned int j = 0; j < nb_bus_stops; ++j) {
    const double x = _bus_route->get_offset(j);
    if (x > vehicle->get_last_offset()) return j;
    long long arrival_time = vehicle->get_start_time();
    if (x > 0.0) arrival_time = round(passing_time(vehicle, x, p_index));
    write_observed(j, arrival_time);
  }
  return nb_bus_stops;
}

unsigned int ForecastAlgorithm::initialize_travel_times(const Vehicle* vehicle) {
  _forecast->set_first_index(0);
  const unsigned int nb_bus_stops = _bus_route->get_nb_bus_stops();
  if (nb_bus_stops < 2) return nb_bus_stops;
  if (_bus_route->get_offset(1) > vehicle->get_last_offset()) return 1;

  unsigned int p_index = 0;
  double last_arrival_time = static_cast<double>(vehicle->get_start_time());
  if (_bus_route->get_offset(0) > 0.0) {
    last_arrival_time = passing_time(vehicle, _bus_route->get_offset(0), p_index);
  }
  for (unsigned int j = 1; j < nb_bus_stops; ++j) {
    const double x = _bus_route->get_offset(j);
    if (x > vehicle->get_last_offset()) return j;
    const double next_arrival_time = passing_time(vehicle, x, p_index);
    write_observed(j - 1, round(next_arrival_time - last_arrival_time));
    last_arrival_time = next_arrival_time;
  }
  return nb_bus_stops;
}

void ForecastAlgorithm::forecast_arrival_times(const Vehicle* vehicle) {
  const unsigned int next_stop = initialize_arrival_times(vehicle);
  _forecast->set_first_index(next_stop);
  for (unsigned int j = next_stop; j < _bus_route->get_nb_bus_stops(); ++j) write_unknown(j);
}

// The passed stops are filled in as arrival times here too, as the contract has it.
void ForecastAlgorithm::forecast_travel_times(const Vehicle* vehicle) {
  const unsigned int next_stop = initialize_arrival_times(vehicle);
  _forecast->set_first_index(next_stop - 1u);
  for (unsigned int j = next_stop; j < _bus_route->get_nb_bus_stops(); ++j) write_unknown(j - 1u);
}

void ForecastAlgorithm::forecast_arrival_times(const Vehicle*, const History*, category_t) {}

void ForecastAlgorithm::forecast_travel_times(const Vehicle*, const History*, category_t) {}

}  // namespace twin
