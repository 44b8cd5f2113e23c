#include "ForecastAlgorithm.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "ExposedAlgorithm.h"
#include "VirtualSlot.h"
#include "support/RecordedLog.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const double not_a_number = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();
const long long earliest = std::numeric_limits<long long>::min();
const long long latest = std::numeric_limits<long long>::max();
const unsigned int reset_index = 4294967295u;

static_assert(std::has_virtual_destructor<ForecastAlgorithm>::value,
              "an algorithm is destroyed through its base");

class ForecastAlgorithmTest : public AlgorithmTest {
 protected:
  long long start_time() const { return algorithm.compute_start_time(&vehicle, &history, 3); }

  RecordedLog log;
  Exposed<ForecastAlgorithm> algorithm{&forecast, &route, {"not used"}, {1.0, 2.0}};
};

// The rounding rule.

TEST_F(ForecastAlgorithmTest, RoundsHalvesUp) {
  EXPECT_EQ(algorithm.round(1049.5), 1050);
  EXPECT_EQ(algorithm.round(0.5), 1);
  EXPECT_EQ(algorithm.round(1.5), 2);
  EXPECT_EQ(algorithm.round(-0.5), 0);
  EXPECT_EQ(algorithm.round(-1.5), -1);
  EXPECT_EQ(algorithm.round(-2.5), -2);
}

TEST_F(ForecastAlgorithmTest, RoundsToTheNearest) {
  EXPECT_EQ(algorithm.round(0.0), 0);
  EXPECT_EQ(algorithm.round(-0.0), 0);
  EXPECT_EQ(algorithm.round(1049.49), 1049);
  EXPECT_EQ(algorithm.round(1049.51), 1050);
  EXPECT_EQ(algorithm.round(-2.49), -2);
  EXPECT_EQ(algorithm.round(-2.51), -3);
  EXPECT_EQ(algorithm.round(-0.51), -1);
}

TEST_F(ForecastAlgorithmTest, RoundsTheSumWithOneHalfAndNotTheValue) {
  EXPECT_EQ(algorithm.round(0.49999999999999994), 1);
  EXPECT_EQ(algorithm.round(9007199254740991.0), 9007199254740992);
  EXPECT_EQ(algorithm.round(4503599627370497.0), 4503599627370498);
}

TEST_F(ForecastAlgorithmTest, RoundsValuesOutOfRangeToTheSmallest) {
  EXPECT_EQ(algorithm.round(9223372036854774784.0), 9223372036854774784);
  EXPECT_EQ(algorithm.round(9223372036854775808.0), earliest);
  EXPECT_EQ(algorithm.round(-9223372036854775808.0), earliest);
  EXPECT_EQ(algorithm.round(-9223372036854774784.0), -9223372036854774784);
  EXPECT_EQ(algorithm.round(-9223372036854777856.0), earliest);
  EXPECT_EQ(algorithm.round(1e300), earliest);
  EXPECT_EQ(algorithm.round(infinity), earliest);
  EXPECT_EQ(algorithm.round(-infinity), earliest);
  EXPECT_EQ(algorithm.round(not_a_number), earliest);
}

// The start time.

TEST_F(ForecastAlgorithmTest, StartTimeWithoutMilestonesIsTheFirstTime) {
  history.push_back({0, 100});
  report(50.0, 1000);
  report(60.0, 1100);
  EXPECT_EQ(start_time(), 1000);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ForecastAlgorithmTest, StartTimeWithoutHistoryIsTheFirstTime) {
  route.read_milestones({0.0, 100.0});
  report(50.0, 1000);
  report(60.0, 1100);
  EXPECT_EQ(algorithm.compute_start_time(&vehicle, nullptr, 3), 1000);
  EXPECT_EQ(start_time(), 1000);
}

TEST_F(ForecastAlgorithmTest, StartTimeWithoutHistoryDoesNotLookAtTheRoute) {
  route.read_milestones({0.0, 100.0});
  report(500.0, 1000);
  EXPECT_EQ(algorithm.compute_start_time(&vehicle, nullptr, 3), 1000);
  EXPECT_EQ(start_time(), 1000);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ForecastAlgorithmTest, StartTimeIsTheFirstTimeLessTheMeanHistoricalTimeThere) {
  route.read_milestones({0.0, 100.0, 300.0});
  history.push_back({0, 40, 100});
  history.push_back({10, 60, 140});
  report(200.0, 1000);
  report(300.0, 1100);
  EXPECT_EQ(start_time(), 1000 - (70 + 100) / 2);
}

TEST_F(ForecastAlgorithmTest, StartTimeOnTheLastMilestoneIsThere) {
  route.read_milestones({0.0, 100.0, 300.0});
  history.push_back({0, 40, 100});
  report(300.0, 1000);
  EXPECT_EQ(start_time(), 900);
}

TEST_F(ForecastAlgorithmTest, StartTimeTruncatesTheMeanTowardsZero) {
  route.read_milestones({0.0, 400.0});
  history.push_back({0, 43});
  report(100.0, 1000);
  EXPECT_EQ(start_time(), 1000 - 10);
}

TEST_F(ForecastAlgorithmTest, StartTimeTruncatesANegativeMeanTowardsZero) {
  route.read_milestones({0.0, 400.0});
  history.push_back({0, -23});
  report(100.0, 1000);
  EXPECT_EQ(start_time(), 1000 + 5);
}

TEST_F(ForecastAlgorithmTest, StartTimeTruncatesTheMeanAndNotItsTerms) {
  route.read_milestones({0.0, 100.0});
  history.push_back({0, 10});
  history.push_back({0, 11});
  history.push_back({0, 11});
  report(100.0, 1000);
  EXPECT_EQ(start_time(), 1000 - 10);
  history.push_back({0, 12});
  EXPECT_EQ(start_time(), 1000 - 11);
  report(50.0, 990);
  EXPECT_EQ(start_time(), 990 - 5);
}

TEST_F(ForecastAlgorithmTest, StartTimeBeforeTheFirstMilestoneIsTheFirstTime) {
  route.read_milestones({20.0, 100.0});
  history.push_back({30, 100});
  report(10.0, 1000);
  EXPECT_EQ(start_time(), 1000);
}

TEST_F(ForecastAlgorithmTest, StartTimeAtNotANumberIsTheFirstTime) {
  route.read_milestones({0.0, 100.0});
  history.push_back({30, 100});
  report(not_a_number, 1000);
  EXPECT_EQ(start_time(), 1000);
}

TEST_F(ForecastAlgorithmTest, StartTimeOffTheRouteIsRefusedByTheRoute) {
  route.read_milestones({0.0, 100.0});
  history.push_back({0, 100});
  report(100.5, 1000);
  EXPECT_THROW(start_time(), std::invalid_argument);
  EXPECT_THAT(log.lines(),
              ElementsAre("error BusRoute::get_interpolation_parameters KWXBN0020E %e%e%e%lld "
                          "(100.5, 0, 100, 17)"));
}

TEST_F(ForecastAlgorithmTest, StartTimeWraps) {
  route.read_milestones({0.0, 100.0});
  history.push_back({0, 1});
  report(100.0, earliest);
  EXPECT_EQ(start_time(), latest);
}

TEST_F(ForecastAlgorithmTest, StartTimeWrapsUpwards) {
  route.read_milestones({0.0, 100.0});
  history.push_back({0, -1});
  report(100.0, latest);
  EXPECT_EQ(start_time(), earliest);
}

TEST_F(ForecastAlgorithmTest, StartTimeDoesNotDependOnTheCategory) {
  route.read_milestones({0.0, 100.0});
  history.push_back({0, 40});
  report(100.0, 1000);
  EXPECT_EQ(algorithm.compute_start_time(&vehicle, &history, -1), 960);
  EXPECT_EQ(algorithm.compute_start_time(&vehicle, &history, 32767), 960);
}

// The whole computation: guards, quality, confidence.

TEST_F(ForecastAlgorithmTest, WithoutMilestonesTheRecordStaysButForQualityAndConfidence) {
  forecast.initialize("arrival");
  read_stops({50.0, 100.0});
  forecast.set_quality(0.25);
  forecast.set_confidence(0.75);
  history.push_back({0, 100});
  report(60.0, 1000);
  algorithm.compute_forecast(&vehicle, &history, 3);
  EXPECT_THAT(log.lines(), ElementsAre("info ForecastAlgorithm::compute_forecast KWXBN0028I"));
  EXPECT_EQ(forecast.get_quality(), 1.0);
  EXPECT_EQ(forecast.get_confidence(), 0.0);
  EXPECT_EQ(forecast.get_first_index(), 99u);
  EXPECT_THAT(rows(), ElementsAre(untouched(), untouched()));
}

TEST_F(ForecastAlgorithmTest, WithoutHistoryTheRecordIsReset) {
  forecast.initialize("arrival");
  route.read_milestones({0.0, 100.0});
  read_stops({50.0, 100.0});
  forecast.set_quality(0.25);
  forecast.set_confidence(0.75);
  report(60.0, 1000);
  algorithm.compute_forecast(&vehicle, nullptr, 3);
  EXPECT_THAT(log.lines(), ElementsAre("info ForecastAlgorithm::compute_forecast KWXBN0027I"));
  EXPECT_EQ(forecast.get_quality(), 1.0);
  EXPECT_EQ(forecast.get_confidence(), 0.0);
  EXPECT_EQ(forecast.get_first_index(), reset_index);
  EXPECT_THAT(rows(), ElementsAre(untouched(), untouched()));
}

TEST_F(ForecastAlgorithmTest, AnEmptyHistoryIsNoHistory) {
  forecast.initialize("travel");
  route.read_milestones({0.0, 100.0});
  read_stops({50.0, 100.0});
  forecast.set_quality(0.25);
  forecast.set_confidence(0.75);
  report(60.0, 1000);
  algorithm.compute_forecast(&vehicle, &history, 3);
  EXPECT_THAT(log.lines(), ElementsAre("info ForecastAlgorithm::compute_forecast KWXBN0027I"));
  EXPECT_EQ(forecast.get_quality(), 1.0);
  EXPECT_EQ(forecast.get_confidence(), 0.0);
  EXPECT_EQ(forecast.get_first_index(), reset_index);
  EXPECT_THAT(rows(), ElementsAre(untouched()));
}

TEST_F(ForecastAlgorithmTest, WithoutMilestonesAndHistoryOnlyTheMilestonesAreMissed) {
  report(60.0, 1000);
  forecast.set_first_index(99);
  algorithm.compute_forecast(&vehicle, nullptr, 3);
  EXPECT_THAT(log.lines(), ElementsAre("info ForecastAlgorithm::compute_forecast KWXBN0028I"));
  EXPECT_EQ(forecast.get_first_index(), 99u);
}

TEST_F(ForecastAlgorithmTest, ConfidenceGrowsWithTheNumberOfTrajectories) {
  forecast.initialize("arrival");
  route.read_milestones({0.0, 100.0});
  report(60.0, 1000);
  const double expected[] = {1.0 - 1.0 / std::sqrt(2.0),
                             1.0 - 1.0 / std::sqrt(3.0),
                             0.5,
                             1.0 - 1.0 / std::sqrt(5.0),
                             1.0 - 1.0 / std::sqrt(6.0),
                             1.0 - 1.0 / std::sqrt(7.0),
                             1.0 - 1.0 / std::sqrt(8.0),
                             1.0 - 1.0 / 3.0};
  for (const double confidence : expected) {
    history.push_back({0, 100});
    forecast.set_quality(0.25);
    algorithm.compute_forecast(&vehicle, &history, 3);
    EXPECT_EQ(forecast.get_confidence(), confidence);
    EXPECT_EQ(forecast.get_quality(), 1.0);
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(ForecastAlgorithmTest, TheBaseForecastsNothing) {
  for (const std::string mode : {"arrival", "travel"}) {
    forecast.initialize(mode);
    route.read_milestones({0.0, 300.0});
    read_stops({50.0, 100.0, 200.0});
    history.push_back({0, 100});
    report(60.0, 1000);
    algorithm.compute_forecast(&vehicle, &history, 3);
    algorithm.forecast_arrival_times(&vehicle, &history, 3);
    algorithm.forecast_travel_times(&vehicle, &history, 3);
    EXPECT_EQ(forecast.get_first_index(), 99u);
    EXPECT_THAT(rows(), Each(untouched()));
  }
}

// What a method overrides.

/// Writes down which of its operations are called, and with what.
class Scripted : public Exposed<ForecastAlgorithm> {
 public:
  using Exposed<ForecastAlgorithm>::Exposed;

  unsigned int initialize_arrival_times(const Vehicle*) override {
    calls.push_back("initialize_arrival_times");
    _forecast->set_first_index(77);
    return next_stop;
  }
  unsigned int initialize_travel_times(const Vehicle*) override {
    calls.push_back("initialize_travel_times");
    return next_stop;
  }
  using Exposed<ForecastAlgorithm>::forecast_arrival_times;
  using Exposed<ForecastAlgorithm>::forecast_travel_times;
  void forecast_arrival_times(const Vehicle* vehicle, const History* history,
                              category_t category) override {
    write_down("arrival", vehicle, history, category);
    if (then_travels) _forecast->initialize("travel");
    if (fails) throw std::runtime_error("the method failed");
  }
  void forecast_travel_times(const Vehicle* vehicle, const History* history,
                             category_t category) override {
    write_down("travel", vehicle, history, category);
    if (then_arrives) _forecast->initialize("arrival");
  }

  std::vector<std::string> calls;
  const Vehicle* expected_vehicle = nullptr;
  const History* expected_history = nullptr;
  unsigned int next_stop = 0;
  bool then_travels = false;
  bool then_arrives = false;
  bool fails = false;

 private:
  void write_down(const char* mode, const Vehicle* vehicle, const History* history,
                  category_t category) {
    EXPECT_EQ(vehicle, expected_vehicle);
    EXPECT_EQ(history, expected_history);
    calls.push_back(std::string(mode) + " " + std::to_string(category) + " quality " +
                    std::to_string(static_cast<int>(_forecast->get_quality())) + " confidence " +
                    std::to_string(static_cast<int>(_forecast->get_confidence())));
  }
};

class MethodTest : public AlgorithmTest {
 protected:
  void SetUp() override {
    route.read_milestones({0.0, 300.0});
    history.push_back({0, 100});
    history.push_back({0, 100});
    history.push_back({0, 100});
    report(60.0, 1000);
    forecast.initialize("arrival");
    forecast.set_quality(9.0);
    forecast.set_confidence(8.0);
    method.expected_vehicle = &vehicle;
    method.expected_history = &history;
  }

  RecordedLog log;
  Scripted method{&forecast, &route, {}, {}};
  ForecastAlgorithm& algorithm = method;
};

TEST_F(MethodTest, ArrivalModeCallsTheArrivalsOfTheMethod) {
  algorithm.compute_forecast(&vehicle, &history, -5);
  EXPECT_THAT(method.calls, ElementsAre("arrival -5 quality 1 confidence 8"));
  EXPECT_EQ(forecast.get_confidence(), 0.5);
}

TEST_F(MethodTest, TravelModeCallsTheTravelsOfTheMethod) {
  forecast.initialize("travel");
  algorithm.compute_forecast(&vehicle, &history, 12);
  EXPECT_THAT(method.calls, ElementsAre("travel 12 quality 1 confidence 8"));
  EXPECT_EQ(forecast.get_confidence(), 0.5);
}

TEST_F(MethodTest, TheModeIsReadAgainAfterTheArrivals) {
  method.then_travels = true;
  algorithm.compute_forecast(&vehicle, &history, 12);
  EXPECT_THAT(method.calls,
              ElementsAre("arrival 12 quality 1 confidence 8", "travel 12 quality 1 confidence 8"));
}

TEST_F(MethodTest, TheModeIsNotReadAgainAfterTheTravels) {
  forecast.initialize("travel");
  method.then_arrives = true;
  algorithm.compute_forecast(&vehicle, &history, 12);
  EXPECT_THAT(method.calls, ElementsAre("travel 12 quality 1 confidence 8"));
}

TEST_F(MethodTest, GuardsComeBeforeTheMethod) {
  algorithm.compute_forecast(&vehicle, nullptr, 12);
  route.remove_milestones();
  algorithm.compute_forecast(&vehicle, &history, 12);
  EXPECT_THAT(method.calls, IsEmpty());
  EXPECT_THAT(log.lines(), ElementsAre("info ForecastAlgorithm::compute_forecast KWXBN0027I",
                                       "info ForecastAlgorithm::compute_forecast KWXBN0028I"));
}

TEST_F(MethodTest, AnExceptionOfTheMethodPassesAndLeavesTheConfidence) {
  method.fails = true;
  EXPECT_THROW(algorithm.compute_forecast(&vehicle, &history, 12), std::runtime_error);
  EXPECT_EQ(forecast.get_quality(), 1.0);
  EXPECT_EQ(forecast.get_confidence(), 8.0);
}

TEST_F(MethodTest, FillsWithoutAMethodCallTheArrivalInitializationOfTheMethod) {
  read_stops({0.0, 100.0, 200.0, 300.0});
  method.next_stop = 2;
  method.forecast_arrival_times(&vehicle);
  EXPECT_THAT(method.calls, ElementsAre("initialize_arrival_times"));
  EXPECT_EQ(forecast.get_first_index(), 2u);
  EXPECT_THAT(rows(), ElementsAre(untouched(), untouched(), Row{0, 0, latest}, Row{0, 0, latest}));
  method.calls.clear();
  read_stops({0.0, 100.0, 200.0, 300.0});
  method.forecast_travel_times(&vehicle);
  EXPECT_THAT(method.calls, ElementsAre("initialize_arrival_times"));
  EXPECT_EQ(forecast.get_first_index(), 1u);
  EXPECT_THAT(rows(), ElementsAre(untouched(), Row{0, 0, latest}, Row{0, 0, latest}, untouched()));
}

/// Overrides everything that the other one does not.
class Replaced : public ForecastAlgorithm {
 public:
  using ForecastAlgorithm::ForecastAlgorithm;
  ~Replaced() override { *destroyed = true; }

  long long compute_start_time(const Vehicle*, const History*, category_t) const override {
    return 4711;
  }
  void compute_forecast(const Vehicle*, const History*, category_t) override {
    _forecast->set_first_index(42);
  }

  bool* destroyed = nullptr;

 protected:
  void forecast_arrival_times(const Vehicle*) override {}
  void forecast_travel_times(const Vehicle*) override {}
};

TEST_F(MethodTest, StartTimeForecastAndDestructorAreVirtual) {
  bool destroyed = false;
  auto* const replaced = new Replaced(&forecast, &route, {}, {});
  replaced->destroyed = &destroyed;
  ForecastAlgorithm* const base = replaced;
  EXPECT_EQ(base->compute_start_time(&vehicle, &history, 3), 4711);
  base->compute_forecast(&vehicle, &history, 3);
  EXPECT_EQ(forecast.get_first_index(), 42u);
  delete base;
  EXPECT_TRUE(destroyed);
}

#if defined(QIV_TEST_ITANIUM_ABI)
template <class Algorithm>
std::vector<std::size_t> slots() {
  using A = Exposed<Algorithm>;
  using Fill = void (ForecastAlgorithm::*)(const Vehicle*);
  using Base = Exposed<ForecastAlgorithm>;
  using Method = void (Algorithm::*)(const Vehicle*, const History*, category_t);
  const Fill fill_arrivals = &Base::forecast_arrival_times;
  const Fill fill_travels = &Base::forecast_travel_times;
  const Method arrivals = &A::forecast_arrival_times;
  const Method travels = &A::forecast_travel_times;
  return {slot_of(&A::compute_start_time),
          slot_of(&A::compute_forecast),
          slot_of(&A::initialize_arrival_times),
          slot_of(&A::initialize_travel_times),
          slot_of(fill_arrivals),
          slot_of(fill_travels),
          slot_of(arrivals),
          slot_of(travels)};
}

TEST(ForecastAlgorithmAbi, VirtualOperationsStandInTheirOrderBehindTheDestructors) {
  EXPECT_THAT(slots<ForecastAlgorithm>(), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
  EXPECT_THAT(slots<KernelRegression>(), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
}
#endif

}  // namespace
