#ifndef QIV_TESTS_TWIN_KERNEL_REGRESSION_H
#define QIV_TESTS_TWIN_KERNEL_REGRESSION_H

#include <string>
#include <vector>

#include "twin/ForecastAlgorithm.h"

namespace twin {

class Kernel {
 public:
  Kernel(unsigned int size, double init) : _data(size, init) {}

  double& operator[](unsigned int k) { return _data[k]; }
  const double& operator[](unsigned int k) const { return _data[k]; }
  void set_normalizer(double norm) { _normalizer = norm; }
  unsigned int size() const { return static_cast<unsigned int>(_data.size()); }
  double normalize(double input) const { return input / _normalizer; }

  std::vector<double> _data;
  double _normalizer = 1.0;
};

class KernelRegression : public ForecastAlgorithm {
 public:
  KernelRegression(Forecast* forecast, const BusRoute* bus_route,
                   const std::vector<std::string>& string_parameter,
                   const std::vector<double>& double_parameter);

 protected:
  using ForecastAlgorithm::forecast_arrival_times;
  using ForecastAlgorithm::forecast_travel_times;
  void forecast_arrival_times(const Vehicle* vehicle, const History* history,
                              category_t category) override;
  void forecast_travel_times(const Vehicle* vehicle, const History* history,
                             category_t category) override;

  void compute_kernel(Kernel& kernel, const Vehicle* vehicle, const History* history,
                      category_t category);
  void compute_arrival_time(const Vehicle* vehicle, const History* history, category_t category,
                            unsigned int j, const Kernel& kernel);
  void compute_travel_time(const Vehicle* vehicle, const History* history, category_t category,
                           unsigned int j, const Kernel& kernel);

  double _bandwidth;
};

}  // namespace twin

#endif  // QIV_TESTS_TWIN_KERNEL_REGRESSION_H
