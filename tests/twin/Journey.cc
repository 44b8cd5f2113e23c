#include "twin/Journey.h"

#include <iostream>

#include "twin/Log.h"

namespace twin {

namespace {

const RQLogger::RQLogLevel error = RQLogger::RQLogLevel::error;

template <class Value>
unsigned int count(const std::vector<Value>& list) {
  return static_cast<unsigned int>(list.size());
}

}  // namespace

Journey::Journey(const std::string& forecast_method,
                 const std::vector<std::string>& string_parameter,
                 const std::vector<double>& double_parameter, const std::string& forecast_mode,
                 unsigned int max_size_history, const std::string& replacement_strategy)
    : _bus_route(*this) {
  _history.initialize(max_size_history, replacement_strategy);
  _forecast.initialize(forecast_mode);
  if (forecast_method != "KernelRegression") {
    std::cerr << "Invalid value of parameter 'method': " << forecast_method << "." << std::endl;
    throw std::exception();
  }
  _forecast_algorithm = std::make_unique<KernelRegression>(&_forecast, &_bus_route,
                                                           string_parameter, double_parameter);
}

bool Journey::accept_version(unsigned long long shapeVersionTime, long long shapeVersionID) {
  if (shapeVersionID == _shapeVersionID) return true;
  if (_shapeVersionTime > shapeVersionTime) return false;
  _shapeVersionID = shapeVersionID;
  _shapeVersionTime = shapeVersionTime;
  _vehicle.remove_all_vehicles();
  _history.remove_all_histories();
  _bus_route.remove_bus_stops();
  _bus_route.remove_milestones();
  return true;
}

void Journey::read_milestones(unsigned long long shapeVersionTime, long long shapeVersionID,
                              const std::vector<double>& milestones) {
  if (!accept_version(shapeVersionTime, shapeVersionID)) return;
  const std::string function_name = "Journey::read_milestones";
  const unsigned int n = count(milestones);

  if (n < 2) {
    RQLogV(function_name, error, "KWXBN0060E", "%lld%u", _shapeVersionID, n);
    throw invalid_milestones(invalid_milestones::less_than_two_milestones, milestones);
  }
  const double last_bus_stop = _bus_route.last_bus_stop_offset();
  if (_bus_route.bus_stops_is_initialized() && last_bus_stop > milestones[n - 1]) {
    RQLogV(function_name, error, "KWXBN0061E", "%lld%e%e", _shapeVersionID, last_bus_stop,
           milestones[n - 1]);
    throw invalid_milestones(invalid_milestones::bus_stops_out_of_range, milestones, last_bus_stop);
  }
  if (milestones[0] < 0.0) {
    RQLogV(function_name, error, "KWXBN0062E", "%lld%e", _shapeVersionID, milestones[0]);
    throw invalid_milestones(invalid_milestones::negative_milestones, milestones);
  }
  for (unsigned int i = 1; i < n; ++i) {
    if (milestones[i - 1] >= milestones[i]) {
      RQLogV(function_name, error, "KWXBN0063E", "%lld%u%u%e%e", _shapeVersionID, i - 1, i,
             milestones[i - 1], milestones[i]);
      throw invalid_milestones(invalid_milestones::decreasing_milestones, milestones);
    }
  }
  if (_history.is_initialized() && _history.length() != n) {
    RQLogV(function_name, error, "KWXBN0064E", "%lld%u%u", _shapeVersionID, _history.length(), n);
    throw invalid_milestones(invalid_milestones::incompatible_with_history, milestones,
                             _history.length());
  }

  if (_bus_route.milestones_is_initialized() && !_bus_route.identical_milestones(milestones)) {
    _history.remove_all_histories();
  }
  _bus_route.read_milestones(milestones);
}

void Journey::read_bus_stops(unsigned long long shapeVersionTime, long long shapeVersionID,
                             const std::vector<std::string>& stopIDs,
                             const std::vector<double>& offsets) {
  if (!accept_version(shapeVersionTime, shapeVersionID)) return;
  const std::string function_name = "Journey::read_bus_stops";
  const unsigned int n = count(offsets);

  if (n < 2) {
    RQLogV(function_name, error, "KWXBN0070E", "%lld%u", _shapeVersionID, n);
    throw invalid_bus_stops(invalid_bus_stops::less_than_two_bus_stops, offsets);
  }
  const double last_milestone = _bus_route.last_milestone_offset();
  if (_bus_route.milestones_is_initialized() && offsets[n - 1] > last_milestone) {
    RQLogV(function_name, error, "KWXBN0071E", "%lld%e%e", _shapeVersionID, offsets[n - 1],
           last_milestone);
    throw invalid_bus_stops(invalid_bus_stops::bus_stops_out_of_range, offsets, last_milestone);
  }
  if (offsets[0] < 0.0) {
    RQLogV(function_name, error, "KWXBN0072E", "%lld%e", _shapeVersionID, offsets[0]);
    throw invalid_bus_stops(invalid_bus_stops::negative_offsets, offsets);
  }
  for (unsigned int i = 1; i < n; ++i) {
    if (offsets[i - 1] >= offsets[i]) {
      RQLogV(function_name, error, "KWXBN0073E", "%lld%u%u%e%e", _shapeVersionID, i - 1, i,
             offsets[i - 1], offsets[i]);
      throw invalid_bus_stops(invalid_bus_stops::decreasing_offsets, offsets);
    }
  }

  _bus_route.read_bus_stops(offsets, stopIDs);
  _forecast.initialize(_bus_route);
}

void Journey::read_history(unsigned long long shapeVersionTime, long long shapeVersionID,
                           category_t category, const std::vector<int>& trajectory) {
  if (!accept_version(shapeVersionTime, shapeVersionID)) return;
  const std::string function_name = "Journey::read_history";
  const unsigned int n = count(trajectory);
  const unsigned int nb_milestones = _bus_route.get_nb_milestones();
  const unsigned int buffered = _history[category] == nullptr ? 0u : _history[category]->size();

  if (_bus_route.milestones_is_initialized() && n != nb_milestones) {
    RQLogV(function_name, error, "KWXBN0080E", "%lld%u%u%u", _shapeVersionID, buffered, n,
           nb_milestones);
    throw invalid_history(invalid_history::incompatible_with_milestones, trajectory, nb_milestones);
  }
  if (n < 2) {
    RQLogV(function_name, error, "KWXBN0081E", "%lld%u%u", _shapeVersionID, buffered, n);
    throw invalid_history(invalid_history::less_than_two_milestones, trajectory);
  }
  for (unsigned int i = 0; i + 1 < n; ++i) {
    if (trajectory[i + 1] < trajectory[i]) {
      RQLogV(function_name, error, "KWXBN0082E", "%lld%u%u%u%d%d", _shapeVersionID, buffered, i,
             i + 1, trajectory[i], trajectory[i + 1]);
      throw invalid_history(invalid_history::decreasing_time_stamps, trajectory);
    }
  }
  if (_history.is_initialized() && _history.length() != n) {
    RQLogV(function_name, error, "KWXBN0083E", "%lld%u%u%u", _shapeVersionID, buffered, n,
           _history.length());
    throw invalid_history(invalid_history::incompatible_with_history, trajectory,
                          _history.length());
  }
  _history.push_back(category, trajectory);
}

void Journey::remove_all_histories() {
  _history.remove_all_histories();
}

Forecast* Journey::update(const std::string& vehicleID, const VehicleJourneyRef& vehicleJourneyRef,
                          unsigned long long shapeVersionTime, long long shapeVersionID,
                          category_t category, double offset, long long time, double max_error) {
  if (!accept_version(shapeVersionTime, shapeVersionID)) return nullptr;
  if (!_bus_route.milestones_is_initialized()) return nullptr;
  if (!_bus_route.is_in_range(offset)) return nullptr;

  if (_vehicle[vehicleID] != nullptr) {
    _vehicle[vehicleID]->update_position(vehicleJourneyRef, offset, time, max_error);
  } else {
    _vehicle.initialize(vehicleID, vehicleJourneyRef, offset, time, max_error);
    const long long start_time =
        _forecast_algorithm->compute_start_time(_vehicle[vehicleID], _history[category], category);
    _vehicle[vehicleID]->set_start_time(start_time);
  }
  _forecast_algorithm->compute_forecast(_vehicle[vehicleID], _history[category], category);
  return &_forecast;
}

bool Journey::is_served_by(const std::string& vehicleID, long long time) {
  if (_vehicle[vehicleID] == nullptr) return false;
  if (_vehicle[vehicleID]->get_last_time() > time) return true;
  _vehicle.remove_vehicle(vehicleID);
  return false;
}

void Journey::remove_inactive_vehicles() {
  _vehicle.remove_inactive_vehicles();
}

void AllJourneys::initialize(const std::string& forecast_method,
                             const std::vector<std::string>& string_parameter,
                             const std::vector<double>& double_parameter,
                             const std::string& forecast_mode, unsigned int max_size_history,
                             const std::string& replacement_strategy) {
  _forecast_method = forecast_method;
  _string_parameter = string_parameter;
  _double_parameter = double_parameter;
  _forecast_mode = forecast_mode;
  _max_size_history = max_size_history;
  _replacement_strategy = replacement_strategy;
}

Journey* AllJourneys::operator[](const std::string& journeyPatternRef) {
  const auto found = _journey.find(journeyPatternRef);
  if (found != _journey.end()) return found->second.get();
  auto journey =
      std::make_unique<Journey>(_forecast_method, _string_parameter, _double_parameter,
                                _forecast_mode, _max_size_history, _replacement_strategy);
  return (_journey[journeyPatternRef] = std::move(journey)).get();
}

void AllJourneys::read_milestones(const std::string& journeyPatternRef,
                                  unsigned long long shapeVersionTime, long long shapeVersionID,
                                  const std::vector<double>& milestones) {
  (*this)[journeyPatternRef]->read_milestones(shapeVersionTime, shapeVersionID, milestones);
}

void AllJourneys::read_bus_stops(const std::string& journeyPatternRef,
                                 unsigned long long shapeVersionTime, long long shapeVersionID,
                                 const std::vector<std::string>& stopIDs,
                                 const std::vector<double>& offsets) {
  (*this)[journeyPatternRef]->read_bus_stops(shapeVersionTime, shapeVersionID, stopIDs, offsets);
}

void AllJourneys::read_history(const std::string& journeyPatternRef,
                               unsigned long long shapeVersionTime, long long shapeVersionID,
                               category_t category, const std::vector<int>& trajectory) {
  (*this)[journeyPatternRef]->read_history(shapeVersionTime, shapeVersionID, category, trajectory);
}

Forecast* AllJourneys::update(const std::string& journeyPatternRef, const std::string& vehicleID,
                              const VehicleJourneyRef& vehicleJourneyRef,
                              unsigned long long shapeVersionTime, long long shapeVersionID,
                              category_t category, double offset, long long time,
                              double max_error) {
  for (auto& entry : _journey) {
    if (entry.first == journeyPatternRef) continue;
    if (entry.second->is_served_by(vehicleID, time)) return nullptr;
  }
  return (*this)[journeyPatternRef]->update(vehicleID, vehicleJourneyRef, shapeVersionTime,
                                            shapeVersionID, category, offset, time, max_error);
}

void AllJourneys::remove_inactive_vehicles() {
  for (auto& entry : _journey) entry.second->remove_inactive_vehicles();
}

}  // namespace twin
