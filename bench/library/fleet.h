#ifndef QIV_BENCH_LIBRARY_FLEET_H
#define QIV_BENCH_LIBRARY_FLEET_H

#include <string>
#include <vector>

#include "library/scene.h"

namespace bench {

/// Vehicles half way along one journey, each a few reports short of the size's number and about to
/// send them.
template <class Side>
class Fleet {
 public:
  static const unsigned int nb_vehicles = 8;
  static const unsigned int nb_steps = 8;  ///< reports that each vehicle is about to send
  static const unsigned int nb_updates = nb_vehicles * nb_steps;

  explicit Fleet(const Size& size) : _size(size) {
    initialize(_journeys, size);
    load(_journeys, _reference, size, 5);
    for (unsigned int v = 0; v < nb_vehicles; ++v) _names.push_back("vehicle " + std::to_string(v));
  }

  /// Lets the vehicles begin anew. Their reports so far are of a category without earlier trips,
  /// and cost nothing.
  void line_up() {
    _journeys.remove_inactive_vehicles();
    _journeys.remove_inactive_vehicles();
    for (unsigned int v = 0; v < nb_vehicles; ++v) {
      for (unsigned int i = 0; i < first_index(); ++i) update(v, i, no_category);
    }
  }

  /// All vehicles send their next reports in turn.
  template <class Use>
  void drive(Use use) {
    for (unsigned int step = 0; step < nb_steps; ++step) {
      for (unsigned int v = 0; v < nb_vehicles; ++v) {
        use(*update(v, first_index() + step, category));
      }
    }
  }

 private:
  /// The mean number of reports that the forecasts are made from is that of the size.
  unsigned int first_index() const {
    return _size.updates > nb_steps / 2 ? _size.updates - nb_steps / 2 : 0;
  }

  typename Side::Forecast* update(unsigned int vehicle, unsigned int index, short of_category) {
    const Report sent = report(_size, vehicle, index);
    return _journeys.update(_reference, _names[vehicle], _trip, 1, 1, of_category, sent.offset_m,
                            sent.time_s, 0.0);
  }

  const Size _size;
  const std::string _reference = "pattern";
  const typename Side::VehicleJourneyRef _trip;
  std::vector<std::string> _names;
  typename Side::AllJourneys _journeys;
};

/// One vehicle with the size's reports, and the weights of the earlier trips for it.
template <class Side>
class Weighing {
 public:
  explicit Weighing(const Size& size)
      : _owner("KernelRegression", {}, {1.0}, "arrival", 1, "ring"),
        _route(_owner),
        _vehicle("vehicle"),
        _history(size.trips, Side::History::ring),
        _method(&_forecast, &_route, {}, {bandwidth}) {
    _route.read_milestones(milestones(size));
    for (const std::vector<int>& trajectory : trajectories(size, 5)) _history.push_back(trajectory);
    for (unsigned int i = 0; i < size.updates; ++i) {
      const Report sent = report(size, 0, i);
      _vehicle.update_position(typename Side::VehicleJourneyRef(), sent.offset_m, sent.time_s, 0.0);
    }
    _vehicle.set_start_time(departure);
  }

  typename Side::Kernel weights() {
    typename Side::Kernel kernel(_history.size(), 0.0);
    _method.compute_kernel(kernel, &_vehicle, &_history, category);
    return kernel;
  }

 private:
  struct Method : Side::KernelRegression {
    using Side::KernelRegression::compute_kernel;
    using Side::KernelRegression::KernelRegression;
  };

  typename Side::Journey _owner;
  typename Side::BusRoute _route;
  typename Side::Forecast _forecast;
  typename Side::Vehicle _vehicle;
  typename Side::History _history;
  Method _method;
};

}  // namespace bench

#endif  // QIV_BENCH_LIBRARY_FLEET_H
