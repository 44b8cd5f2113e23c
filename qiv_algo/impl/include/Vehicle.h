#ifndef QIV_VEHICLE_H
#define QIV_VEHICLE_H

#include <cstddef>
#include <deque>
#include <exception>
#include <map>
#include <string>
#include <utility>

#include "AlgoConfig.h"

/// The identity of the trip that a position report belongs to.
class QIV_ALGO_API VehicleJourneyRef {
 public:
  VehicleJourneyRef();
  VehicleJourneyRef(const std::string& datedVehicleJourneyRef, const std::string& dataFrameRef);
  VehicleJourneyRef(const VehicleJourneyRef& other) = default;
  VehicleJourneyRef& operator=(const VehicleJourneyRef& other);

  /// Both references are equal; the joined string is not compared.
  bool operator==(const VehicleJourneyRef& other) const;
  bool operator!=(const VehicleJourneyRef& other) const;

  /// The form used in log entries: the dated-vehicle-journey reference and, when the data-frame
  /// reference is not empty, "@" and the dated-vehicle-journey reference once more. The data-frame
  /// reference itself never appears in it.
  const std::string& get_string() const { return _string; }

 private:
  std::pair<std::string, std::string> _value;
  std::string _string;
};

/// One accepted report of a vehicle.
struct QIV_ALGO_API Position {
  double offset;   ///< distance along the journey, in the host's unit of offsets
  long long time;  ///< time stamp of the report, in the host's unit
};

/// Orders positions by their time stamps alone.
struct QIV_ALGO_API TimeComparer {
  bool operator()(const Position& l, const Position& r) const { return l.time < r.time; }
};

QIV_CONTRACT_BEGIN

/// A report contradicts the vehicle's earlier ones. Catch it as `invalid_update&`, not const and
/// not as the standard base: `what()` here hides the base's, it does not override it.
class QIV_ALGO_API invalid_update : public std::exception {
 public:
  enum Cause : int {
    offset_out_of_range = 0,  ///< has a text, but the library never raises it
    decreasing_offsets = 1    ///< beyond the tolerance behind an earlier or ahead of a later report
  };

  explicit invalid_update(Cause cause);
  /// `updates` is the vehicle's live queue, not copied and not owned: `what()` and `detail()` may
  /// be called only while the vehicle lives.
  invalid_update(Cause cause, const std::string& target, double offset, long long time,
                 double max_error, std::deque<Position>* updates);
  invalid_update(const invalid_update& other) = default;
  invalid_update& operator=(const invalid_update& other) = default;
  ~invalid_update() QIV_THROWS_NOTHING override;

  /// The text for the cause; with a queue, followed by `detail()`. Built anew by every call; the
  /// characters stay valid until the next call or the end of this object.
  virtual const char* what() QIV_THROWS_NOTHING;

  /// The rejected report and the vehicle's updates as they are now, one a line, oldest first.
  virtual const char* detail() QIV_THROWS_NOTHING;

 private:
  Cause _cause;
  std::string _target;
  double _offset;
  long long _time;
  double _max_error;
  std::deque<Position>* _updates;
  std::string _error_msg;
  std::string _detail_msg;
};

/// The accepted reports of one vehicle on its present trip, in order of time; neither times nor
/// offsets ever decrease along them. The queue grows for as long as the trip lasts.
class QIV_ALGO_API Vehicle {
 public:
  explicit Vehicle(const std::string& vehicleID);

  /// Number of stored updates; 0 is the oldest, `size()` - 1 the newest.
  unsigned int size() const { return static_cast<unsigned int>(_updates.size()); }

  /// Time stamp and offset of update `index`. Precondition: `index` < `size()`.
  long long get_time(unsigned int index) const { return _updates[index].time; }
  double get_offset(unsigned int index) const { return _updates[index].offset; }

  /// Time stamp of the newest update; 0 when there is none.
  long long get_last_time() const;

  /// Offset of the newest update; 0.0 when there is none.
  double get_last_offset() const;

  /// The estimated time at which the vehicle began the journey. Survives a change of trip.
  void set_start_time(long long start_time) { _start_time = start_time; }
  long long get_start_time() const { return _start_time; }

  /// True when the number of updates differs from that at the previous call; remembers it.
  bool is_alive();

  /// The time at which the vehicle passed offset `linear`, on the line through updates `index` - 1
  /// and `index`; not rounded, not guarded against equal offsets.
  /// Precondition: 1 <= `index` < `size()`.
  double interpolate(unsigned int index, double linear) const {
    const Position& prior = _updates[index - 1];
    const Position& item = _updates[index];
    const double ratio = (linear - prior.offset) / (item.offset - prior.offset);
    const long long elapsed = static_cast<long long>(static_cast<unsigned long long>(item.time) -
                                                     static_cast<unsigned long long>(prior.time));
    double increment = static_cast<double>(elapsed) * ratio;
    QIV_ROUND_HERE(increment);
    return static_cast<double>(prior.time) + increment;
  }

  /// Adds one report, or throws `invalid_update` and changes nothing.
  ///
  /// A report of another trip that is later than all stored ones empties the queue and opens the
  /// new trip; one that is not later counts for the present trip. An offset behind the previous
  /// update, or ahead of the next, is pulled to it when that takes at most `max_error`, and
  /// rejected otherwise. Any other exception ends the process.
  void update_position(const VehicleJourneyRef& vehicleJourneyRef, double offset, long long time,
                       double max_error) QIV_THROWS_ONLY(invalid_update);

 private:
  friend class VehicleMemory;

  QIV_ALGO_LOCAL void begin_journey(const VehicleJourneyRef& vehicleJourneyRef);
  QIV_ALGO_LOCAL bool record(Position sample, double max_error);
  QIV_ALGO_LOCAL void reject(const Position& report, double max_error);

  std::string _vehicleID;
  VehicleJourneyRef _vehicleJourneyRef;
  std::deque<Position> _updates;
  long long _start_time;
  unsigned int _last_size;
};

QIV_CONTRACT_END

/// The vehicles now on one journey, by identifier; owns them.
class QIV_ALGO_API AllVehicles {
 public:
  AllVehicles() : _vehicle(), _nb_sweeps(0) {}
  ~AllVehicles();
  AllVehicles(const AllVehicles&) = delete;
  AllVehicles& operator=(const AllVehicles&) = delete;

  /// The vehicle, or null when the identifier is unknown. Never inserts one.
  Vehicle* operator[](const std::string& vehicleID);

  /// Makes a vehicle and feeds it its first report. Call it for unknown identifiers only: a vehicle
  /// registered before under the same identifier is replaced and never released.
  void initialize(const std::string& vehicleID, const VehicleJourneyRef& vehicleJourneyRef,
                  double offset, long long time, double max_error);

  /// Deletes the vehicle; an unknown identifier changes nothing.
  void remove_vehicle(const std::string& vehicleID);

  void remove_all_vehicles();

  /// Asks every vehicle once whether it is alive, and deletes those that are not.
  void remove_inactive_vehicles();

  /// How often vehicles were deleted that nobody named. A vehicle that has been looked up is there
  /// until this changes or `remove_vehicle` names it.
  std::size_t nb_sweeps() const { return _nb_sweeps; }

 private:
  friend class Journey;
  friend class AllJourneys;

  // A vehicle's place here: good until the vehicle is removed by its name, or `nb_sweeps` changes.
  typedef std::map<std::string, Vehicle*>::iterator Entry;

  QIV_ALGO_LOCAL Entry find(const std::string& vehicleID) { return _vehicle.find(vehicleID); }
  QIV_ALGO_LOCAL Entry nobody() { return _vehicle.end(); }
  QIV_ALGO_LOCAL Entry make(const std::string& vehicleID,
                            const VehicleJourneyRef& vehicleJourneyRef, double offset,
                            long long time, double max_error);
  QIV_ALGO_LOCAL Entry remove(Entry entry);

  std::map<std::string, Vehicle*> _vehicle;
  std::size_t _nb_sweeps;
};

#endif  // QIV_VEHICLE_H
