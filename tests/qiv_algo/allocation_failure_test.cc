#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "History.h"
#include "TestJourney.h"
#include "support/Allocations.h"

namespace {

using testing::ElementsAre;

const VehicleJourneyRef trip("a dated vehicle journey reference longer than any small string", "");

/// Calls `operation(i)` for i = 0, 1, ... until its `FailingAllocation(i)` does not happen; returns
/// how often `std::bad_alloc` came out.
template <class Operation>
unsigned int fail_each_allocation(Operation operation) {
  unsigned int nb_thrown = 0;
  for (unsigned long i = 0;; ++i) {
    SCOPED_TRACE("allocation " + std::to_string(i));
    try {
      operation(i);
    } catch (const std::bad_alloc&) {
      ++nb_thrown;
    }
    if (!FailingAllocation::happened()) return nb_thrown;
  }
}

TEST(AllocationFailure, NewCategoryIsNotEntered) {
  const std::vector<int> trajectory(100, 1);
  unsigned int nb_absent = 0;
  fail_each_allocation([&](unsigned long i) {
    AllHistories histories;
    histories.initialize(5, "ring");
    try {
      FailingAllocation failing(i);
      histories.push_back(3, trajectory);
    } catch (const std::bad_alloc&) {
      EXPECT_FALSE(histories.is_initialized());
      if (histories[3] == nullptr) ++nb_absent;
    }
    if (!histories.is_initialized()) histories.push_back(3, trajectory);
    EXPECT_EQ(histories[3]->size(), 1u);
  });
  EXPECT_GE(nb_absent, 2u) << "the store and its entry";
}

TEST(AllocationFailure, FullStoreNeedsNoMemoryForATrajectoryOfTheSameLength) {
  History history(2, History::ring);
  for (int i = 0; i < 2; ++i) history.push_back(std::vector<int>(100, i));
  const std::vector<int> trajectory(100, 7);
  EXPECT_EQ(count_allocations([&] { history.push_back(trajectory); }), 0u);
  EXPECT_EQ(history[1], trajectory);
  EXPECT_EQ(count_allocations([&] { history.interpolate(1, 50, 0.5); }), 0u);
}

TEST(AllocationFailure, ReportThatMakesAJourneyPassesItOnAndLeavesNothingBehind) {
  const std::string reference = "a journey pattern reference longer than any small string";
  const unsigned int nb_thrown = fail_each_allocation([&](unsigned long i) {
    RecordedLog log;
    AllJourneys journeys;
    Configuration().apply_to(journeys);
    const auto update = [&] {
      return journeys.update(reference, "bus", trip, 10, 7, 1, 50, 1000, 0.0);
    };
    try {
      FailingAllocation failing(i);
      update();
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(update(), nullptr);
      journeys.read_milestones(reference, 10, 7, {0, 100});
      EXPECT_NE(update(), nullptr);
      throw;
    }
  });
  EXPECT_GT(nb_thrown, 3u);
}

/// Makes an error with each allocation failing in turn: it is not made, or its text is whole.
template <class Make>
void expect_whole_text_or_none(const std::string& text, Make make) {
  const unsigned int nb_thrown = fail_each_allocation([&](unsigned long i) {
    std::unique_ptr<decltype(make())> error;
    {
      FailingAllocation failing(i);
      error.reset(new decltype(make())(make()));
    }
    EXPECT_EQ(error->what(), text);
  });
  EXPECT_GT(nb_thrown, 0u);
}

TEST(AllocationFailure, InTheTextOfAnErrorPassesOn) {
  const std::vector<double> offsets = {0.125, 123457.0, 123456.0};
  const std::vector<int> trajectory = {-2147483647, 2147483647, -2147483647};
  expect_whole_text_or_none("Invalid milestones: number of milestones=3 (less than 2)\n", [&] {
    return invalid_milestones(invalid_milestones::less_than_two_milestones, offsets);
  });
  expect_whole_text_or_none("Invalid milestones: first milestone is negative (0.125)\n", [&] {
    return invalid_milestones(invalid_milestones::negative_milestones, offsets);
  });
  expect_whole_text_or_none(
      "Invalid milestones: decreasing milestones (milestones[1]=123457, milestones[2]=123456)\n",
      [&] { return invalid_milestones(invalid_milestones::decreasing_milestones, offsets); });
  expect_whole_text_or_none(
      "Invalid milestones: bus stops out of range (last milestone=123456, last bus stop=0.5)\n",
      [&] { return invalid_milestones(invalid_milestones::bus_stops_out_of_range, offsets, 0.5); });
  expect_whole_text_or_none(
      "Invalid milestones: incompatible with history (number of milestones=3, length of "
      "historical trajectories=4)\n",
      [&] {
        return invalid_milestones(invalid_milestones::incompatible_with_history, offsets, 4u);
      });
  expect_whole_text_or_none("Invalid bus stops: number of bus stops=3 (less than 2)\n", [&] {
    return invalid_bus_stops(invalid_bus_stops::less_than_two_bus_stops, offsets);
  });
  expect_whole_text_or_none("Invalid bus stops: first offset is negative (0.125)\n", [&] {
    return invalid_bus_stops(invalid_bus_stops::negative_offsets, offsets);
  });
  expect_whole_text_or_none(
      "Invalid bus stops: decreasing offsets (offsets[1]=123457, offsets[2]=123456)\n",
      [&] { return invalid_bus_stops(invalid_bus_stops::decreasing_offsets, offsets); });
  expect_whole_text_or_none(
      "Invalid bus stops: bus stops out of range (last offset=123456, last milestone=0.5)\n",
      [&] { return invalid_bus_stops(invalid_bus_stops::bus_stops_out_of_range, offsets, 0.5); });
  expect_whole_text_or_none("Invalid history: length of milestones=3 (less than 2)\n", [&] {
    return invalid_history(invalid_history::less_than_two_milestones, trajectory);
  });
  expect_whole_text_or_none(
      "Invalid history: decreasing time stamps (trajectory[1]=2147483647, "
      "trajectory[2]=-2147483647)\n",
      [&] { return invalid_history(invalid_history::decreasing_time_stamps, trajectory); });
  expect_whole_text_or_none(
      "Invalid history: incompatible with previous trajectories (length of new trajectory=3, "
      "length of previous trajectories=4)\n",
      [&] { return invalid_history(invalid_history::incompatible_with_history, trajectory, 4u); });
  expect_whole_text_or_none(
      "Invalid history: incompatible with milestones (length of historical trajectory=3, number "
      "of milestones=4)\n",
      [&] {
        return invalid_history(invalid_history::incompatible_with_milestones, trajectory, 4u);
      });
}

// A configuration that cannot be used is named whole or not at all, too.
TEST(AllocationFailure, InTheTextOfARejectedStrategyPassesOn) {
  const std::string strategy(50, 'x');
  const unsigned int nb_thrown = fail_each_allocation([&](unsigned long i) {
    AllHistories histories;
    try {
      FailingAllocation failing(i);
      histories.initialize(1, strategy);
    } catch (const std::invalid_argument& error) {
      EXPECT_EQ(error.what(), "Replacement strategy " + strategy + " hasn't been implemented yet.");
    }
  });
  EXPECT_GT(nb_thrown, 0u);
}

TEST(Registry, GivesItsJourneysBackInTheOrderOfTheReferences) {
  const std::vector<std::string> references = {"C", "", "B", "AB", "A"};
  std::vector<const char*> records;
  std::unique_ptr<AllJourneys> journeys(new AllJourneys);
  Configuration().apply_to(*journeys);
  {
    RecordedLog log;
    for (const std::string& reference : references) {
      journeys->read_milestones(reference, 10, 7, {0, 100});
      records.push_back(reinterpret_cast<const char*>(
          journeys->update(reference, reference, trip, 10, 7, 1, 50, 1000, 0.0)));
    }
  }
  ReleasedBlocks released(sizeof(Journey));
  journeys.reset();

  std::vector<std::string> order;
  for (const char* const block : released.blocks()) {
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (records[i] >= block && records[i] < block + sizeof(Journey)) {
        order.push_back(references[i]);
      }
    }
  }
  EXPECT_THAT(order, ElementsAre("", "A", "AB", "B", "C"));
}

}  // namespace
