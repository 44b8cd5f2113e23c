#ifndef QIV_TESTS_TWIN_FORECAST_H
#define QIV_TESTS_TWIN_FORECAST_H

#include <string>
#include <vector>

namespace twin {

class BusRoute;

class Time {
 public:
  void set_time(long long value) { _time = value; }
  long long get_time() const { return _time; }
  void set_lower_confidence_bound(long long value) { _lower_confidence_bound = value; }
  long long get_lower_confidence_bound() const { return _lower_confidence_bound; }
  void set_upper_confidence_bound(long long value) { _upper_confidence_bound = value; }
  long long get_upper_confidence_bound() const { return _upper_confidence_bound; }
  void set_conditional_var(double value) { _conditional_var = value; }
  double get_conditional_var() const { return _conditional_var; }
  void set_conditional_mean(double value) { _conditional_mean = value; }
  double get_conditional_mean() const { return _conditional_mean; }
  void set_stopID(const std::string& value) { _stopID = value; }
  const std::string& get_stopID() const { return _stopID; }
  void set_stopID1(const std::string& value) { _stopID1 = value; }
  const std::string& get_stopID1() const { return _stopID1; }
  void set_stopID2(const std::string& value) { _stopID2 = value; }
  const std::string& get_stopID2() const { return _stopID2; }

  long long _time = 0;
  long long _lower_confidence_bound = 0;
  long long _upper_confidence_bound = 0;
  double _conditional_var = 0.0;
  double _conditional_mean = 0.0;
  std::string _stopID;
  std::string _stopID1;
  std::string _stopID2;
};

class Forecast {
 public:
  enum Mode { arrival = 0, travel = 1 };

  void initialize(const std::string& mode);
  void initialize(const BusRoute& bus_route);
  void reset();

  Mode get_mode() const { return _mode; }
  unsigned int size() const { return static_cast<unsigned int>(_forecast.size()); }
  void set_first_index(unsigned int value) { _first_index = value; }
  unsigned int get_first_index() const { return _first_index; }
  Time& operator[](unsigned int index) { return _forecast[index]; }
  void set_quality(double value) { _quality = value; }
  double get_quality() const { return _quality; }
  void set_confidence(double value) { _confidence = value; }
  double get_confidence() const { return _confidence; }

  std::vector<Time> _forecast;
  Mode _mode = arrival;
  double _quality = 0.0;
  double _confidence = 0.0;
  unsigned int _first_index = 0;
};

}  // namespace twin

#endif  // QIV_TESTS_TWIN_FORECAST_H
