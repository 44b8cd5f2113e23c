#include "model/service_alert.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

Instant at(long long s) {
  return from_unix_seconds(s);
}

TEST(ServiceAlert, IsActiveFromTheBeginningOfAPeriodUntilBeforeItsEnd) {
  ServiceAlert alert;
  alert.periods = {{at(100), at(200)}, {at(300), Instant::max()}};
  EXPECT_FALSE(alert.is_active(at(99)));
  EXPECT_TRUE(alert.is_active(at(100)));
  EXPECT_TRUE(alert.is_active(at(199)));
  EXPECT_FALSE(alert.is_active(at(200)));
  EXPECT_TRUE(alert.is_active(at(301)));
}

TEST(ServiceAlert, IsActiveAlwaysWithoutPeriods) {
  EXPECT_TRUE(ServiceAlert().is_active(at(0)));
}

TEST(ServiceAlert, EffectsHaveTheNamesOfTheStandard) {
  EXPECT_STREQ(to_string(AlertEffect::no_service), "no_service");
  EXPECT_STREQ(to_string(AlertEffect::accessibility_issue), "accessibility_issue");
}

}  // namespace
}  // namespace qiv
