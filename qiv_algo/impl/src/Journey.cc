#include "Journey.h"

#include <iostream>

#include "KernelRegression.h"
#include "RQLogger.h"
#include "text_stream.h"

namespace {

/// Element `index`, or 0 where a list is too short for the cause that an exception is built for.
template <class Number>
Number value_at(const std::vector<Number>& list, std::size_t index) {
  return index < list.size() ? list[index] : Number();
}

template <class Number>
Number last_value(const std::vector<Number>& list) {
  return list.empty() ? Number() : list.back();
}

template <class Number>
unsigned int count(const std::vector<Number>& list) {
  return static_cast<unsigned int>(list.size());
}

/// Writes the pair "name[i]=a, name[i+1]=b" in which the order fails first: the first i for which
/// `fails` holds of a and b, or 0 when it holds nowhere.
template <class Number, class Fails>
void write_failing_pair(std::ostream& text, const char* name, const std::vector<Number>& list,
                        Fails fails) {
  unsigned int i = 0;
  while (i + 1 < list.size() && !fails(list[i], list[i + 1])) ++i;
  if (i + 1 >= list.size()) i = 0;
  text << "(" << name << "[" << i << "]=" << value_at(list, i) << ", " << name << "[" << i + 1
       << "]=" << value_at(list, i + 1) << ")\n";
}

bool not_increasing(double previous, double next) {
  return previous >= next;
}

bool decreasing(int previous, int next) {
  return next < previous;
}

}  // namespace

invalid_milestones::invalid_milestones(Cause cause, const std::vector<double>& milestones) {
  TextStream text;
  if (cause == less_than_two_milestones) {
    text << "Invalid milestones: number of milestones=" << count(milestones) << " (less than 2)\n";
  } else if (cause == negative_milestones) {
    text << "Invalid milestones: first milestone is negative (" << value_at(milestones, 0) << ")\n";
  } else if (cause == decreasing_milestones) {
    text << "Invalid milestones: decreasing milestones ";
    write_failing_pair(text, "milestones", milestones, not_increasing);
  }
  _error_msg = text.str();
}

invalid_milestones::invalid_milestones(Cause cause, const std::vector<double>& milestones,
                                       double last_bus_stop) {
  if (cause != bus_stops_out_of_range) return;
  TextStream text;
  text << "Invalid milestones: bus stops out of range (last milestone=" << last_value(milestones)
       << ", last bus stop=" << last_bus_stop << ")\n";
  _error_msg = text.str();
}

invalid_milestones::invalid_milestones(Cause cause, const std::vector<double>& milestones,
                                       unsigned int history_length) {
  if (cause != incompatible_with_history) return;
  TextStream text;
  text << "Invalid milestones: incompatible with history (number of milestones="
       << count(milestones) << ", length of historical trajectories=" << history_length << ")\n";
  _error_msg = text.str();
}

const char* invalid_milestones::what() {
  return _error_msg.c_str();
}

invalid_bus_stops::invalid_bus_stops(Cause cause, const std::vector<double>& offsets) {
  TextStream text;
  if (cause == less_than_two_bus_stops) {
    text << "Invalid bus stops: number of bus stops=" << count(offsets) << " (less than 2)\n";
  } else if (cause == negative_offsets) {
    text << "Invalid bus stops: first offset is negative (" << value_at(offsets, 0) << ")\n";
  } else if (cause == decreasing_offsets) {
    text << "Invalid bus stops: decreasing offsets ";
    write_failing_pair(text, "offsets", offsets, not_increasing);
  }
  _error_msg = text.str();
}

invalid_bus_stops::invalid_bus_stops(Cause cause, const std::vector<double>& offsets,
                                     double last_milestone) {
  if (cause != bus_stops_out_of_range) return;
  TextStream text;
  text << "Invalid bus stops: bus stops out of range (last offset=" << last_value(offsets)
       << ", last milestone=" << last_milestone << ")\n";
  _error_msg = text.str();
}

const char* invalid_bus_stops::what() {
  return _error_msg.c_str();
}

invalid_history::invalid_history(Cause cause, const std::vector<int>& trajectory) {
  TextStream text;
  if (cause == less_than_two_milestones) {
    text << "Invalid history: length of milestones=" << count(trajectory) << " (less than 2)\n";
  } else if (cause == decreasing_time_stamps) {
    text << "Invalid history: decreasing time stamps ";
    write_failing_pair(text, "trajectory", trajectory, decreasing);
  }
  _error_msg = text.str();
}

invalid_history::invalid_history(Cause cause, const std::vector<int>& trajectory,
                                 unsigned int length) {
  TextStream text;
  if (cause == incompatible_with_history) {
    text << "Invalid history: incompatible with previous trajectories (length of new trajectory="
         << count(trajectory) << ", length of previous trajectories=" << length << ")\n";
  } else if (cause == incompatible_with_milestones) {
    text << "Invalid history: incompatible with milestones (length of historical trajectory="
         << count(trajectory) << ", number of milestones=" << length << ")\n";
  }
  _error_msg = text.str();
}

const char* invalid_history::what() {
  return _error_msg.c_str();
}

Journey::Journey(const std::string& forecast_method,
                 const std::vector<std::string>& string_parameter,
                 const std::vector<double>& double_parameter, const std::string& forecast_mode,
                 unsigned int max_size_history, const std::string& replacement_strategy)
    : _shapeVersionTime(0),
      _shapeVersionID(-1),
      _bus_route(*this),
      _history(),
      _vehicle(),
      _forecast(),
      _forecast_algorithm(nullptr) {
  _history.initialize(max_size_history, replacement_strategy);
  _forecast.initialize(forecast_mode);
  if (forecast_method != "KernelRegression") {
    std::cerr << "Invalid value of parameter 'method': " << forecast_method << "." << std::endl;
    throw std::exception();
  }
  _forecast_algorithm =
      new KernelRegression(&_forecast, &_bus_route, string_parameter, double_parameter);
}

// The algorithm is not released.
Journey::~Journey() {}

void Journey::read_milestones(unsigned long long shapeVersionTime, long long shapeVersionID,
                              const std::vector<double>& milestones) {
  if (is_stale(shapeVersionTime, shapeVersionID)) return;
  check_milestones(milestones);
  if (_bus_route.milestones_is_initialized() && !_bus_route.identical_milestones(milestones)) {
    _history.remove_all_histories();
  }
  _bus_route.read_milestones(milestones);
}

void Journey::check_milestones(const std::vector<double>& milestones) {
  const char* const function = "Journey::read_milestones";
  const unsigned int n = count(milestones);
  if (n < 2) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0060E", "%lld%u", _shapeVersionID, n);
    throw invalid_milestones(invalid_milestones::less_than_two_milestones, milestones);
  }
  // Asks whether there are milestones already, not whether there are bus stops.
  if (_bus_route.bus_stops_is_initialized() &&
      _bus_route.last_bus_stop_offset() > milestones.back()) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0061E", "%lld%e%e", _shapeVersionID,
           _bus_route.last_bus_stop_offset(), milestones.back());
    throw invalid_milestones(invalid_milestones::bus_stops_out_of_range, milestones,
                             _bus_route.last_bus_stop_offset());
  }
  if (milestones.front() < 0.0) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0062E", "%lld%e", _shapeVersionID,
           milestones.front());
    throw invalid_milestones(invalid_milestones::negative_milestones, milestones);
  }
  for (unsigned int i = 1; i < n; ++i) {
    if (not_increasing(milestones[i - 1], milestones[i])) {
      RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0063E", "%lld%u%u%e%e", _shapeVersionID,
             i - 1, i, milestones[i - 1], milestones[i]);
      throw invalid_milestones(invalid_milestones::decreasing_milestones, milestones);
    }
  }
  if (_history.is_initialized() && _history.length() != n) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0064E", "%lld%u%u", _shapeVersionID,
           _history.length(), n);
    throw invalid_milestones(invalid_milestones::incompatible_with_history, milestones,
                             _history.length());
  }
}

void Journey::read_bus_stops(unsigned long long shapeVersionTime, long long shapeVersionID,
                             const std::vector<std::string>& stopIDs,
                             const std::vector<double>& offsets) {
  if (is_stale(shapeVersionTime, shapeVersionID)) return;
  check_bus_stops(offsets);
  _bus_route.read_bus_stops(offsets, stopIDs);
  _forecast.initialize(_bus_route);
}

void Journey::check_bus_stops(const std::vector<double>& offsets) {
  const char* const function = "Journey::read_bus_stops";
  const unsigned int n = count(offsets);
  if (n < 2) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0070E", "%lld%u", _shapeVersionID, n);
    throw invalid_bus_stops(invalid_bus_stops::less_than_two_bus_stops, offsets);
  }
  if (_bus_route.milestones_is_initialized() &&
      offsets.back() > _bus_route.last_milestone_offset()) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0071E", "%lld%e%e", _shapeVersionID,
           offsets.back(), _bus_route.last_milestone_offset());
    throw invalid_bus_stops(invalid_bus_stops::bus_stops_out_of_range, offsets,
                            _bus_route.last_milestone_offset());
  }
  if (offsets.front() < 0.0) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0072E", "%lld%e", _shapeVersionID,
           offsets.front());
    throw invalid_bus_stops(invalid_bus_stops::negative_offsets, offsets);
  }
  for (unsigned int i = 1; i < n; ++i) {
    if (not_increasing(offsets[i - 1], offsets[i])) {
      RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0073E", "%lld%u%u%e%e", _shapeVersionID,
             i - 1, i, offsets[i - 1], offsets[i]);
      throw invalid_bus_stops(invalid_bus_stops::decreasing_offsets, offsets);
    }
  }
}

void Journey::read_history(unsigned long long shapeVersionTime, long long shapeVersionID,
                           category_t category, const std::vector<int>& trajectory) {
  if (is_stale(shapeVersionTime, shapeVersionID)) return;
  check_trajectory(category, trajectory);
  _history.push_back(category, trajectory);
}

void Journey::check_trajectory(category_t category, const std::vector<int>& trajectory) {
  const char* const function = "Journey::read_history";
  const unsigned int n = count(trajectory);
  const History* const store = _history[category];
  const unsigned int buffer_size = store == nullptr ? 0 : store->size();
  const unsigned int nb_milestones = _bus_route.get_nb_milestones();
  if (_bus_route.milestones_is_initialized() && n != nb_milestones) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0080E", "%lld%u%u%u", _shapeVersionID,
           buffer_size, n, nb_milestones);
    throw invalid_history(invalid_history::incompatible_with_milestones, trajectory, nb_milestones);
  }
  if (n < 2) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0081E", "%lld%u%u", _shapeVersionID,
           buffer_size, n);
    throw invalid_history(invalid_history::less_than_two_milestones, trajectory);
  }
  for (unsigned int i = 0; i + 1 < n; ++i) {
    if (decreasing(trajectory[i], trajectory[i + 1])) {
      RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0082E", "%lld%u%u%u%d%d", _shapeVersionID,
             buffer_size, i, i + 1, trajectory[i], trajectory[i + 1]);
      throw invalid_history(invalid_history::decreasing_time_stamps, trajectory);
    }
  }
  if (_history.is_initialized() && _history.length() != n) {
    RQLogV(function, RQLogger::RQLogLevel::error, "KWXBN0083E", "%lld%u%u%u", _shapeVersionID,
           buffer_size, n, _history.length());
    throw invalid_history(invalid_history::incompatible_with_history, trajectory,
                          _history.length());
  }
}

void Journey::remove_all_histories() {
  _history.remove_all_histories();
}

Forecast* Journey::update(const std::string& vehicleID, const VehicleJourneyRef& vehicleJourneyRef,
                          unsigned long long shapeVersionTime, long long shapeVersionID,
                          category_t category, double offset, long long time, double max_error) {
  if (!takes(shapeVersionTime, shapeVersionID, offset)) return nullptr;
  const History* const history = _history[category];
  const AllVehicles::Entry vehicle = record(_vehicle.find(vehicleID), vehicleID, vehicleJourneyRef,
                                            history, category, offset, time, max_error);
  return forecast(vehicle->second, history, category);
}

bool Journey::takes(unsigned long long shapeVersionTime, long long shapeVersionID, double offset) {
  return !is_stale(shapeVersionTime, shapeVersionID) && _bus_route.milestones_is_initialized() &&
         _bus_route.is_in_range(offset);
}

// Makes the vehicle when there is none. Returns it.
AllVehicles::Entry Journey::record(AllVehicles::Entry vehicle, const std::string& vehicleID,
                                   const VehicleJourneyRef& vehicleJourneyRef,
                                   const History* history, category_t category, double offset,
                                   long long time, double max_error) {
  if (vehicle != _vehicle.nobody()) {
    vehicle->second->update_position(vehicleJourneyRef, offset, time, max_error);
    return vehicle;
  }
  vehicle = _vehicle.make(vehicleID, vehicleJourneyRef, offset, time, max_error);
  vehicle->second->set_start_time(
      _forecast_algorithm->compute_start_time(vehicle->second, history, category));
  return vehicle;
}

Forecast* Journey::forecast(const Vehicle* vehicle, const History* history, category_t category) {
  _forecast_algorithm->compute_forecast(vehicle, history, category);
  return &_forecast;
}

bool Journey::is_served_by(const std::string& vehicleID, long long time) {
  return is_served_by(_vehicle.find(vehicleID), time);
}

bool Journey::is_served_by(AllVehicles::Entry vehicle, long long time) {
  if (vehicle == _vehicle.nobody()) return false;
  if (vehicle->second->get_last_time() > time) return true;
  _vehicle.remove(vehicle);
  return false;
}

void Journey::remove_inactive_vehicles() {
  _vehicle.remove_inactive_vehicles();
}

// Takes up a new shape version and wipes the journey before anyone looks at the data that came with
// it: a rejected message of a new shape retires the old one all the same.
bool Journey::is_stale(unsigned long long shapeVersionTime, long long shapeVersionID) {
  if (shapeVersionID == _shapeVersionID) return false;
  if (_shapeVersionTime > shapeVersionTime) return true;
  _shapeVersionID = shapeVersionID;
  _shapeVersionTime = shapeVersionTime;
  _vehicle.remove_all_vehicles();
  _history.remove_all_histories();
  _bus_route.remove_bus_stops();
  _bus_route.remove_milestones();
  return false;
}
