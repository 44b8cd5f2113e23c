#include <gtest/gtest.h>

#include <deque>
#include <exception>
#include <string>

#include "Vehicle.h"
#include "support/Allocations.h"
#include "support/ProcessEnd.h"

// The texts of an update error come whole, or the process ends. This file is built for the language
// with exception specifications and for the language without.

namespace {

/// The update error of a vehicle with updates whose numbers have many digits.
class InvalidUpdateContractDeathTest : public testing::Test {
 protected:
  InvalidUpdateContractDeathTest()
      : updates({{12345.75, -9000000000000000000LL}, {123456.5, 9000000000000000000LL}}),
        error(invalid_update::decreasing_offsets, "bus", 1.5, 9100000000000000000LL, 0.5,
              &updates) {}

  std::deque<Position> updates;
  invalid_update error;
};

TEST_F(InvalidUpdateContractDeathTest, AllocationFailureCallsTheHandler) {
  EXPECT_ENDS_THE_PROCESS(
      {
        FailingAllocation failing(0);
        error.what();
      },
      "");
  EXPECT_ENDS_THE_PROCESS(
      {
        FailingAllocation failing(0);
        error.detail();
      },
      "");
}

TEST_F(InvalidUpdateContractDeathTest, EachAllocationFailureInDetailEndsTheProcess) {
  const std::string text = error.detail();
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    invalid_update fresh(invalid_update::decreasing_offsets, "bus", 1.5, 9100000000000000000LL, 0.5,
                         &updates);
    FailingAllocation failing(i);
    return outcome(fresh.detail(), text.c_str());
  });
  EXPECT_GT(outcomes.ended, 1);
  EXPECT_EQ(outcomes.unharmed, 0);
}

TEST_F(InvalidUpdateContractDeathTest, EachAllocationFailureInWhatEndsTheProcess) {
  const std::string text = error.what();
  const Outcomes outcomes = fail_each_allocation([&](unsigned long i) {
    invalid_update fresh(invalid_update::decreasing_offsets, "bus", 1.5, 9100000000000000000LL, 0.5,
                         &updates);
    FailingAllocation failing(i);
    return outcome(fresh.what(), text.c_str());
  });
  EXPECT_GT(outcomes.ended, 2);
  EXPECT_EQ(outcomes.unharmed, 0);
}

TEST_F(InvalidUpdateContractDeathTest, ConstantTextsNeedNoMemory) {
  invalid_update out_of_range(invalid_update::offset_out_of_range);
  invalid_update decreasing(invalid_update::decreasing_offsets);
  invalid_update unknown(static_cast<invalid_update::Cause>(9));
  EXPECT_EQ(count_allocations([&] {
              out_of_range.what();
              decreasing.what();
              unknown.what();
            }),
            0u);
}

#if __cplusplus < 201703L

[[noreturn]] void throw_update_error() {
  throw invalid_update(invalid_update::offset_out_of_range);
}

TEST_F(InvalidUpdateContractDeathTest, HandlerThatThrowsDoesNotSaveTheProcess) {
  EXPECT_EXIT(
      {
        std::set_terminate(terminate_handler_of_the_host);
        set_unexpected_handler(throw_update_error);
        FailingAllocation failing(0);
        error.what();
      },
      testing::ExitedWithCode(ended_by_the_handler), "terminate handler: ");
}

#endif

}  // namespace
