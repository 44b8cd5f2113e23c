#ifndef QIV_FORECAST_H
#define QIV_FORECAST_H

#include <string>
#include <vector>

#include "AlgoConfig.h"

class BusRoute;

/// One row of a forecast: an arrival at a stop, or the travel from one stop to the next.
class QIV_ALGO_API Time {
 public:
  Time();

  /// Arrival mode: time stamp of the arrival, on the vehicles' clock. Travel mode: duration of the
  /// leg. Both in the host's time unit.
  void set_time(long long time) { _time = time; }
  long long get_time() const { return _time; }

  /// The interval of one standard deviation on each side of the time, in the same unit.
  void set_lower_confidence_bound(long long bound) { _lower_confidence_bound = bound; }
  long long get_lower_confidence_bound() const { return _lower_confidence_bound; }
  void set_upper_confidence_bound(long long bound) { _upper_confidence_bound = bound; }
  long long get_upper_confidence_bound() const { return _upper_confidence_bound; }

  /// Weighted variance (time unit squared) and mean of the historical increments behind a forecast
  /// row; rows of passed stops keep what they held.
  void set_conditional_var(double variance) { _conditional_var = variance; }
  double get_conditional_var() const { return _conditional_var; }
  void set_conditional_mean(double mean) { _conditional_mean = mean; }
  double get_conditional_mean() const { return _conditional_mean; }

  /// Arrival mode: the stop. Empty in travel mode.
  void set_stopID(const std::string& stopID) { _stopID = stopID; }
  const std::string& get_stopID() const { return _stopID; }

  /// Travel mode: the stops where the leg starts and ends. Empty in arrival mode.
  void set_stopID1(const std::string& stopID) { _stopID1 = stopID; }
  const std::string& get_stopID1() const { return _stopID1; }
  void set_stopID2(const std::string& stopID) { _stopID2 = stopID; }
  const std::string& get_stopID2() const { return _stopID2; }

 private:
  long long _time;
  long long _lower_confidence_bound;
  long long _upper_confidence_bound;
  double _conditional_var;
  double _conditional_mean;
  std::string _stopID;
  std::string _stopID1;
  std::string _stopID2;
};

/// The answer to a vehicle report. A journey owns one and overwrites it with every report that it
/// accepts, whichever vehicle sent it: read it before the next report on the same journey.
///
/// Rows from `get_first_index()` on are forecasts; those before it hold what has been observed,
/// with both bounds equal to the time. A first index of 4294967295 or a confidence of 0.0 means
/// that there is no forecast: do not read the rows.
class QIV_ALGO_API Forecast {
 public:
  enum Mode : int {
    arrival = 0,  ///< one row for each bus stop
    travel = 1    ///< one row for each leg between two consecutive bus stops
  };

  Forecast();

  /// Sets the mode by its name, "arrival" or "travel". For any other name writes a line to the
  /// standard error stream and throws `std::exception`.
  void initialize(const std::string& mode);

  /// Makes one row for each stop or leg of the route and labels it. Rows that survive keep their
  /// numbers. In travel mode a route without bus stops fails with the allocator's exception.
  void initialize(const BusRoute& bus_route);

  /// Marks the record as holding no forecast, by the first index 4294967295; the rest stays.
  void reset();

  Mode get_mode() const { return _mode; }

  /// Number of rows.
  unsigned int size() const { return static_cast<unsigned int>(_forecast.size()); }

  void set_first_index(unsigned int index) { _first_index = index; }
  unsigned int get_first_index() const { return _first_index; }

  /// Row `index`. Precondition: `index` < `size()`.
  Time& operator[](unsigned int index) { return _forecast[index]; }

  /// 1.0 after every computation.
  void set_quality(double quality) { _quality = quality; }
  double get_quality() const { return _quality; }

  /// 1 - 1/sqrt(n + 1) for a forecast from n historical trajectories, 0.0 for none.
  void set_confidence(double confidence) { _confidence = confidence; }
  double get_confidence() const { return _confidence; }

 private:
  friend class JourneyMemory;

  std::vector<Time> _forecast;
  Mode _mode;
  double _quality;
  double _confidence;
  unsigned int _first_index;
};

#endif  // QIV_FORECAST_H
