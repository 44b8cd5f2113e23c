// The forecast algorithms on given objects, everything protected included.

#include <ostream>

#include "differential/generators.h"
#include "differential/property.h"
#include "differential/stage.h"

namespace differential {
namespace {

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
