#include "Forecast.h"

#include <gmock/gmock.h>

#if defined(__linux__)
#include <sys/resource.h>
#endif

#include <cstdlib>
#include <exception>
#include <limits>
#include <new>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "RouteOnJourney.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(Forecast::arrival == 0 && Forecast::travel == 1, "the modes have these values");
static_assert(
    std::is_same<decltype(std::declval<const Forecast&>().size()), unsigned>::value &&
        std::is_same<decltype(std::declval<const Forecast&>().get_first_index()),
                     unsigned>::value &&
        std::is_same<decltype(std::declval<Forecast&>()[0]), Time&>::value &&
        std::is_same<decltype(std::declval<const Forecast&>().get_mode()), Forecast::Mode>::value,
    "the record's operations have these results");
static_assert(std::is_copy_constructible<Time>::value && std::is_copy_assignable<Time>::value,
              "rows are values");

TEST(Time, IsZeroAndUnlabelledByDefault) {
  const Time row;
  EXPECT_EQ(row.get_time(), 0);
  EXPECT_EQ(row.get_lower_confidence_bound(), 0);
  EXPECT_EQ(row.get_upper_confidence_bound(), 0);
  EXPECT_EQ(row.get_conditional_var(), 0.0);
  EXPECT_EQ(row.get_conditional_mean(), 0.0);
  EXPECT_EQ(row.get_stopID(), "");
  EXPECT_EQ(row.get_stopID1(), "");
  EXPECT_EQ(row.get_stopID2(), "");
}

TEST(Time, EveryFieldIsItsOwn) {
  Time row;
  row.set_time(std::numeric_limits<long long>::min());
  row.set_lower_confidence_bound(-2);
  row.set_upper_confidence_bound(std::numeric_limits<long long>::max());
  row.set_conditional_var(4.5);
  row.set_conditional_mean(-5.5);
  row.set_stopID("A");
  row.set_stopID1("B");
  row.set_stopID2("C");
  const Time copy(row);
  Time assigned;
  assigned = copy;
  for (const Time& time : {row, copy, assigned}) {
    EXPECT_EQ(time.get_time(), std::numeric_limits<long long>::min());
    EXPECT_EQ(time.get_lower_confidence_bound(), -2);
    EXPECT_EQ(time.get_upper_confidence_bound(), std::numeric_limits<long long>::max());
    EXPECT_EQ(time.get_conditional_var(), 4.5);
    EXPECT_EQ(time.get_conditional_mean(), -5.5);
    EXPECT_EQ(time.get_stopID(), "A");
    EXPECT_EQ(time.get_stopID1(), "B");
    EXPECT_EQ(time.get_stopID2(), "C");
  }
}

class ForecastTest : public ::testing::Test {
 protected:
  void read_stops(const std::vector<std::string>& stopIDs) {
    std::vector<double> offsets;
    for (std::size_t i = 0; i < stopIDs.size(); ++i) offsets.push_back(10.0 * static_cast<int>(i));
    owner.route.read_bus_stops(offsets, stopIDs);
    forecast.initialize(owner.route);
  }

  /// The labels of the rows, "stop|from>to".
  std::vector<std::string> labels() {
    std::vector<std::string> result;
    for (unsigned int j = 0; j < forecast.size(); ++j) {
      result.push_back(forecast[j].get_stopID() + "|" + forecast[j].get_stopID1() + ">" +
                       forecast[j].get_stopID2());
    }
    return result;
  }

  std::vector<long long> times() {
    std::vector<long long> result;
    for (unsigned int j = 0; j < forecast.size(); ++j) result.push_back(forecast[j].get_time());
    return result;
  }

  /// Fills the numbers of row `j` with five values that are told by `seed`.
  void fill(unsigned int j, int seed) {
    forecast[j].set_time(seed);
    forecast[j].set_lower_confidence_bound(seed - 1);
    forecast[j].set_upper_confidence_bound(seed + 1);
    forecast[j].set_conditional_var(seed + 0.25);
    forecast[j].set_conditional_mean(seed + 0.5);
  }

  void expect_filled(unsigned int j, int seed) {
    EXPECT_EQ(forecast[j].get_time(), seed);
    EXPECT_EQ(forecast[j].get_lower_confidence_bound(), seed - 1);
    EXPECT_EQ(forecast[j].get_upper_confidence_bound(), seed + 1);
    EXPECT_EQ(forecast[j].get_conditional_var(), seed + 0.25);
    EXPECT_EQ(forecast[j].get_conditional_mean(), seed + 0.5);
  }

  RouteOnJourney owner;
  Forecast forecast;
};

TEST_F(ForecastTest, HasNoRowsAtFirst) {
  EXPECT_EQ(forecast.size(), 0u);
  EXPECT_EQ(forecast.get_first_index(), 0u);
}

TEST_F(ForecastTest, KeepsItsNumbers) {
  forecast.set_first_index(7);
  forecast.set_quality(0.25);
  forecast.set_confidence(0.75);
  EXPECT_EQ(forecast.get_first_index(), 7u);
  EXPECT_EQ(forecast.get_quality(), 0.25);
  EXPECT_EQ(forecast.get_confidence(), 0.75);
}

TEST_F(ForecastTest, TakesTheModeByItsName) {
  forecast.initialize("travel");
  EXPECT_EQ(forecast.get_mode(), Forecast::travel);
  forecast.initialize("arrival");
  EXPECT_EQ(forecast.get_mode(), Forecast::arrival);
}

TEST_F(ForecastTest, UnknownModeIsToldOnTheStandardErrorStreamAndThrown) {
  for (const std::string mode : {"Arrival", "", "TRAVEL", "arrival ", " travel", "arriva", "0"}) {
    ::testing::internal::CaptureStderr();
    std::string thrown = "nothing";
    try {
      forecast.initialize(mode);
    } catch (const std::exception& error) {
      thrown = typeid(error).name();
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Invalid value of parameter 'mode': " + mode + ".\n");
    EXPECT_EQ(thrown, typeid(std::exception).name()) << mode;
  }
}

TEST_F(ForecastTest, UnknownModeLeavesTheModeAsItWas) {
  for (const std::string mode : {"travel", "arrival"}) {
    forecast.initialize(mode);
    const Forecast::Mode before = forecast.get_mode();
    ::testing::internal::CaptureStderr();
    EXPECT_THROW(forecast.initialize("Travel"), std::exception);
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(forecast.get_mode(), before);
  }
}

TEST_F(ForecastTest, KnownModeIsTakenSilently) {
  ::testing::internal::CaptureStderr();
  forecast.initialize("travel");
  forecast.initialize("arrival");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(ForecastTest, ArrivalModeHasARowForEveryStop) {
  forecast.initialize("arrival");
  read_stops({"A", "B", "C", "D", "E"});
  EXPECT_THAT(labels(), ElementsAre("A|>", "B|>", "C|>", "D|>", "E|>"));
  EXPECT_THAT(times(), ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(ForecastTest, TravelModeHasARowForEveryLeg) {
  forecast.initialize("travel");
  read_stops({"A", "B", "C", "D", "E"});
  EXPECT_THAT(labels(), ElementsAre("|A>B", "|B>C", "|C>D", "|D>E"));
  EXPECT_THAT(times(), ElementsAre(0, 0, 0, 0));
}

TEST_F(ForecastTest, ArrivalModeWithoutStopsHasNoRows) {
  forecast.initialize("arrival");
  read_stops({"A", "B"});
  read_stops({});
  EXPECT_THAT(labels(), IsEmpty());
}

TEST_F(ForecastTest, TravelModeWithOneStopHasNoRows) {
  forecast.initialize("travel");
  read_stops({"A"});
  EXPECT_THAT(labels(), IsEmpty());
}

TEST_F(ForecastTest, FewerStopsDropRowsFromTheEndAndKeepTheNumbersOfTheOthers) {
  for (const std::string mode : {"arrival", "travel"}) {
    forecast.initialize(mode);
    read_stops({"A", "B", "C", "D", "E"});
    for (unsigned int j = 0; j < forecast.size(); ++j) fill(j, 100 * static_cast<int>(j + 1));
    read_stops({"F", "G", "H"});
    ASSERT_EQ(forecast.size(), mode == "arrival" ? 3u : 2u);
    expect_filled(0, 100);
    expect_filled(1, 200);
    EXPECT_EQ(labels()[1], mode == "arrival" ? "G|>" : "|G>H");
    forecast = Forecast();
  }
}

TEST_F(ForecastTest, MoreStopsAddZeroedRowsAndKeepTheNumbersOfTheOthers) {
  for (const std::string mode : {"arrival", "travel"}) {
    forecast.initialize(mode);
    read_stops({"A", "B", "C", "D"});
    for (unsigned int j = 0; j < forecast.size(); ++j) fill(j, 100 * static_cast<int>(j + 1));
    read_stops({"F", "G"});
    read_stops({"H", "I", "J", "K"});
    const unsigned int kept = mode == "arrival" ? 2 : 1;
    ASSERT_EQ(forecast.size(), kept + 2);
    expect_filled(0, 100);
    for (unsigned int j = kept; j < kept + 2; ++j) {
      EXPECT_EQ(forecast[j].get_time(), 0);
      EXPECT_EQ(forecast[j].get_lower_confidence_bound(), 0);
      EXPECT_EQ(forecast[j].get_upper_confidence_bound(), 0);
      EXPECT_EQ(forecast[j].get_conditional_var(), 0.0);
      EXPECT_EQ(forecast[j].get_conditional_mean(), 0.0);
    }
    EXPECT_EQ(labels().front(), mode == "arrival" ? "H|>" : "|H>I");
    EXPECT_EQ(labels().back(), mode == "arrival" ? "K|>" : "|J>K");
    forecast = Forecast();
  }
}

TEST_F(ForecastTest, NewStopsTouchNeitherFirstIndexNorQualityNorConfidenceNorMode) {
  forecast.initialize("travel");
  forecast.set_first_index(7);
  forecast.set_quality(0.25);
  forecast.set_confidence(0.75);
  read_stops({"A", "B", "C"});
  EXPECT_EQ(forecast.get_first_index(), 7u);
  EXPECT_EQ(forecast.get_quality(), 0.25);
  EXPECT_EQ(forecast.get_confidence(), 0.75);
  EXPECT_EQ(forecast.get_mode(), Forecast::travel);
}

TEST_F(ForecastTest, AnotherModeLeavesTheRowsUntilStopsAreRead) {
  forecast.initialize("arrival");
  read_stops({"A", "B", "C"});
  forecast.initialize("travel");
  EXPECT_THAT(labels(), ElementsAre("A|>", "B|>", "C|>"));
}

TEST_F(ForecastTest, ResetMarksTheRecordAndLeavesTheRest) {
  forecast.initialize("travel");
  read_stops({"A", "B", "C"});
  fill(0, 100);
  fill(1, 200);
  forecast.set_first_index(1);
  forecast.set_quality(0.25);
  forecast.set_confidence(0.75);
  forecast.reset();
  EXPECT_EQ(forecast.get_first_index(), 4294967295u);
  EXPECT_THAT(labels(), ElementsAre("|A>B", "|B>C"));
  expect_filled(0, 100);
  expect_filled(1, 200);
  EXPECT_EQ(forecast.get_quality(), 0.25);
  EXPECT_EQ(forecast.get_confidence(), 0.75);
  EXPECT_EQ(forecast.get_mode(), Forecast::travel);
}

#if defined(__linux__)
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QIV_TEST_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QIV_TEST_SANITIZED
#endif
#endif

/// Exits with 0 when rows for 4294967295 legs cannot be had for want of memory.
[[noreturn]] void ask_for_all_legs_with_little_memory() {
  const rlimit four_gigabytes = {1ULL << 32, 1ULL << 32};
  if (setrlimit(RLIMIT_AS, &four_gigabytes) != 0) std::_Exit(3);
  RouteOnJourney owner;
  Forecast forecast;
  forecast.initialize("travel");
  try {
    forecast.initialize(owner.route);
  } catch (const std::bad_alloc&) {
    std::_Exit(forecast.size() == 0 ? 0 : 4);
  }
  std::_Exit(5);
}

TEST(ForecastDeathTest, TravelModeWithoutStopsFailsWithTheExceptionOfTheAllocator) {
#if defined(QIV_TEST_SANITIZED)
  GTEST_SKIP() << "this sanitizer ends the process at huge allocations";
#endif
  EXPECT_EXIT(ask_for_all_legs_with_little_memory(), ::testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
