#ifndef QIV_TESTS_DIFFERENTIAL_PROPERTY_H
#define QIV_TESTS_DIFFERENTIAL_PROPERTY_H

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "gtest/gtest.h"
#include "rapidcheck.h"

namespace differential {

/// The number in the environment variable `name`, or `otherwise`.
inline std::uint64_t setting(const char* name, std::uint64_t otherwise) {
  const char* value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoull(value, nullptr, 10);
}

/// Tries the property on `cases` random cases, and fails the test with the smallest case that it
/// finds to break it. The cases are the same in every run, unless QIV_PROPERTY_SEED chooses others
/// or QIV_PROPERTY_FACTOR multiplies them.
template <class Property>
void check(int cases, Property property) {
  rc::detail::TestParams params;
  params.seed = setting("QIV_PROPERTY_SEED", 20240501);
  params.maxSuccess = cases * static_cast<int>(setting("QIV_PROPERTY_FACTOR", 1));
  // RapidCheck prints the seed of its own configuration.
  setenv("RC_PARAMS", ("seed=" + std::to_string(params.seed)).c_str(), 1);
  rc::detail::TestMetadata metadata;
  metadata.id = testing::UnitTest::GetInstance()->current_test_info()->name();
  const rc::detail::TestResult result = rc::detail::checkTestable(property, metadata, params);
  if (result.template is<rc::detail::SuccessResult>()) return;
  std::ostringstream report;
  rc::detail::printResultMessage(result, report);
  ADD_FAILURE() << "QIV_PROPERTY_SEED=" << params.seed << "\n" << report.str();
}

}  // namespace differential

#endif  // QIV_TESTS_DIFFERENTIAL_PROPERTY_H
