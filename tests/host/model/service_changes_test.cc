#include "model/service_changes.h"

#include <gtest/gtest.h>

namespace qiv {
namespace {

TEST(ServiceChanges, FindTheChangeOfATripOnItsDay) {
  const ServiceDate day = *ServiceDate::parse("20251007");
  ServiceChanges changes;
  changes.trips[{TripId("T"), day, Seconds(0)}].canceled = true;
  ASSERT_NE(changes.find({TripId("T"), day, Seconds(0)}), nullptr);
  EXPECT_TRUE(changes.find({TripId("T"), day, Seconds(0)})->canceled);
  EXPECT_EQ(changes.find({TripId("T"), day + std::chrono::days(1), Seconds(0)}), nullptr);
}

TEST(ServiceChanges, KnowWhichTripsAreAdded) {
  ServiceChanges changes;
  for (const char* name : {"extra 1", "extra 2"}) {
    changes.added.emplace_back();
    changes.added.back().trip = TripId(name);
  }
  EXPECT_TRUE(changes.is_added(TripId("extra 2")));
  EXPECT_FALSE(changes.is_added(TripId("extra 3")));
  EXPECT_FALSE(changes.is_added(TripId("")));
}

}  // namespace
}  // namespace qiv
