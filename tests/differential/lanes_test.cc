// Whole forecasts by every set of instructions against the twin: stores, updates and stops in
// numbers around those of a vector, a tile and a batch, over tame and hostile values.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "differential/Draw.h"
#include "differential/generators.h"
#include "differential/property.h"
#include "differential/stage.h"
#include "lanes.h"

namespace differential {
namespace {

/// How often a value is one that breaks careless arithmetic.
enum class Mood { tame, mixed, hostile };

class CaseMaker {
 public:
  explicit CaseMaker(Draw& draw)
      : _draw(draw), _mood(draw.of<Mood>({Mood::tame, Mood::mixed, Mood::hostile})) {}

  Case make() {
    Case c;
    c.mode = _draw.of<std::string>({"arrival", "travel"});
    c.bandwidth = wild() ? _draw.of<double>({1e-5, 1e300, 1e-310, std::nan("")})
                         : 0.01 * _draw.between(1, 5000);
    c.milestones = offsets(2 + _draw.below(40));
    c.stops = offsets(2 + _draw.below(_draw.one_in(6) ? 90 : 20));
    c.start_time = wild() ? _draw.of(wild_stamps) : _draw.below(300);
    c.reports = reports(_draw.below(_draw.one_in(6) ? 150 : 25));
    const std::size_t nb_trajectories = _draw.below(_draw.one_in(6) ? 70 : 27);
    const bool of_one_length = !_draw.one_in(10);
    for (std::size_t k = 0; k < nb_trajectories; ++k) {
      c.trajectories.push_back(
          trajectory(c.milestones.size() + (of_one_length ? 0 : _draw.below(3))));
    }
    return c;
  }

 private:
  bool wild() {
    if (_mood == Mood::tame) return false;
    return _draw.one_in(_mood == Mood::mixed ? 20 : 3);
  }

  std::vector<double> offsets(unsigned int count) {
    std::vector<double> result;
    double offset = wild() ? _draw.of<double>({1e-310, 7.5, 1e-200}) : 0.0;
    for (unsigned int i = 0; i < count; ++i) {
      result.push_back(offset);
      offset +=
          wild() ? _draw.of<double>({1e-300, 1e-3, 1e6, 1e300}) : 0.1 + 0.37 * _draw.below(400);
    }
    return result;
  }

  /// Mostly ascending, as a vehicle goes, on the route and off it.
  std::vector<std::pair<double, long long>> reports(unsigned int count) {
    std::vector<std::pair<double, long long>> result;
    double offset = 0.1 * _draw.below(200);
    long long time = _draw.below(300);
    for (unsigned int i = 0; i < count; ++i) {
      result.push_back(
          {wild() ? _draw.of(wild_offsets) : offset, wild() ? _draw.of(wild_stamps) : time});
      offset += 0.013 * _draw.below(1000);
      time += _draw.below(40);
    }
    return result;
  }

  std::vector<int> trajectory(std::size_t length) {
    std::vector<int> times;
    for (std::size_t i = 0; i < length; ++i) {
      times.push_back(wild() ? _draw.of(wild_times) : static_cast<int>(_draw.below(4000)));
    }
    std::sort(times.begin(), times.end());
    return times;
  }

  Draw& _draw;
  Mood _mood;
};

class EveryLane : public testing::TestWithParam<lanes::Instructions> {
 protected:
  void SetUp() override {
    if (!lanes::has(GetParam())) GTEST_SKIP() << "not on this processor";
    lanes::use(GetParam());
  }
};

TEST_P(EveryLane, ForecastsAsTheTwinDoes) {
  check(2000, [] {
    RandomDraw draw(*rc::gen::arbitrary<std::uint64_t>().as("seed"));
    const Case c = CaseMaker(draw).make();
    const std::string difference = differential::difference(Stage<Twin>(c).forecast_story(),
                                                            Stage<Library>(c).forecast_story());
    if (!difference.empty()) RC_FAIL(difference);
  });
}

std::string instructions_name(const testing::TestParamInfo<lanes::Instructions>& instructions) {
  const char* const names[] = {"portable", "sse2", "avx2", "avx512"};
  return names[static_cast<int>(instructions.param)];
}

INSTANTIATE_TEST_SUITE_P(Lanes, EveryLane,
                         testing::Values(lanes::Instructions::portable, lanes::Instructions::sse2,
                                         lanes::Instructions::avx2, lanes::Instructions::avx512),
                         instructions_name);

}  // namespace
}  // namespace differential
