#include <gtest/gtest.h>

#include <exception>
#include <limits>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "TestJourney.h"

namespace {

/// What making a journey throws: "type: text", with the name of a standard type, or "made".
std::string making(const Configuration& configuration) {
  try {
    TestJourney journey(configuration);
  } catch (const std::invalid_argument& error) {
    return std::string("invalid_argument: ") + error.what();
  } catch (const std::exception& error) {
    return typeid(error) == typeid(std::exception) ? "exception" : typeid(error).name();
  }
  return "made";
}

/// The same, with what is written to the standard error stream behind.
std::string making_with_output(const Configuration& configuration) {
  testing::internal::CaptureStderr();
  const std::string result = making(configuration);
  return result + " | " + testing::internal::GetCapturedStderr();
}

TEST(MakingAJourney, TakesTheValidConfiguration) {
  Configuration configuration;
  EXPECT_EQ(making_with_output(configuration), "made | ");
  configuration.mode = "travel";
  configuration.replacement_strategy = "random";
  configuration.string_parameter = {"not", "used"};
  configuration.double_parameter = {0.5, -1.0, 0.0};
  configuration.max_size_history = 4294967295u;
  EXPECT_EQ(making_with_output(configuration), "made | ");
}

TEST(MakingAJourney, RejectsAnyOtherMethod) {
  Configuration configuration;
  for (const char* const method :
       {"kernelregression", "KernelRegression ", " KernelRegression", "Kernel", "", "Mean"}) {
    configuration.method = method;
    EXPECT_EQ(making_with_output(configuration),
              std::string("exception | Invalid value of parameter 'method': ") + method + ".\n");
  }
}

TEST(MakingAJourney, RejectsAnyOtherMode) {
  Configuration configuration;
  for (const char* const mode : {"Arrival", "", "TRAVEL", "travel ", "departure"}) {
    configuration.mode = mode;
    EXPECT_EQ(making_with_output(configuration),
              std::string("exception | Invalid value of parameter 'mode': ") + mode + ".\n");
  }
}

TEST(MakingAJourney, RejectsAnyOtherReplacementStrategy) {
  Configuration configuration;
  configuration.replacement_strategy = "LRU";
  EXPECT_EQ(making_with_output(configuration),
            "invalid_argument: Replacement strategy LRU hasn't been implemented yet. | ");
}

TEST(MakingAJourney, RejectsABandwidthThatIsNotPositive) {
  const std::string rejected =
      "exception | parameter 'bandwidth' of KernelRegression needs to be strictly positive.\n";
  Configuration configuration;
  for (const std::vector<double>& parameters :
       {std::vector<double>{0.0}, std::vector<double>{-0.0}, std::vector<double>{-1.0, 5.0},
        std::vector<double>{-std::numeric_limits<double>::infinity()}, std::vector<double>{}}) {
    configuration.double_parameter = parameters;
    EXPECT_EQ(making_with_output(configuration), rejected);
  }
  for (const double bandwidth :
       {std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::quiet_NaN()}) {
    configuration.double_parameter = {bandwidth};
    EXPECT_EQ(making_with_output(configuration), "made | ") << bandwidth;
  }
}

TEST(MakingAJourney, LooksAtStrategyThenModeThenMethodThenParameters) {
  Configuration configuration;
  configuration.double_parameter = {0.0};
  configuration.method = "x";
  EXPECT_EQ(making_with_output(configuration),
            "exception | Invalid value of parameter 'method': x.\n");
  configuration.mode = "y";
  EXPECT_EQ(making_with_output(configuration),
            "exception | Invalid value of parameter 'mode': y.\n");
  configuration.replacement_strategy = "z";
  EXPECT_EQ(making_with_output(configuration),
            "invalid_argument: Replacement strategy z hasn't been implemented yet. | ");
}

}  // namespace
