#include <gmock/gmock.h>

#include <string>
#include <type_traits>
#include <utility>

#include "Vehicle.h"

namespace {

static_assert(std::is_same<decltype(std::declval<const VehicleJourneyRef&>().get_string()),
                           const std::string&>::value,
              "the joined string is handed out by reference");
static_assert(std::is_same<decltype(std::declval<VehicleJourneyRef&>() =
                                        std::declval<const VehicleJourneyRef&>()),
                           VehicleJourneyRef&>::value,
              "an assignment gives its target");

TEST(VehicleJourneyRef, IsEmptyByDefault) {
  EXPECT_EQ(VehicleJourneyRef().get_string(), "");
  EXPECT_TRUE(VehicleJourneyRef() == VehicleJourneyRef());
  EXPECT_FALSE(VehicleJourneyRef() != VehicleJourneyRef());
  EXPECT_TRUE(VehicleJourneyRef() == VehicleJourneyRef("", ""));
}

TEST(VehicleJourneyRef, JoinedStringRepeatsTheTripInsteadOfTheDataFrame) {
  EXPECT_EQ(VehicleJourneyRef("T17", "2024-05-01").get_string(), "T17@T17");
}

TEST(VehicleJourneyRef, JoinedStringIsTheTripAloneWithoutADataFrame) {
  EXPECT_EQ(VehicleJourneyRef("T17", "").get_string(), "T17");
}

TEST(VehicleJourneyRef, JoinedStringIsTheSignAloneWithADataFrameAndNoTrip) {
  EXPECT_EQ(VehicleJourneyRef("", "2024-05-01").get_string(), "@");
}

TEST(VehicleJourneyRef, EqualStringsMakeEqualReferences) {
  const VehicleJourneyRef one("T17", "2024-05-01");
  const VehicleJourneyRef other("T17", "2024-05-01");
  EXPECT_TRUE(one == other);
  EXPECT_FALSE(one != other);
}

TEST(VehicleJourneyRef, DataFramesTellReferencesApartThatLookAlike) {
  VehicleJourneyRef monday("T17", "2024-05-06");
  VehicleJourneyRef tuesday("T17", "2024-05-07");
  EXPECT_EQ(monday.get_string(), tuesday.get_string());
  EXPECT_FALSE(monday == tuesday);
  EXPECT_TRUE(monday != tuesday);
}

TEST(VehicleJourneyRef, TripsTellReferencesApart) {
  EXPECT_TRUE(VehicleJourneyRef("T17", "F") != VehicleJourneyRef("T18", "F"));
  EXPECT_TRUE(VehicleJourneyRef("T17", "") != VehicleJourneyRef("", "T17"));
  EXPECT_TRUE(VehicleJourneyRef("T17", "") != VehicleJourneyRef());
}

TEST(VehicleJourneyRef, ComparesTheReferencesAndNotTheJoinedStrings) {
  const VehicleJourneyRef joined("T17@T17", "");
  const VehicleJourneyRef pair("T17", "F");
  EXPECT_EQ(joined.get_string(), pair.get_string());
  EXPECT_FALSE(joined == pair);
}

TEST(VehicleJourneyRef, AssignmentTakesBothPartsAndTheJoinedString) {
  const VehicleJourneyRef source("T17", "2024-05-01");
  VehicleJourneyRef target("T18", "");
  EXPECT_EQ(&(target = source), &target);
  EXPECT_TRUE(target == source);
  EXPECT_EQ(target.get_string(), "T17@T17");
}

TEST(VehicleJourneyRef, AssignmentToItselfChangesNothing) {
  VehicleJourneyRef trip("T17", "2024-05-01");
  const VehicleJourneyRef& alias = trip;
  EXPECT_EQ(&(trip = alias), &trip);
  EXPECT_TRUE(trip == VehicleJourneyRef("T17", "2024-05-01"));
  EXPECT_EQ(trip.get_string(), "T17@T17");
}

TEST(VehicleJourneyRef, CopiesAreIndependent) {
  VehicleJourneyRef original("T17", "2024-05-01");
  const VehicleJourneyRef copy(original);
  original = VehicleJourneyRef();
  EXPECT_TRUE(copy == VehicleJourneyRef("T17", "2024-05-01"));
  EXPECT_EQ(copy.get_string(), "T17@T17");
}

}  // namespace
