// The forecast algorithms on given objects, everything protected included.

#include <ostream>

#include "differential/Runner.h"
#include "differential/generators.h"
#include "differential/property.h"
#include "differential/state.h"

namespace differential {
namespace {

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

rc::Gen<std::vector<std::pair<double, long long>>> reports() {
  return list_of(rc::gen::pair(any_offset(), any_stamp()));
}

/// As many times for each trajectory as there are milestones; the ends of `int` among them.
std::vector<std::vector<int>> draw_trajectories(std::size_t milestones) {
  const auto trajectory = rc::gen::map(rc::gen::container<std::vector<int>>(milestones, any_time()),
                                       [](std::vector<int> times) {
                                         std::sort(times.begin(), times.end());
                                         return times;
                                       });
  return *list_of(trajectory).as("trajectories");
}

Case draw_case() {
  Case c;
  c.mode = *rc::gen::element<std::string>("arrival", "travel").as("mode");
  c.bandwidth = *rc::gen::element(1.0, 0.3, 50.0, 1e-5, 1e300, std::nan("")).as("bandwidth");
  c.milestones = *route_offsets().as("milestones");
  c.stops = *route_offsets().as("stops");
  c.other_stops = *route_offsets().as("other stops");
  c.reports = *reports().as("reports");
  c.start_time = *any_stamp().as("start time");
  c.trajectories = draw_trajectories(c.milestones.size());
  return c;
}

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

void expect_same(const Story& twin, const Story& library) {
  const std::string difference = differential::difference(twin, library);
  if (!difference.empty()) RC_FAIL(difference);
}

TEST(Algorithms, Forecasts) {
  check(2500, [] {
    const Case c = draw_case();
    expect_same(Stage<Twin>(c).forecast_story(), Stage<Library>(c).forecast_story());
  });
}

TEST(Algorithms, FallBacks) {
  check(1500, [] {
    const Case c = draw_case();
    expect_same(Stage<Twin>(c).fall_back_story(), Stage<Library>(c).fall_back_story());
  });
}

TEST(Algorithms, KernelsWithoutReports) {
  check(100, [] {
    const Case c = draw_case();
    expect_same(Stage<Twin>(c).kernel_without_reports(),
                Stage<Library>(c).kernel_without_reports());
  });
}

TEST(Algorithms, Rounding) {
  check(1000, [] {
    const double value = *any_offset() * *any_offset();
    const auto rounded = [&](auto side) {
      using Side = decltype(side);
      typename Side::Forecast forecast;
      OpenKernel<Side> algorithm(&forecast, nullptr, {}, {1.0});
      return algorithm.round(value);
    };
    RC_ASSERT(rounded(Twin()) == rounded(Library()));
  });
}

/// The square of the number of trajectories wraps around at 65536, where it is 0.
TEST(Algorithms, AsManyTrajectoriesAsWrapTheirSquareAround) {
  for (const std::size_t count : {65535u, 65536u, 65537u}) {
    Case c = {"arrival", 4.0, {0.0, 100.0}, {0.0, 60.0, 100.0}, {}, {{50.0, 1040}}, 1000, {}};
    for (std::size_t k = 0; k < count; ++k) {
      c.trajectories.push_back({0, 60 + static_cast<int>(k % 41)});
    }
    EXPECT_EQ(difference(Stage<Twin>(c).forecast_story(), Stage<Library>(c).forecast_story()), "");
  }
}

}  // namespace
}  // namespace differential
