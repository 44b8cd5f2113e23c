// What an update of a vehicle that is known already asks of the allocator.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "TestJourney.h"
#include "support/Allocations.h"

namespace {

const std::string reference = "a journey pattern reference longer than any small string";
const std::string vehicle = "a vehicle identifier longer than any small string";
const VehicleJourneyRef trip("a dated vehicle journey reference longer than any small string", "");

class SteadyUpdate : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    Configuration configuration;
    configuration.mode = GetParam();
    configuration.max_size_history = 50;
    configuration.apply_to(journeys);
    std::vector<double> offsets;
    for (unsigned int i = 0; i <= 60; ++i) offsets.push_back(50.0 * i);
    journeys.read_milestones(reference, 10, 7, offsets);
    journeys.read_bus_stops(reference, 10, 7, std::vector<std::string>(offsets.size(), "stop"),
                            offsets);
    for (int k = 0; k < 50; ++k) {
      std::vector<int> times;
      for (int i = 0; i <= 60; ++i) times.push_back((9 + k % 5) * i);
      journeys.read_history(reference, 10, 7, 1, times);
    }
    update(0);
  }

  void update(int step) {
    ASSERT_NE(journeys.update(reference, vehicle, trip, 10, 7, 1, step, 1000 + step, 0.0), nullptr);
  }

  RecordedLog log;
  AllJourneys journeys;
};

// One allocation is that of the weights. The queue of reports takes another for every 32 reports,
// and a longer list of these now and then.
TEST_P(SteadyUpdate, AllocatesTheWeightsAndTheQueueAlone) {
  const int nb_updates = 640;
  std::vector<unsigned long> counts;
  for (int step = 1; step <= nb_updates; ++step) {
    counts.push_back(count_allocations([&] { update(step); }));
  }
  EXPECT_EQ(*std::min_element(counts.begin(), counts.end()), 1u);
  EXPECT_EQ(std::count(counts.begin(), counts.end(), 1u), nb_updates - nb_updates / 32);
  EXPECT_LE(*std::max_element(counts.begin(), counts.end()), 3u);
}

TEST_P(SteadyUpdate, AllocatesNoMoreAmongManyJourneys) {
  for (int i = 0; i < 1000; ++i) {
    journeys.read_milestones(reference + std::to_string(i), 10, 7, {0, 100});
  }
  EXPECT_EQ(count_allocations([&] { update(1); }), 1u);
}

std::string mode_name(const testing::TestParamInfo<std::string>& mode) {
  return mode.param;
}

INSTANTIATE_TEST_SUITE_P(BothModes, SteadyUpdate, testing::Values("arrival", "travel"), mode_name);

}  // namespace
