#include <gmock/gmock.h>

#include <exception>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "Journey.h"

namespace {

typedef std::vector<double> Offsets;
typedef std::vector<int> Times;

const double nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();

std::string text(invalid_milestones error) {
  return error.what();
}

std::string text(invalid_bus_stops error) {
  return error.what();
}

std::string text(invalid_history error) {
  return error.what();
}

TEST(InvalidMilestones, CausesHaveTheirValues) {
  EXPECT_EQ(static_cast<int>(invalid_milestones::less_than_two_milestones), 0);
  EXPECT_EQ(static_cast<int>(invalid_milestones::negative_milestones), 1);
  EXPECT_EQ(static_cast<int>(invalid_milestones::decreasing_milestones), 2);
  EXPECT_EQ(static_cast<int>(invalid_milestones::bus_stops_out_of_range), 3);
  EXPECT_EQ(static_cast<int>(invalid_milestones::incompatible_with_history), 4);
}

TEST(InvalidMilestones, LessThanTwo) {
  const invalid_milestones::Cause cause = invalid_milestones::less_than_two_milestones;
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{5.0})),
            "Invalid milestones: number of milestones=1 (less than 2)\n");
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{})),
            "Invalid milestones: number of milestones=0 (less than 2)\n");
  EXPECT_EQ(text(invalid_milestones(cause, Offsets(1234567))),
            "Invalid milestones: number of milestones=1234567 (less than 2)\n");
}

TEST(InvalidMilestones, Negative) {
  const invalid_milestones::Cause cause = invalid_milestones::negative_milestones;
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{-5.0, 10.0})),
            "Invalid milestones: first milestone is negative (-5)\n");
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{-inf, 10.0})),
            "Invalid milestones: first milestone is negative (-inf)\n");
}

TEST(InvalidMilestones, NumbersHaveSixSignificantDigits) {
  const invalid_milestones::Cause cause = invalid_milestones::negative_milestones;
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{1500.0})),
            "Invalid milestones: first milestone is negative (1500)\n");
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{1234567.5})),
            "Invalid milestones: first milestone is negative (1.23457e+06)\n");
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{0.5})),
            "Invalid milestones: first milestone is negative (0.5)\n");
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{-0.00001})),
            "Invalid milestones: first milestone is negative (-1e-05)\n");
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{-0.0})),
            "Invalid milestones: first milestone is negative (-0)\n");
}

TEST(InvalidMilestones, DecreasingNamesTheFirstPairThatDoesNotIncrease) {
  const invalid_milestones::Cause cause = invalid_milestones::decreasing_milestones;
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{0.0, 100.0, 100.0})),
            "Invalid milestones: decreasing milestones (milestones[1]=100, milestones[2]=100)\n");
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{7.0, 3.0, 2.0})),
            "Invalid milestones: decreasing milestones (milestones[0]=7, milestones[1]=3)\n");
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{0.0, nan, 5.0, inf, inf})),
            "Invalid milestones: decreasing milestones (milestones[3]=inf, milestones[4]=inf)\n");
}

TEST(InvalidMilestones, DecreasingOfIncreasingDataNamesTheFirstPair) {
  const invalid_milestones::Cause cause = invalid_milestones::decreasing_milestones;
  EXPECT_EQ(text(invalid_milestones(cause, Offsets{1.5, 2.5, 3.5})),
            "Invalid milestones: decreasing milestones (milestones[0]=1.5, milestones[1]=2.5)\n");
}

TEST(InvalidMilestones, BusStopsOutOfRange) {
  EXPECT_EQ(text(invalid_milestones(invalid_milestones::bus_stops_out_of_range, Offsets{0.0, 50.25},
                                    100.5)),
            "Invalid milestones: bus stops out of range (last milestone=50.25, last bus "
            "stop=100.5)\n");
}

TEST(InvalidMilestones, IncompatibleWithHistory) {
  EXPECT_EQ(text(invalid_milestones(invalid_milestones::incompatible_with_history,
                                    Offsets{0.0, 50.0}, 4294967295u)),
            "Invalid milestones: incompatible with history (number of milestones=2, length of "
            "historical trajectories=4294967295)\n");
}

TEST(InvalidMilestones, ACauseThatAConstructorDoesNotServeHasNoText) {
  const Offsets offsets = {0.0, 1.0};
  for (const int cause : {3, 4, 5, -1}) {
    EXPECT_EQ(text(invalid_milestones(static_cast<invalid_milestones::Cause>(cause), offsets)), "")
        << cause;
  }
  for (const int cause : {0, 1, 2, 4, 5}) {
    EXPECT_EQ(text(invalid_milestones(static_cast<invalid_milestones::Cause>(cause), offsets, 1.0)),
              "")
        << cause;
  }
  for (const int cause : {0, 1, 2, 3, 5}) {
    EXPECT_EQ(text(invalid_milestones(static_cast<invalid_milestones::Cause>(cause), offsets, 1u)),
              "")
        << cause;
  }
}

TEST(InvalidBusStops, CausesHaveTheirValues) {
  EXPECT_EQ(static_cast<int>(invalid_bus_stops::less_than_two_bus_stops), 0);
  EXPECT_EQ(static_cast<int>(invalid_bus_stops::negative_offsets), 1);
  EXPECT_EQ(static_cast<int>(invalid_bus_stops::decreasing_offsets), 2);
  EXPECT_EQ(static_cast<int>(invalid_bus_stops::bus_stops_out_of_range), 3);
}

TEST(InvalidBusStops, LessThanTwo) {
  const invalid_bus_stops::Cause cause = invalid_bus_stops::less_than_two_bus_stops;
  EXPECT_EQ(text(invalid_bus_stops(cause, Offsets{5.0})),
            "Invalid bus stops: number of bus stops=1 (less than 2)\n");
  EXPECT_EQ(text(invalid_bus_stops(cause, Offsets{})),
            "Invalid bus stops: number of bus stops=0 (less than 2)\n");
}

TEST(InvalidBusStops, Negative) {
  EXPECT_EQ(text(invalid_bus_stops(invalid_bus_stops::negative_offsets, Offsets{-5.125, 10.0})),
            "Invalid bus stops: first offset is negative (-5.125)\n");
}

TEST(InvalidBusStops, DecreasingNamesTheFirstPairThatDoesNotIncrease) {
  const invalid_bus_stops::Cause cause = invalid_bus_stops::decreasing_offsets;
  EXPECT_EQ(text(invalid_bus_stops(cause, Offsets{0.0, 100.0, 100.0, 50.0})),
            "Invalid bus stops: decreasing offsets (offsets[1]=100, offsets[2]=100)\n");
  EXPECT_EQ(text(invalid_bus_stops(cause, Offsets{0.0, 100.0, 200.0, 1e6})),
            "Invalid bus stops: decreasing offsets (offsets[0]=0, offsets[1]=100)\n");
  EXPECT_EQ(text(invalid_bus_stops(cause, Offsets{0.0, 1e6, 50.5})),
            "Invalid bus stops: decreasing offsets (offsets[1]=1e+06, offsets[2]=50.5)\n");
}

TEST(InvalidBusStops, OutOfRange) {
  EXPECT_EQ(
      text(
          invalid_bus_stops(invalid_bus_stops::bus_stops_out_of_range, Offsets{0.0, 100.5}, 50.25)),
      "Invalid bus stops: bus stops out of range (last offset=100.5, last milestone=50.25)\n");
}

TEST(InvalidBusStops, ACauseThatAConstructorDoesNotServeHasNoText) {
  const Offsets offsets = {0.0, 1.0};
  for (const int cause : {3, 4, -1}) {
    EXPECT_EQ(text(invalid_bus_stops(static_cast<invalid_bus_stops::Cause>(cause), offsets)), "")
        << cause;
  }
  for (const int cause : {0, 1, 2, 4}) {
    EXPECT_EQ(text(invalid_bus_stops(static_cast<invalid_bus_stops::Cause>(cause), offsets, 1.0)),
              "")
        << cause;
  }
}

TEST(InvalidHistory, CausesHaveTheirValues) {
  EXPECT_EQ(static_cast<int>(invalid_history::less_than_two_milestones), 0);
  EXPECT_EQ(static_cast<int>(invalid_history::decreasing_time_stamps), 1);
  EXPECT_EQ(static_cast<int>(invalid_history::incompatible_with_history), 2);
  EXPECT_EQ(static_cast<int>(invalid_history::incompatible_with_milestones), 3);
}

TEST(InvalidHistory, LessThanTwoSpeaksOfMilestones) {
  const invalid_history::Cause cause = invalid_history::less_than_two_milestones;
  EXPECT_EQ(text(invalid_history(cause, Times{5})),
            "Invalid history: length of milestones=1 (less than 2)\n");
  EXPECT_EQ(text(invalid_history(cause, Times{})),
            "Invalid history: length of milestones=0 (less than 2)\n");
}

TEST(InvalidHistory, DecreasingNamesTheFirstPairThatDecreases) {
  const invalid_history::Cause cause = invalid_history::decreasing_time_stamps;
  EXPECT_EQ(text(invalid_history(cause, Times{100, 200, 150})),
            "Invalid history: decreasing time stamps (trajectory[1]=200, trajectory[2]=150)\n");
  EXPECT_EQ(text(invalid_history(cause, Times{100, 100, 99, 1})),
            "Invalid history: decreasing time stamps (trajectory[1]=100, trajectory[2]=99)\n");
  EXPECT_EQ(text(invalid_history(cause, Times{2147483647, -2147483647 - 1})),
            "Invalid history: decreasing time stamps (trajectory[0]=2147483647, "
            "trajectory[1]=-2147483648)\n");
}

TEST(InvalidHistory, DecreasingOfOrderedDataNamesTheFirstPair) {
  EXPECT_EQ(text(invalid_history(invalid_history::decreasing_time_stamps, Times{100, 100, 200})),
            "Invalid history: decreasing time stamps (trajectory[0]=100, trajectory[1]=100)\n");
}

TEST(InvalidHistory, IncompatibleWithHistory) {
  EXPECT_EQ(text(invalid_history(invalid_history::incompatible_with_history, Times{1, 2, 3}, 4u)),
            "Invalid history: incompatible with previous trajectories (length of new trajectory=3, "
            "length of previous trajectories=4)\n");
}

TEST(InvalidHistory, IncompatibleWithMilestones) {
  EXPECT_EQ(
      text(invalid_history(invalid_history::incompatible_with_milestones, Times{1, 2, 3}, 4u)),
      "Invalid history: incompatible with milestones (length of historical trajectory=3, number "
      "of milestones=4)\n");
}

TEST(InvalidHistory, ACauseThatAConstructorDoesNotServeHasNoText) {
  const Times times = {1, 2};
  for (const int cause : {2, 3, 4, -1}) {
    EXPECT_EQ(text(invalid_history(static_cast<invalid_history::Cause>(cause), times)), "")
        << cause;
  }
  for (const int cause : {0, 1, 4, -1}) {
    EXPECT_EQ(text(invalid_history(static_cast<invalid_history::Cause>(cause), times, 2u)), "")
        << cause;
  }
}

// A text is asked for by a cause that the list is too short for: nothing is read behind the list.
TEST(DataErrors, ListsTooShortForTheirCauseAreNotReadPastTheirEnd) {
  EXPECT_EQ(text(invalid_milestones(invalid_milestones::negative_milestones, Offsets{})).back(),
            '\n');
  EXPECT_EQ(
      text(invalid_milestones(invalid_milestones::decreasing_milestones, Offsets{1.0})).back(),
      '\n');
  EXPECT_EQ(
      text(invalid_milestones(invalid_milestones::bus_stops_out_of_range, Offsets{}, 1.0)).back(),
      '\n');
  EXPECT_EQ(text(invalid_bus_stops(invalid_bus_stops::negative_offsets, Offsets{})).back(), '\n');
  EXPECT_EQ(text(invalid_bus_stops(invalid_bus_stops::decreasing_offsets, Offsets{})).back(), '\n');
  EXPECT_EQ(
      text(invalid_bus_stops(invalid_bus_stops::bus_stops_out_of_range, Offsets{}, 1.0)).back(),
      '\n');
  EXPECT_EQ(text(invalid_history(invalid_history::decreasing_time_stamps, Times{1})).back(), '\n');
}

template <class Error>
class DataError : public testing::Test {};

struct MilestonesCase {
  typedef invalid_milestones Error;
  static Error make() { return Error(Error::less_than_two_milestones, Offsets{5.0}); }
  static std::string text() { return "Invalid milestones: number of milestones=1 (less than 2)\n"; }
};

struct BusStopsCase {
  typedef invalid_bus_stops Error;
  static Error make() { return Error(Error::less_than_two_bus_stops, Offsets{5.0}); }
  static std::string text() { return "Invalid bus stops: number of bus stops=1 (less than 2)\n"; }
};

struct HistoryCase {
  typedef invalid_history Error;
  static Error make() { return Error(Error::less_than_two_milestones, Times{5}); }
  static std::string text() { return "Invalid history: length of milestones=1 (less than 2)\n"; }
};

typedef testing::Types<MilestonesCase, BusStopsCase, HistoryCase> DataErrors;
TYPED_TEST_SUITE(DataError, DataErrors, );

TYPED_TEST(DataError, WhatIsNotConstAndHidesThatOfTheStandardBase) {
  typedef typename TypeParam::Error Error;
  EXPECT_TRUE((std::is_same<decltype(&Error::what), const char* (Error::*)()>::value));
  EXPECT_TRUE((std::is_convertible<Error*, std::exception*>::value));
}

TYPED_TEST(DataError, CaughtAsTheStandardBaseItHasTheGenericText) {
  try {
    throw TypeParam::make();
  } catch (std::exception& error) {
    EXPECT_STREQ(error.what(), std::exception().what());
  }
}

TYPED_TEST(DataError, CaughtAsItselfItHasItsOwnText) {
  try {
    throw TypeParam::make();
  } catch (typename TypeParam::Error& error) {
    EXPECT_EQ(error.what(), TypeParam::text());
    EXPECT_EQ(error.what(), TypeParam::text()) << "a second time";
  }
}

TYPED_TEST(DataError, WhatIsVirtual) {
  struct Relabelled : TypeParam::Error {
    Relabelled() : TypeParam::Error(TypeParam::make()) {}
    const char* what() override { return "relabelled"; }
  };
  Relabelled relabelled;
  typename TypeParam::Error& error = relabelled;
  EXPECT_STREQ(error.what(), "relabelled");
}

TYPED_TEST(DataError, CopyingCopiesTheText) {
  typedef typename TypeParam::Error Error;
  Error original = TypeParam::make();
  Error copy(original);
  EXPECT_EQ(copy.what(), TypeParam::text());
  EXPECT_NE(copy.what(), original.what()) << "a text of its own";
  Error assigned(static_cast<typename Error::Cause>(99), {});
  EXPECT_STREQ(assigned.what(), "");
  assigned = original;
  EXPECT_EQ(assigned.what(), TypeParam::text());
}

TYPED_TEST(DataError, DestructorIsVirtual) {
  EXPECT_TRUE(std::has_virtual_destructor<typename TypeParam::Error>::value);
}

}  // namespace
