#ifndef QIV_TESTS_TWIN_FORECAST_ALGORITHM_H
#define QIV_TESTS_TWIN_FORECAST_ALGORITHM_H

#include <string>
#include <vector>

#include "twin/BusRoute.h"
#include "twin/Forecast.h"
#include "twin/History.h"
#include "twin/Vehicle.h"

namespace twin {

class ForecastAlgorithm {
 public:
  ForecastAlgorithm(Forecast* forecast, const BusRoute* bus_route,
                    const std::vector<std::string>& string_parameter,
                    const std::vector<double>& double_parameter);
  virtual ~ForecastAlgorithm() = default;

  virtual long long compute_start_time(const Vehicle* vehicle, const History* history,
                                       category_t category) const;
  virtual void compute_forecast(const Vehicle* vehicle, const History* history,
                                category_t category);

 protected:
  virtual unsigned int initialize_arrival_times(const Vehicle* vehicle);
  virtual unsigned int initialize_travel_times(const Vehicle* vehicle);
  virtual void forecast_arrival_times(const Vehicle* vehicle);
  virtual void forecast_travel_times(const Vehicle* vehicle);
  virtual void forecast_arrival_times(const Vehicle* vehicle, const History* history,
                                      category_t category);
  virtual void forecast_travel_times(const Vehicle* vehicle, const History* history,
                                     category_t category);

  long long round(double x);

  Forecast* _forecast;
  const BusRoute* _bus_route;

 private:
  double passing_time(const Vehicle* vehicle, double x, unsigned int& p_index) const;
  void write_observed(unsigned int row, long long time);
  void write_unknown(unsigned int row);
};

}  // namespace twin

#endif  // QIV_TESTS_TWIN_FORECAST_ALGORITHM_H
