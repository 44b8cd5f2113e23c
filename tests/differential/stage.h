#ifndef QIV_TESTS_DIFFERENTIAL_STAGE_H
#define QIV_TESTS_DIFFERENTIAL_STAGE_H

#include <string>
#include <utility>
#include <vector>

#include "differential/Outcome.h"
#include "differential/Runner.h"
#include "differential/state.h"

namespace differential {

typedef std::vector<std::string> Story;

template <class Base>
class Open : public Base {
 public:
  using Base::Base;
  using Base::forecast_arrival_times;
  using Base::forecast_travel_times;
  using Base::initialize_arrival_times;
  using Base::initialize_travel_times;
  using Base::round;
};

template <class Side>
class OpenKernel : public Open<typename Side::KernelRegression> {
 public:
  using Open<typename Side::KernelRegression>::Open;
  using Side::KernelRegression::compute_arrival_time;
  using Side::KernelRegression::compute_kernel;
  using Side::KernelRegression::compute_travel_time;
};

/// What a forecast algorithm is made to work on.
struct Case {
  std::string mode;
  double bandwidth;
  std::vector<double> milestones;
  std::vector<double> stops;
  std::vector<double> other_stops;  ///< those of the record, where they are not those of the route
  std::vector<std::pair<double, long long>> reports;
  long long start_time;
  std::vector<std::vector<int>> trajectories;
};

/// The algorithms of one side on the objects of a case, everything protected included.
template <class Side>
class Stage {
 public:
  explicit Stage(const Case& c)
      : _case(c),
        _journey("KernelRegression", {}, {1.0}, "arrival", 3, "ring"),
        _route(_journey),
        _vehicle("bus"),
        _history(static_cast<unsigned int>(c.trajectories.size()), Side::History::ring),
        _algorithm(&_forecast, &_route, {}, {c.bandwidth}),
        _frame(&_forecast, &_route, {}, {}) {
    Side::take_log();
    for (const std::vector<int>& trajectory : c.trajectories) _history.push_back(trajectory);
    for (const auto& report : c.reports) {
      try {
        const typename Side::VehicleJourneyRef none;
        _vehicle.update_position(none, report.first, report.second, 100.0);
      } catch (typename Side::invalid_update&) {
      }
    }
    _vehicle.set_start_time(c.start_time);
    _forecast.initialize(c.mode);
    _route.read_bus_stops(c.stops, {"A", "B", "C"});
    _forecast.initialize(_route);
  }

  Story forecast_story() {
    Story story;
    start_time(story);
    compute(_algorithm, story);
    _route.read_milestones(_case.milestones);
    start_time(story);
    tell(story, outcome_of<Side>([&] { kernel(story); }));
    compute(_algorithm, story);
    compute(_frame, story);
    return story;
  }

  /// The record may have more or fewer rows than the route has stops.
  Story fall_back_story() {
    Story story;
    fall_back(_algorithm, story);
    _route.read_bus_stops(_case.other_stops, {});
    fall_back(_algorithm, story);
    fall_back(_frame, story);
    _route.remove_bus_stops();
    fall_back(_algorithm, story);
    return story;
  }

  Story kernel_without_reports() {
    Story story;
    _route.read_milestones(_case.milestones);
    const typename Side::Vehicle unseen("unseen");
    typename Side::Kernel kernel(_history.size(), 0.0);
    _algorithm.compute_kernel(kernel, &unseen, &_history, 0);
    tell_kernel(kernel, story);
    return story;
  }

 private:
  static void tell(Story& story, const Outcome& outcome) {
    for (const OutcomeLine& line : outcome) story.push_back(line.text);
  }

  void tell_record(Story& story) { tell(story, record_outcome(_forecast)); }

  static void tell_kernel(const typename Side::Kernel& kernel, Story& story) {
    std::string line = "normalizer " + number(normalizer_of(kernel)) + " weights";
    for (unsigned int k = 0; k < kernel.size(); ++k) line += " " + number(kernel[k]);
    story.push_back(line + " " + number(kernel.normalize(3.0)));
  }

  void start_time(Story& story) {
    if (_vehicle.size() == 0) return;
    const typename Side::History* const none = nullptr;
    for (const typename Side::History* history : {none, _history_pointer}) {
      tell(story, outcome_of<Side>([&] {
             const long long time = _algorithm.compute_start_time(&_vehicle, history, 1);
             story.push_back("start " + std::to_string(time));
           }));
    }
  }

  void kernel(Story& story) {
    typename Side::Kernel kernel(_history.size(), 0.0);
    _algorithm.compute_kernel(kernel, &_vehicle, &_history, 1);
    tell_kernel(kernel, story);
  }

  template <class Algorithm>
  void compute(Algorithm& algorithm, Story& story) {
    tell(story, outcome_of<Side>([&] { algorithm.compute_forecast(&_vehicle, nullptr, 1); }));
    tell_record(story);
    tell(story, outcome_of<Side>([&] { algorithm.compute_forecast(&_vehicle, &_history, 1); }));
    tell_record(story);
  }

  template <class Algorithm>
  void fall_back(Algorithm& algorithm, Story& story) {
    story.push_back(std::to_string(algorithm.initialize_arrival_times(&_vehicle)));
    tell_record(story);
    story.push_back(std::to_string(algorithm.initialize_travel_times(&_vehicle)));
    tell_record(story);
    algorithm.forecast_arrival_times(&_vehicle);
    tell_record(story);
    algorithm.forecast_travel_times(&_vehicle);
    tell_record(story);
  }

  const Case& _case;
  typename Side::Journey _journey;
  typename Side::BusRoute _route;
  typename Side::Forecast _forecast;
  typename Side::Vehicle _vehicle;
  typename Side::History _history;
  const typename Side::History* _history_pointer = &_history;
  OpenKernel<Side> _algorithm;
  Open<typename Side::ForecastAlgorithm> _frame;
};

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_STAGE_H
