#ifndef QIV_KERNEL_REGRESSION_H
#define QIV_KERNEL_REGRESSION_H

#include <string>
#include <vector>

#include "AlgoConfig.h"
#include "ForecastAlgorithm.h"

/// The weights of the historical trajectories in one forecast.
class QIV_ALGO_API Kernel {
 public:
  /// `size` weights, each equal to `init`, and the normalizer 1.0.
  Kernel(unsigned int size, double init);

  /// Weight of trajectory `k`. Precondition: `k` < `size()`.
  double& operator[](unsigned int k) { return _data[k]; }
  const double& operator[](unsigned int k) const { return _data[k]; }

  void set_normalizer(double norm) { _normalizer = norm; }
  unsigned int size() const { return static_cast<unsigned int>(_data.size()); }

  /// `input` divided by the normalizer: turns a weighted sum into a weighted mean.
  double normalize(double input) const { return input / _normalizer; }

 private:
  std::vector<double> _data;
  double _normalizer;
};

/// Forecasts by kernel regression (Nadaraya 1964, Watson 1964) over the earlier trips: each one is
/// weighted by how closely it matches the vehicle's whole observed path, and each remaining time is
/// the weighted mean of the historical increments, with one weighted standard deviation on each
/// side.
class QIV_ALGO_API KernelRegression : public ForecastAlgorithm {
 public:
  /// The bandwidth is `double_parameter[0]`; `string_parameter` and further numbers are not used.
  /// An empty `double_parameter` or a bandwidth that is zero or negative writes a line to the
  /// standard error stream and throws `std::exception`; a NaN bandwidth passes.
  KernelRegression(Forecast* forecast, const BusRoute* bus_route,
                   const std::vector<std::string>& string_parameter,
                   const std::vector<double>& double_parameter);
  ~KernelRegression() override;

 protected:
  using ForecastAlgorithm::forecast_arrival_times;
  using ForecastAlgorithm::forecast_travel_times;
  void forecast_arrival_times(const Vehicle* vehicle, const History* history,
                              category_t category) override;
  void forecast_travel_times(const Vehicle* vehicle, const History* history,
                             category_t category) override;

  /// Weighs the K trajectories of `history` against the U updates of `vehicle`:
  /// w_k = exp(l_k - max l), l_k = -sum_j (H_k(o_j) - (t_j - s))^2 / (var_j h), where H_k(o) is the
  /// time of trajectory k at offset o, s the vehicle's start time, h the bandwidth and var_j the
  /// variance of H_k(o_j) over k, at least 1. Without updates all weights are 1. On an empty
  /// history it does nothing. Costs 2 U K interpolations. Precondition: `kernel` holds as many
  /// weights as `history` trajectories, all 0.0.
  void compute_kernel(Kernel& kernel, const Vehicle* vehicle, const History* history,
                      category_t category);

  /// Fills row `j`: the arrival at stop `j`, as the vehicle's last time plus the weighted mean time
  /// from its last offset to the stop. The lower bound is never before the last time.
  void compute_arrival_time(const Vehicle* vehicle, const History* history, category_t category,
                            unsigned int j, const Kernel& kernel);

  /// Fills row `j` - 1: the whole leg from stop `j` - 1 to stop `j`, the one under way included.
  /// The lower bound is never negative. Precondition: `j` >= 1.
  void compute_travel_time(const Vehicle* vehicle, const History* history, category_t category,
                           unsigned int j, const Kernel& kernel);

  double _bandwidth;

 private:
  /// The rows of the stops, or legs, from `first` to `last` - 1.
  QIV_ALGO_LOCAL void compute_arrival_times(const Vehicle* vehicle, const History* history,
                                            unsigned int first, unsigned int last,
                                            const Kernel& kernel);
  QIV_ALGO_LOCAL void compute_travel_times(const History* history, unsigned int first,
                                           unsigned int last, const Kernel& kernel);
};

#endif  // QIV_KERNEL_REGRESSION_H
