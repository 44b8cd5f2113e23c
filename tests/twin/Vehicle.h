#ifndef QIV_TESTS_TWIN_VEHICLE_H
#define QIV_TESTS_TWIN_VEHICLE_H

#include <deque>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace twin {

struct Position {
  double offset;
  long long time;
};

struct TimeComparer {
  bool operator()(const Position& l, const Position& r) const { return l.time < r.time; }
};

class VehicleJourneyRef {
 public:
  VehicleJourneyRef() = default;
  VehicleJourneyRef(const std::string& datedVehicleJourneyRef, const std::string& dataFrameRef);

  bool operator==(const VehicleJourneyRef& other) const;
  bool operator!=(const VehicleJourneyRef& other) const;
  const std::string& get_string() const;

  std::pair<std::string, std::string> _value;
  std::string _string;
};

class invalid_update : public std::exception {
 public:
  enum Cause { offset_out_of_range = 0, decreasing_offsets = 1 };

  explicit invalid_update(Cause cause);
  invalid_update(Cause cause, const std::string& target, double offset, long long time,
                 double max_error, std::deque<Position>* updates);

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
  virtual const char* what();
#pragma GCC diagnostic pop
  virtual const char* detail();

  Cause _cause;
  std::string _target;
  double _offset = 0.0;
  long long _time = 0;
  double _max_error = 0.0;
  std::deque<Position>* _updates = nullptr;
  std::string _error_msg;
  std::string _detail_msg;
};

class Vehicle {
 public:
  explicit Vehicle(const std::string& vehicleID);

  unsigned int size() const;
  long long get_time(unsigned int index) const;
  double get_offset(unsigned int index) const;
  long long get_last_time() const;
  double get_last_offset() const;
  void set_start_time(long long start_time);
  long long get_start_time() const;
  bool is_alive();
  double interpolate(unsigned int index, double linear) const;
  void update_position(const VehicleJourneyRef& vehicleJourneyRef, double offset, long long time,
                       double max_error);

  std::string _vehicleID;
  VehicleJourneyRef _vehicleJourneyRef;
  std::deque<Position> _updates;
  long long _start_time = 0;
  unsigned int _last_size = 0;

 private:
  [[noreturn]] void reject(double offset, long long time, double max_error);
};

class AllVehicles {
 public:
  Vehicle* operator[](const std::string& vehicleID);
  void initialize(const std::string& vehicleID, const VehicleJourneyRef& vehicleJourneyRef,
                  double offset, long long time, double max_error);
  void remove_vehicle(const std::string& vehicleID);
  void remove_all_vehicles();
  void remove_inactive_vehicles();

  std::map<std::string, std::unique_ptr<Vehicle>> _vehicle;

  /// Vehicles replaced by a second `initialize` live on.
  std::vector<std::unique_ptr<Vehicle>> _replaced;
};

}  // namespace twin

#endif  // QIV_TESTS_TWIN_VEHICLE_H
