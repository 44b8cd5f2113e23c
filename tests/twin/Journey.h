#ifndef QIV_TESTS_TWIN_JOURNEY_H
#define QIV_TESTS_TWIN_JOURNEY_H

#include <exception>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "twin/BusRoute.h"
#include "twin/Forecast.h"
#include "twin/History.h"
#include "twin/KernelRegression.h"
#include "twin/Vehicle.h"

namespace twin {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

class invalid_milestones : public std::exception {
 public:
  enum Cause {
    less_than_two_milestones = 0,
    negative_milestones = 1,
    decreasing_milestones = 2,
    bus_stops_out_of_range = 3,
    incompatible_with_history = 4
  };

  invalid_milestones(Cause cause, const std::vector<double>& milestones);
  invalid_milestones(Cause cause, const std::vector<double>& milestones, double last_bus_stop);
  invalid_milestones(Cause cause, const std::vector<double>& milestones,
                     unsigned int history_length);

  virtual const char* what() { return _error_msg.c_str(); }

  std::string _error_msg;
};

class invalid_bus_stops : public std::exception {
 public:
  enum Cause {
    less_than_two_bus_stops = 0,
    negative_offsets = 1,
    decreasing_offsets = 2,
    bus_stops_out_of_range = 3
  };

  invalid_bus_stops(Cause cause, const std::vector<double>& offsets);
  invalid_bus_stops(Cause cause, const std::vector<double>& offsets, double last_milestone);

  virtual const char* what() { return _error_msg.c_str(); }

  std::string _error_msg;
};

class invalid_history : public std::exception {
 public:
  enum Cause {
    less_than_two_milestones = 0,
    decreasing_time_stamps = 1,
    incompatible_with_history = 2,
    incompatible_with_milestones = 3
  };

  invalid_history(Cause cause, const std::vector<int>& trajectory);
  invalid_history(Cause cause, const std::vector<int>& trajectory, unsigned int length);

  virtual const char* what() { return _error_msg.c_str(); }

  std::string _error_msg;
};

#pragma GCC diagnostic pop

class Journey {
 public:
  Journey(const std::string& forecast_method, const std::vector<std::string>& string_parameter,
          const std::vector<double>& double_parameter, const std::string& forecast_mode,
          unsigned int max_size_history, const std::string& replacement_strategy);
  Journey(const Journey&) = delete;
  Journey& operator=(const Journey&) = delete;

  void read_milestones(unsigned long long shapeVersionTime, long long shapeVersionID,
                       const std::vector<double>& milestones);
  void read_bus_stops(unsigned long long shapeVersionTime, long long shapeVersionID,
                      const std::vector<std::string>& stopIDs, const std::vector<double>& offsets);
  void read_history(unsigned long long shapeVersionTime, long long shapeVersionID,
                    category_t category, const std::vector<int>& trajectory);
  void remove_all_histories();

  Forecast* update(const std::string& vehicleID, const VehicleJourneyRef& vehicleJourneyRef,
                   unsigned long long shapeVersionTime, long long shapeVersionID,
                   category_t category, double offset, long long time, double max_error);
  bool is_served_by(const std::string& vehicleID, long long time);
  void remove_inactive_vehicles();

  long long get_shapeVersionID() const { return _shapeVersionID; }

  unsigned long long _shapeVersionTime = 0;
  long long _shapeVersionID = -1;
  BusRoute _bus_route;
  AllHistories _history;
  AllVehicles _vehicle;
  Forecast _forecast;
  std::unique_ptr<ForecastAlgorithm> _forecast_algorithm;

 private:
  /// False for a stale message. A new version is adopted and wipes the journey.
  bool accept_version(unsigned long long shapeVersionTime, long long shapeVersionID);
};

class AllJourneys {
 public:
  void initialize(const std::string& forecast_method,
                  const std::vector<std::string>& string_parameter,
                  const std::vector<double>& double_parameter, const std::string& forecast_mode,
                  unsigned int max_size_history, const std::string& replacement_strategy);

  void read_milestones(const std::string& journeyPatternRef, unsigned long long shapeVersionTime,
                       long long shapeVersionID, const std::vector<double>& milestones);
  void read_bus_stops(const std::string& journeyPatternRef, unsigned long long shapeVersionTime,
                      long long shapeVersionID, const std::vector<std::string>& stopIDs,
                      const std::vector<double>& offsets);
  void read_history(const std::string& journeyPatternRef, unsigned long long shapeVersionTime,
                    long long shapeVersionID, category_t category,
                    const std::vector<int>& trajectory);
  Forecast* update(const std::string& journeyPatternRef, const std::string& vehicleID,
                   const VehicleJourneyRef& vehicleJourneyRef, unsigned long long shapeVersionTime,
                   long long shapeVersionID, category_t category, double offset, long long time,
                   double max_error);
  void remove_inactive_vehicles();

  Journey* operator[](const std::string& journeyPatternRef);

  std::string _forecast_method;
  std::vector<std::string> _string_parameter;
  std::vector<double> _double_parameter;
  std::string _forecast_mode;
  unsigned int _max_size_history = 0;
  std::string _replacement_strategy;
  std::map<std::string, std::unique_ptr<Journey>> _journey;
};

}  // namespace twin

#endif  // QIV_TESTS_TWIN_JOURNEY_H
