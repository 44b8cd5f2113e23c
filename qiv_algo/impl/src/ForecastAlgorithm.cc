// Before everything else: it also covers the inline functions of the headers.
#include "exact.h"

#include "ForecastAlgorithm.h"

#include <cmath>
#include <limits>

#include "BusRoute.h"
#include "Forecast.h"
#include "RQLogger.h"
#include "Vehicle.h"

namespace {

bool has_trajectories(const History* history) {
  return history != nullptr && history->size() != 0;
}

}  // namespace

ForecastAlgorithm::ForecastAlgorithm(Forecast* forecast, const BusRoute* bus_route,
                                     const std::vector<std::string>&, const std::vector<double>&)
    : _forecast(forecast), _bus_route(bus_route) {}

ForecastAlgorithm::~ForecastAlgorithm() {}

long long ForecastAlgorithm::compute_start_time(const Vehicle* vehicle, const History* history,
                                                category_t) const {
  if (!_bus_route->is_initialized() || !has_trajectories(history)) return vehicle->get_time(0);
  unsigned int index = 0;
  double linear = 0.0;
  _bus_route->get_interpolation_parameters(vehicle->get_offset(0), index, linear);
  const unsigned int history_size = history->size();
  double average = 0.0;
  for (unsigned int k = 0; k < history_size; ++k) {
    average += history->interpolate(k, index, linear);
  }
  return difference(vehicle->get_time(0), truncate(average / history_size));
}

void ForecastAlgorithm::compute_forecast(const Vehicle* vehicle, const History* history,
                                         category_t category) {
  _forecast->set_quality(1.0);
  // No reset here, unlike below: the rows and the first index stay.
  if (!_bus_route->milestones_is_initialized()) {
    RQLogger::InfoMessage("ForecastAlgorithm::compute_forecast", "KWXBN0028I");
    _forecast->set_confidence(0.0);
    return;
  }
  if (!has_trajectories(history)) {
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
  const unsigned int count = history->size() + 1;
  _forecast->set_confidence(1.0 + (-1.0 / std::sqrt(static_cast<double>(count))));
}

unsigned int ForecastAlgorithm::initialize_arrival_times(const Vehicle* vehicle) {
  _forecast->set_first_index(0);
  const unsigned int nb_bus_stops = _bus_route->get_nb_bus_stops();
  unsigned int p_index = 0;
  for (unsigned int j = 0; j < nb_bus_stops; ++j) {
    const double offset = _bus_route->get_offset(j);
    if (offset > vehicle->get_last_offset()) return j;
    set_observed(j, offset > 0.0 ? nearest_integer(passing_time(vehicle, offset, p_index))
                                 : vehicle->get_start_time());
  }
  return nb_bus_stops;
}

unsigned int ForecastAlgorithm::initialize_travel_times(const Vehicle* vehicle) {
  _forecast->set_first_index(0);
  const unsigned int nb_bus_stops = _bus_route->get_nb_bus_stops();
  if (nb_bus_stops < 2) return nb_bus_stops;
  if (_bus_route->get_offset(1) > vehicle->get_last_offset()) return 1;
  unsigned int p_index = 0;
  const double first_offset = _bus_route->get_offset(0);
  double last_arrival_time = first_offset > 0.0 ? passing_time(vehicle, first_offset, p_index)
                                                : static_cast<double>(vehicle->get_start_time());
  for (unsigned int j = 1; j < nb_bus_stops; ++j) {
    const double offset = _bus_route->get_offset(j);
    if (offset > vehicle->get_last_offset()) return j;
    // Only the first stop takes the start time for an offset at or before 0.
    const double next_arrival_time = passing_time(vehicle, offset, p_index);
    set_observed(j - 1, nearest_integer(next_arrival_time - last_arrival_time));
    last_arrival_time = next_arrival_time;
  }
  return nb_bus_stops;
}

void ForecastAlgorithm::forecast_arrival_times(const Vehicle* vehicle) {
  const unsigned int next_stop = initialize_arrival_times(vehicle);
  _forecast->set_first_index(next_stop);
  for (unsigned int j = next_stop; j < _bus_route->get_nb_bus_stops(); ++j) set_unknown(j);
}

// Begins with the arrival times, not with the travel times.
void ForecastAlgorithm::forecast_travel_times(const Vehicle* vehicle) {
  const unsigned int next_stop = initialize_arrival_times(vehicle);
  _forecast->set_first_index(next_stop - 1);
  for (unsigned int j = next_stop; j < _bus_route->get_nb_bus_stops(); ++j) set_unknown(j - 1);
}

void ForecastAlgorithm::forecast_arrival_times(const Vehicle*, const History*, category_t) {}

void ForecastAlgorithm::forecast_travel_times(const Vehicle*, const History*, category_t) {}

long long ForecastAlgorithm::round(double x) {
  return nearest_integer(x);
}

// The time at which the vehicle passed `offset`, not rounded; the search goes on from update
// `p_index`. Before the first update lies the start of the journey, at offset 0 and the start time.
double ForecastAlgorithm::passing_time(const Vehicle* vehicle, double offset,
                                       unsigned int& p_index) const {
  while (p_index < vehicle->size() && offset > vehicle->get_offset(p_index)) ++p_index;
  if (p_index >= vehicle->size()) return static_cast<double>(vehicle->get_start_time());
  const double next_offset = vehicle->get_offset(p_index);
  const long long next_time = vehicle->get_time(p_index);
  long long prior_time = vehicle->get_start_time();
  double p_linear = offset / next_offset;
  if (p_index > 0) {
    const double prior_offset = vehicle->get_offset(p_index - 1);
    prior_time = vehicle->get_time(p_index - 1);
    p_linear = (offset - prior_offset) / (next_offset - prior_offset);
  }
  return static_cast<double>(prior_time) +
         product(p_linear, static_cast<double>(difference(next_time, prior_time)));
}

// Writes inside the record only: in travel mode it has one row less than the route has stops.
void ForecastAlgorithm::set_observed(unsigned int row, long long time) {
  if (row >= _forecast->size()) return;
  Time& observed = (*_forecast)[row];
  observed.set_time(time);
  observed.set_lower_confidence_bound(time);
  observed.set_upper_confidence_bound(time);
}

void ForecastAlgorithm::set_unknown(unsigned int row) {
  if (row >= _forecast->size()) return;
  Time& unknown = (*_forecast)[row];
  unknown.set_time(0);
  unknown.set_lower_confidence_bound(0);
  unknown.set_upper_confidence_bound(std::numeric_limits<long long>::max());
}
