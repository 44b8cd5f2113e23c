#ifndef QIV_FORECAST_ALGORITHM_H
#define QIV_FORECAST_ALGORITHM_H

#include <string>
#include <vector>

#include "AlgoConfig.h"
#include "History.h"

class BusRoute;
class Forecast;
class Vehicle;

/// What every forecasting method shares: the estimate of a vehicle's start time, the guards, the
/// confidence, and the rows of what the vehicle has already passed. A method derives from it and
/// overrides the two three-argument operations, which fill the remaining rows.
///
/// Nothing is kept between two calls; a vehicle time t corresponds to the historical time
/// t - start time.
class QIV_ALGO_API ForecastAlgorithm {
 public:
  /// Both pointers stay the caller's and must outlive the algorithm. The parameters are for the
  /// derived method.
  ForecastAlgorithm(Forecast* forecast, const BusRoute* bus_route,
                    const std::vector<std::string>& string_parameter,
                    const std::vector<double>& double_parameter);
  virtual ~ForecastAlgorithm();

  /// The time at which the vehicle began the journey: its first observed time minus the mean
  /// historical time at its first position, that mean truncated towards zero. The first observed
  /// time itself when there are no milestones or no trajectories. `category` is not used.
  /// Precondition: the vehicle has an update.
  virtual long long compute_start_time(const Vehicle* vehicle, const History* history,
                                       category_t category) const;

  /// Fills the forecast record for the vehicle. Without milestones the rows and the first index
  /// stay; without trajectories (`history` null or empty) the record is reset. In both cases the
  /// confidence is 0.0 and the log says why.
  virtual void compute_forecast(const Vehicle* vehicle, const History* history,
                                category_t category);

 protected:
  /// Fill the rows of the stops, or legs, that the vehicle has passed, from its own updates, and
  /// return the index of the first stop that it has not reached. A stop before its first update is
  /// interpolated from the start time at offset 0.
  virtual unsigned int initialize_arrival_times(const Vehicle* vehicle);
  virtual unsigned int initialize_travel_times(const Vehicle* vehicle);

  /// The fill without a method: time and lower bound 0, upper bound the largest `long long` in
  /// every remaining row of the record. Nothing in the library calls them. The travel variant too
  /// begins with `initialize_arrival_times`.
  virtual void forecast_arrival_times(const Vehicle* vehicle);
  virtual void forecast_travel_times(const Vehicle* vehicle);

  /// Fill the remaining rows by the method; here they do nothing.
  virtual void forecast_arrival_times(const Vehicle* vehicle, const History* history,
                                      category_t category);
  virtual void forecast_travel_times(const Vehicle* vehicle, const History* history,
                                     category_t category);

  /// floor(x + 0.5): halves go up. NaN and values out of range give the smallest `long long`.
  static long long round(double x);

  Forecast* _forecast;
  const BusRoute* _bus_route;

 private:
  QIV_ALGO_LOCAL double passing_time(const Vehicle* vehicle, double offset,
                                     unsigned int& p_index) const;
  QIV_ALGO_LOCAL void set_observed(unsigned int row, long long time);
  QIV_ALGO_LOCAL void set_unknown(unsigned int row);
};

#endif  // QIV_FORECAST_ALGORITHM_H
