#include <gmock/gmock.h>

#include <cstddef>
#include <deque>
#include <exception>
#include <limits>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "Vehicle.h"
#include "VirtualSlot.h"
#include "support/RecordedLog.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

static_assert(std::is_convertible<invalid_update*, std::exception*>::value,
              "derives publicly from the standard exception");
static_assert(invalid_update::offset_out_of_range == 0 && invalid_update::decreasing_offsets == 1,
              "the causes are numbered as documented");
static_assert(
    std::is_same<decltype(std::declval<invalid_update&>().what()), const char*>::value &&
        std::is_same<decltype(std::declval<invalid_update&>().detail()), const char*>::value,
    "both texts are C strings");
static_assert(noexcept(std::declval<invalid_update&>().what()) && noexcept(
                  std::declval<invalid_update&>().detail()) &&
                  std::is_nothrow_destructible<invalid_update>::value,
              "texts and destructor never throw");

invalid_update::Cause unknown_cause() {
  return static_cast<invalid_update::Cause>(2);
}

TEST(invalid_update, TextOfAnOffsetOutOfRange) {
  invalid_update error(invalid_update::offset_out_of_range);
  EXPECT_STREQ(error.what(), "Invalid update: offset(s) out of range.");
}

TEST(invalid_update, TextOfAnOffsetOutOfRangeIsTheSameWithAQueue) {
  std::deque<Position> updates = {{100.0, 1000}};
  invalid_update error(invalid_update::offset_out_of_range, "V1", 1.0, 2, 3.0, &updates);
  EXPECT_STREQ(error.what(), "Invalid update: offset(s) out of range.");
}

TEST(invalid_update, TextOfDecreasingOffsetsFromTheCauseAlone) {
  invalid_update error(invalid_update::decreasing_offsets);
  EXPECT_STREQ(error.what(), "Invalid update: decreasing offset(s).");
}

TEST(invalid_update, TextOfDecreasingOffsetsWithoutAQueueIsOneLine) {
  invalid_update error(invalid_update::decreasing_offsets, "V1", 1.0, 2, 3.0, nullptr);
  EXPECT_STREQ(error.what(), "Invalid update: decreasing offset(s).");
}

TEST(invalid_update, TextOfDecreasingOffsetsWithAQueueGoesOnWithTheDetail) {
  std::deque<Position> updates = {{0.0, 990}, {100.0, 1000}, {250.5, 1010}};
  invalid_update error(invalid_update::decreasing_offsets, "V1", 80.0, 1020, 10.0, &updates);
  EXPECT_STREQ(error.what(),
               "Invalid update: decreasing offset(s).\n"
               "Invalid update for V1:\n"
               "Given time stamp: 1020\n"
               "Given offset: 80\n"
               "Given max_error: 10\n"
               "Previous updates:\n"
               "Time stamp: 990  Offset: 0\n"
               "Time stamp: 1000  Offset: 100\n"
               "Time stamp: 1010  Offset: 250.5\n");
}

TEST(invalid_update, TextOfDecreasingOffsetsWithAnEmptyQueueGoesOnWithTheDetail) {
  std::deque<Position> updates;
  invalid_update error(invalid_update::decreasing_offsets, "V1", 80.0, 1020, 10.0, &updates);
  EXPECT_STREQ(error.what(),
               "Invalid update: decreasing offset(s).\n"
               "Invalid update for V1:\n"
               "Given time stamp: 1020\n"
               "Given offset: 80\n"
               "Given max_error: 10\n"
               "Previous updates:\n");
}

TEST(invalid_update, TextOfAnyOtherCause) {
  std::deque<Position> updates = {{100.0, 1000}};
  invalid_update bare(unknown_cause());
  invalid_update full(unknown_cause(), "V1", 1.0, 2, 3.0, &updates);
  EXPECT_STREQ(bare.what(), "Invalid update.");
  EXPECT_STREQ(full.what(), "Invalid update.");
}

TEST(invalid_update, DetailOfACauseAloneHasEmptyFields) {
  const std::string expected =
      "Invalid update for :\n"
      "Given time stamp: 0\n"
      "Given offset: 0\n"
      "Given max_error: 0\n"
      "Previous updates:\n";
  EXPECT_EQ(invalid_update(invalid_update::offset_out_of_range).detail(), expected);
  EXPECT_EQ(invalid_update(invalid_update::decreasing_offsets).detail(), expected);
  EXPECT_EQ(invalid_update(unknown_cause()).detail(), expected);
}

TEST(invalid_update, DetailIsWrittenForEveryCause) {
  std::deque<Position> updates = {{100.0, 1000}};
  const std::string expected =
      "Invalid update for V1:\n"
      "Given time stamp: -2\n"
      "Given offset: 1.5\n"
      "Given max_error: -3.25\n"
      "Previous updates:\n"
      "Time stamp: 1000  Offset: 100\n";
  for (const invalid_update::Cause cause :
       {invalid_update::offset_out_of_range, invalid_update::decreasing_offsets, unknown_cause()}) {
    invalid_update error(cause, "V1", 1.5, -2, -3.25, &updates);
    EXPECT_EQ(error.detail(), expected);
  }
}

TEST(invalid_update, DetailWithoutAQueueStillWritesTheHeadingOfTheList) {
  invalid_update error(invalid_update::decreasing_offsets, "V1", 80.0, 1020, 10.0, nullptr);
  EXPECT_STREQ(error.detail(),
               "Invalid update for V1:\n"
               "Given time stamp: 1020\n"
               "Given offset: 80\n"
               "Given max_error: 10\n"
               "Previous updates:\n");
}

TEST(invalid_update, NumbersHaveSixSignificantDigits) {
  const double infinity = std::numeric_limits<double>::infinity();
  std::deque<Position> updates = {{1234.5, 1},   {100.0, 2},      {1200000.0, 3}, {0.0001, 4},
                                  {0.00001, 5},  {300.0001, 6},   {123456.0, 7},  {1234567.0, 8},
                                  {infinity, 9}, {-infinity, 10}, {-0.5, 11},     {-0.0, 12}};
  invalid_update error(invalid_update::decreasing_offsets, "V1", 2.0 / 3.0,
                       std::numeric_limits<long long>::min(), 1e300, &updates);
  EXPECT_STREQ(error.detail(),
               "Invalid update for V1:\n"
               "Given time stamp: -9223372036854775808\n"
               "Given offset: 0.666667\n"
               "Given max_error: 1e+300\n"
               "Previous updates:\n"
               "Time stamp: 1  Offset: 1234.5\n"
               "Time stamp: 2  Offset: 100\n"
               "Time stamp: 3  Offset: 1.2e+06\n"
               "Time stamp: 4  Offset: 0.0001\n"
               "Time stamp: 5  Offset: 1e-05\n"
               "Time stamp: 6  Offset: 300\n"
               "Time stamp: 7  Offset: 123456\n"
               "Time stamp: 8  Offset: 1.23457e+06\n"
               "Time stamp: 9  Offset: inf\n"
               "Time stamp: 10  Offset: -inf\n"
               "Time stamp: 11  Offset: -0.5\n"
               "Time stamp: 12  Offset: -0\n");
}

TEST(invalid_update, NotANumberIsWrittenAsSuch) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  invalid_update error(invalid_update::decreasing_offsets, "V1", nan,
                       std::numeric_limits<long long>::max(), nan, nullptr);
  EXPECT_STREQ(error.detail(),
               "Invalid update for V1:\n"
               "Given time stamp: 9223372036854775807\n"
               "Given offset: nan\n"
               "Given max_error: nan\n"
               "Previous updates:\n");
}

TEST(invalid_update, TextsAreBuiltAnewByEveryCall) {
  std::deque<Position> updates = {{100.0, 1000}};
  invalid_update error(invalid_update::decreasing_offsets, "V1", 80.0, 1020, 10.0, &updates);
  const std::string what = error.what();
  const std::string detail = error.detail();
  EXPECT_EQ(error.what(), what);
  EXPECT_EQ(error.detail(), detail);
  EXPECT_EQ(what, "Invalid update: decreasing offset(s).\n" + detail);
}

TEST(invalid_update, ListsTheLiveQueueAndNotACopy) {
  std::deque<Position> updates = {{100.0, 1000}};
  invalid_update error(invalid_update::decreasing_offsets, "V1", 80.0, 1020, 10.0, &updates);
  EXPECT_THAT(error.what(), Not(HasSubstr("Time stamp: 1030")));
  updates.push_back({110.0, 1030});
  EXPECT_THAT(error.what(), HasSubstr("Time stamp: 1000  Offset: 100\n"
                                      "Time stamp: 1030  Offset: 110\n"));
  updates.clear();
  EXPECT_THAT(error.detail(), Not(HasSubstr("Time stamp: 1000")));
}

TEST(invalid_update, CopiesShareTheQueue) {
  std::deque<Position> updates = {{100.0, 1000}};
  invalid_update original(invalid_update::decreasing_offsets, "V1", 80.0, 1020, 10.0, &updates);
  const std::string before = original.what();
  invalid_update copy(original);
  EXPECT_EQ(copy.what(), before);
  updates.push_back({110.0, 1030});
  EXPECT_THAT(copy.what(), HasSubstr("Time stamp: 1030  Offset: 110\n"));
  EXPECT_STREQ(copy.what(), original.what());
  EXPECT_NE(copy.what(), original.what());
}

TEST(invalid_update, CopiesOutliveTheOriginal) {
  std::deque<Position> updates = {{100.0, 1000}};
  auto* original = new invalid_update(invalid_update::decreasing_offsets, "V1 of the long name",
                                      80.0, 1020, 10.0, &updates);
  const std::string text = original->what();
  invalid_update copy(*original);
  delete original;
  EXPECT_EQ(copy.what(), text);
}

TEST(invalid_update, CopiesKeepTheCause) {
  invalid_update out_of_range(invalid_update::offset_out_of_range);
  invalid_update decreasing(invalid_update::decreasing_offsets);
  EXPECT_STREQ(invalid_update(out_of_range).what(), "Invalid update: offset(s) out of range.");
  EXPECT_STREQ(invalid_update(decreasing).what(), "Invalid update: decreasing offset(s).");
}

TEST(invalid_update, HidesTheTextOfTheStandardExceptionWithoutOverridingIt) {
  invalid_update error(invalid_update::offset_out_of_range);
  const std::exception& base = error;
  EXPECT_STREQ(base.what(), std::exception().what());
  try {
    throw error;
  } catch (std::exception& caught) {
    EXPECT_EQ(typeid(caught), typeid(invalid_update));
    EXPECT_STREQ(caught.what(), std::exception().what());
  }
}

class WithOwnDetail : public invalid_update {
 public:
  using invalid_update::invalid_update;
  const char* detail() noexcept override { return "own detail"; }
};

TEST(invalid_update, TextAsksForTheDetailThroughTheVirtualOperation) {
  std::deque<Position> updates;
  WithOwnDetail error(invalid_update::decreasing_offsets, "V1", 80.0, 1020, 10.0, &updates);
  EXPECT_STREQ(error.what(), "Invalid update: decreasing offset(s).\nown detail");
}

class WithOwnTexts : public invalid_update {
 public:
  using invalid_update::invalid_update;
  const char* what() noexcept override { return "own text"; }
  const char* detail() noexcept override { return "own detail"; }
};

TEST(invalid_update, BothTextsAreVirtual) {
  WithOwnTexts derived(invalid_update::decreasing_offsets);
  invalid_update& error = derived;
  EXPECT_STREQ(error.what(), "own text");
  EXPECT_STREQ(error.detail(), "own detail");
}

#if defined(QIV_TEST_ITANIUM_ABI)
TEST(invalid_update, NewVirtualOperationsStandBehindThoseOfTheStandardException) {
  const char* (std::exception::*const standard_what)() const noexcept = &std::exception::what;
  const std::size_t destructors = 2;
  EXPECT_EQ(slot_of(standard_what), destructors);
  EXPECT_EQ(slot_of(&invalid_update::what), destructors + 1);
  EXPECT_EQ(slot_of(&invalid_update::detail), destructors + 2);
}
#endif

TEST(invalid_update, IsCaughtFromAVehicleWithItsTexts) {
  const RecordedLog log;
  Vehicle vehicle("V1");
  vehicle.update_position(VehicleJourneyRef("T17", ""), 100.0, 1000, 5.0);
  try {
    vehicle.update_position(VehicleJourneyRef("T17", ""), 80.25, 1020, 5.5);
    FAIL() << "the report should have been rejected";
  } catch (invalid_update& error) {
    EXPECT_EQ(typeid(error), typeid(invalid_update));
    const std::string detail =
        "Invalid update for V1:\n"
        "Given time stamp: 1020\n"
        "Given offset: 80.25\n"
        "Given max_error: 5.5\n"
        "Previous updates:\n"
        "Time stamp: 1000  Offset: 100\n";
    EXPECT_EQ(error.detail(), detail);
    EXPECT_EQ(error.what(), "Invalid update: decreasing offset(s).\n" + detail);
    vehicle.update_position(VehicleJourneyRef("T17", ""), 120.0, 1030, 5.0);
    EXPECT_EQ(error.detail(), detail + "Time stamp: 1030  Offset: 120\n");
  }
}

}  // namespace
