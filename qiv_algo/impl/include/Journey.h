#ifndef QIV_JOURNEY_H
#define QIV_JOURNEY_H

#include <exception>
#include <map>
#include <string>
#include <vector>

#include "AlgoConfig.h"
#include "BusRoute.h"
#include "Forecast.h"
#include "History.h"
#include "Vehicle.h"

class ForecastAlgorithm;

QIV_CONTRACT_BEGIN

/// Milestones that a journey cannot take. Catch it and its two siblings below as non-const
/// references to the class itself, not as the standard base: their `what()` hides the base's. The
/// text is built when the exception is; it ends with a line feed, and is empty for a cause that the
/// constructor does not serve.
class QIV_ALGO_API invalid_milestones : public std::exception {
 public:
  enum Cause : int {
    less_than_two_milestones = 0,
    negative_milestones = 1,
    decreasing_milestones = 2,
    bus_stops_out_of_range = 3,
    incompatible_with_history = 4
  };

  /// For the first three causes.
  invalid_milestones(Cause cause, const std::vector<double>& milestones);
  /// For `bus_stops_out_of_range`.
  invalid_milestones(Cause cause, const std::vector<double>& milestones, double last_bus_stop);
  /// For `incompatible_with_history`.
  invalid_milestones(Cause cause, const std::vector<double>& milestones,
                     unsigned int history_length);

  virtual const char* what();

 private:
  std::string _error_msg;
};

/// Bus stops that a journey cannot take.
class QIV_ALGO_API invalid_bus_stops : public std::exception {
 public:
  enum Cause : int {
    less_than_two_bus_stops = 0,
    negative_offsets = 1,
    decreasing_offsets = 2,
    bus_stops_out_of_range = 3
  };

  /// For the first three causes.
  invalid_bus_stops(Cause cause, const std::vector<double>& offsets);
  /// For `bus_stops_out_of_range`.
  invalid_bus_stops(Cause cause, const std::vector<double>& offsets, double last_milestone);

  virtual const char* what();

 private:
  std::string _error_msg;
};

/// A historical trajectory that a journey cannot take.
class QIV_ALGO_API invalid_history : public std::exception {
 public:
  enum Cause : int {
    less_than_two_milestones = 0,
    decreasing_time_stamps = 1,
    incompatible_with_history = 2,
    incompatible_with_milestones = 3
  };

  /// For the first two causes.
  invalid_history(Cause cause, const std::vector<int>& trajectory);
  /// For the last two; `length` is that of the stored trajectories, or the number of milestones.
  invalid_history(Cause cause, const std::vector<int>& trajectory, unsigned int length);

  virtual const char* what();

 private:
  std::string _error_msg;
};

/// Everything known of one journey pattern: its route, its historical trajectories, the vehicles
/// now on it, and the forecast record that answers their reports.
///
/// Every message carries a shape version. One whose identifier is the held one is current. Of the
/// others, one with an older time than the held is stale and dropped without a word; any other is
/// new: it is adopted at once and wipes vehicles, trajectories, bus stops and milestones, in this
/// order, even when the data that come with it are then rejected.
class QIV_ALGO_API Journey {
 public:
  /// A journey at shape version identifier -1 and time 0. Throws for a configuration that
  /// `AllHistories::initialize`, `Forecast::initialize`, the method or its parameters reject, in
  /// this order; for a method other than "KernelRegression" it writes a line to the standard error
  /// stream and throws `std::exception`.
  Journey(const std::string& forecast_method, const std::vector<std::string>& string_parameter,
          const std::vector<double>& double_parameter, const std::string& forecast_mode,
          unsigned int max_size_history, const std::string& replacement_strategy);

  /// The algorithm object is not released.
  ~Journey();
  Journey(const Journey&) = delete;
  Journey& operator=(const Journey&) = delete;

  /// Takes the milestones: at least two offsets, not negative, strictly increasing, reaching the
  /// last bus stop, as many as the stored trajectories have times. Logs and throws
  /// `invalid_milestones` otherwise. Different milestones within one shape version remove the
  /// trajectories; vehicles and bus stops stay.
  void read_milestones(unsigned long long shapeVersionTime, long long shapeVersionID,
                       const std::vector<double>& milestones);

  /// Takes the bus stops: at least two offsets, not negative, strictly increasing, not beyond the
  /// last milestone. Logs and throws `invalid_bus_stops` otherwise. Rebuilds the forecast record.
  void read_bus_stops(unsigned long long shapeVersionTime, long long shapeVersionID,
                      const std::vector<std::string>& stopIDs, const std::vector<double>& offsets);

  /// Takes one earlier trip: at least two times that never decrease, as many as there are
  /// milestones and as every stored trajectory has. Logs and throws `invalid_history` otherwise.
  void read_history(unsigned long long shapeVersionTime, long long shapeVersionID,
                    category_t category, const std::vector<int>& trajectory);

  void remove_all_histories();

  /// Records a report and answers it with the address of the journey's forecast record, or with
  /// null when it was not used: a stale or a new shape version, no milestones, an offset off the
  /// route. Throws `invalid_update` for a report that contradicts the vehicle's earlier ones.
  Forecast* update(const std::string& vehicleID, const VehicleJourneyRef& vehicleJourneyRef,
                   unsigned long long shapeVersionTime, long long shapeVersionID,
                   category_t category, double offset, long long time, double max_error);

  /// True when the journey holds a later report of the vehicle than `time`. Otherwise it releases
  /// the vehicle, if it holds it.
  bool is_served_by(const std::string& vehicleID, long long time);

  /// Deletes the vehicles without a new update since the previous sweep.
  void remove_inactive_vehicles();

  long long get_shapeVersionID() const { return _shapeVersionID; }

 private:
  friend class AllJourneys;

  QIV_ALGO_LOCAL bool takes(unsigned long long shapeVersionTime, long long shapeVersionID,
                            double offset);
  QIV_ALGO_LOCAL AllVehicles::Entry record(AllVehicles::Entry vehicle, const std::string& vehicleID,
                                           const VehicleJourneyRef& vehicleJourneyRef,
                                           const History* history, category_t category,
                                           double offset, long long time, double max_error);
  QIV_ALGO_LOCAL bool is_served_by(AllVehicles::Entry vehicle, long long time);
  QIV_ALGO_LOCAL Forecast* forecast(const Vehicle* vehicle, const History* history,
                                    category_t category);
  QIV_ALGO_LOCAL bool is_stale(unsigned long long shapeVersionTime, long long shapeVersionID);
  QIV_ALGO_LOCAL void check_milestones(const std::vector<double>& milestones);
  QIV_ALGO_LOCAL void check_bus_stops(const std::vector<double>& offsets);
  QIV_ALGO_LOCAL void check_trajectory(category_t category, const std::vector<int>& trajectory);

  unsigned long long _shapeVersionTime;
  long long _shapeVersionID;
  BusRoute _bus_route;
  AllHistories _history;
  AllVehicles _vehicle;
  Forecast _forecast;
  ForecastAlgorithm* _forecast_algorithm;
};

/// The library's entry: the journeys by journey pattern reference, and the configuration for those
/// to come. A journey is made by whatever message first names it and lives as long as the registry.
///
/// Not thread-safe: one thread at a time. An exception out of the making of a journey reaches the
/// host through `update`; through the three readers it ends the process, as does any exception
/// other than the one that each of them declares.
class QIV_ALGO_API AllJourneys {
 public:
  AllJourneys() = default;
  ~AllJourneys();
  AllJourneys(const AllJourneys&) = delete;
  AllJourneys& operator=(const AllJourneys&) = delete;

  /// Sets the configuration of the journeys made from now on; nothing is checked before the first
  /// of them is made.
  /// @param forecast_method "KernelRegression"
  /// @param string_parameter not used
  /// @param double_parameter the bandwidth, greater than 0
  /// @param forecast_mode "arrival" or "travel"
  /// @param max_size_history trajectories kept for each category
  /// @param replacement_strategy "ring" or "random"
  void initialize(const std::string& forecast_method,
                  const std::vector<std::string>& string_parameter,
                  const std::vector<double>& double_parameter, const std::string& forecast_mode,
                  unsigned int max_size_history, const std::string& replacement_strategy);

  void read_milestones(const std::string& journeyPatternRef, unsigned long long shapeVersionTime,
                       long long shapeVersionID, const std::vector<double>& milestones)
      QIV_THROWS_ONLY(invalid_milestones);

  void read_bus_stops(const std::string& journeyPatternRef, unsigned long long shapeVersionTime,
                      long long shapeVersionID, const std::vector<std::string>& stopIDs,
                      const std::vector<double>& offsets) QIV_THROWS_ONLY(invalid_bus_stops);

  void read_history(const std::string& journeyPatternRef, unsigned long long shapeVersionTime,
                    long long shapeVersionID, category_t category,
                    const std::vector<int>& trajectory) QIV_THROWS_ONLY(invalid_history);

  /// Hands the vehicle over to the named journey and passes the report to it. Every other journey
  /// is asked in the order of the references whether it serves the vehicle at `time`: the first
  /// that holds a later report of it makes the result null; one that holds an older or equal one
  /// releases it. The result is the named journey's (see `Journey::update`).
  Forecast* update(const std::string& journeyPatternRef, const std::string& vehicleID,
                   const VehicleJourneyRef& vehicleJourneyRef, unsigned long long shapeVersionTime,
                   long long shapeVersionID, category_t category, double offset, long long time,
                   double max_error);

  /// Sweeps every journey, in the order of the references.
  void remove_inactive_vehicles();

 private:
  struct Last;
  struct Known;
  struct Index;

  Journey* operator[](const std::string& journeyPatternRef);
  QIV_ALGO_LOCAL Index& index();
  QIV_ALGO_LOCAL Known* find(const std::string& journeyPatternRef);
  QIV_ALGO_LOCAL Known* find_or_make(const std::string& journeyPatternRef);
  QIV_ALGO_LOCAL static AllVehicles::Entry vehicle_of(const Last& last,
                                                      const std::string& vehicleID);

  std::string _forecast_method;
  std::vector<std::string> _string_parameter;
  std::vector<double> _double_parameter;
  std::string _forecast_mode;
  unsigned int _max_size_history = 0;
  std::string _replacement_strategy;
  std::map<std::string, Journey*> _journey;

  // The vehicles, and the journeys once more, to be found without a walk down an ordered map.
  // Owned; null until it is needed.
  Index* _index = nullptr;
};

QIV_CONTRACT_END

#endif  // QIV_JOURNEY_H
